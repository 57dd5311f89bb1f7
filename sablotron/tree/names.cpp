// Names and values of nodes as the interface shows them: where each type of node keeps them.
#include "sablotron/tree/names.h"

#include "sablotron/tree/bindings.h"

namespace sablot {

std::string NodeName::QualifiedName() const {
    std::string name;
    name.reserve(prefix.size() + 1 + localName.size());
    if (!prefix.empty()) name.append(prefix) += ':';
    return name.append(localName);
}

bool HasExpandedName(const xmlNode* node) { return IsElement(node) || IsAttribute(node) || IsDeclaration(node); }

NodeName NameOf(const xmlNode* node) {
    switch (node->type) {
    case XML_DOCUMENT_NODE: return {{}, {}, "#document"};
    case XML_TEXT_NODE: return {{}, {}, "#text"};
    case XML_CDATA_SECTION_NODE: return {{}, {}, "#cdata-section"};
    case XML_COMMENT_NODE: return {{}, {}, "#comment"};
    case XML_NAMESPACE_DECL: {
        std::string_view prefix = View(AsDeclaration(node)->prefix);
        if (prefix.empty()) return {XMLNS_URI, {}, "xmlns"};
        return {XMLNS_URI, "xmlns", prefix};
    }
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE: // the fields read here are at the same places
        if (node->ns != nullptr) return {View(node->ns->href), View(node->ns->prefix), View(node->name)};
        return {{}, {}, View(node->name)};
    default: return {{}, {}, View(node->name)};
    }
}

} // namespace sablot
