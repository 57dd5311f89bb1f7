// Changing names and values of nodes.
#include "sablotron/dom/attributes.h"
#include "sablotron/dom/caches.h"
#include "sablotron/dom/call.h"
#include "sablotron/tree/bindings.h"
#include "sablotron/tree/characters.h"
#include "sablotron/tree/names.h"

#include <string>

namespace sablot {

namespace {

// The binding of a new prefix where the node stands; outside the tree also that of the document element, as for new
// nodes.
xmlNs* BindingAt(Document& document, xmlNode* element, std::string_view prefix) {
    if (element != nullptr)
        if (xmlNs* found = BindingForName(document, element, prefix)) return found;
    const xmlNode* top = element;
    while ((top != nullptr) && (top->parent != nullptr)) top = top->parent;
    if ((top != nullptr) && IsDocument(top)) return nullptr;
    xmlNs* outer = FindBinding(document, document.Root(), Chars(std::string(prefix).c_str())).declaration;
    return outer != nullptr ? document.UnattachedNamespace(outer->prefix, outer->href) : nullptr;
}

SDOM_Exception RenameElement(Document& document, xmlNode* element, std::string_view newName) {
    QName name(newName);
    if (!name.isValid) return SDOM_INVALID_CHARACTER_ERR;
    if (name.prefix == "xmlns") return SDOM_NAMESPACE_ERR;
    if (NameOf(element).prefix == name.prefix) {
        SetName(element, name.localName.data());
        return SDOM_OK;
    }
    xmlNs* ns = BindingAt(document, element, name.prefix);
    if (!name.prefix.empty() && (ns == nullptr)) return SDOM_NAMESPACE_ERR;
    SetName(element, name.localName.data());
    element->ns = (ns != nullptr) && !View(ns->href).empty() ? ns : nullptr;
    element->extra &= static_cast<unsigned short>(~ADOPTS_DEFAULT);
    return SDOM_OK;
}

SDOM_Exception RenameAttribute(Document& document, xmlAttr* attribute, std::string_view newName) {
    QName name(newName);
    if (!name.isValid) return SDOM_INVALID_CHARACTER_ERR;
    std::string_view declared;
    if (IsDeclarationName(newName, declared)) return SDOM_NAMESPACE_ERR;
    auto* node = AsNode(attribute);
    xmlNs* ns = attribute->ns;
    if (NameOf(node).prefix != name.prefix) {
        ns = name.prefix.empty() ? nullptr : BindingAt(document, attribute->parent, name.prefix);
        if (!name.prefix.empty() && (ns == nullptr)) return SDOM_NAMESPACE_ERR;
        if ((ns != nullptr) && (attribute->parent == nullptr)) ns = document.UnattachedNamespace(ns->prefix, ns->href);
    }
    if (attribute->parent != nullptr) {
        const xmlAttr* other =
            FindAttribute(document, attribute->parent, ns != nullptr ? View(ns->href) : "", name.localName);
        if (other == nullptr) other = FindAttribute(document, attribute->parent, newName);
        if ((other != nullptr) && other != attribute) return SDOM_NAMESPACE_ERR;
    }
    AttributeNames& names = CachesOf(document).attributeNames;
    if (attribute->parent != nullptr) names.Removing(attribute->parent, attribute);
    try {
        SetName(node, name.localName.data());
    } catch (const std::bad_alloc&) {
        if (attribute->parent != nullptr) names.Added(attribute->parent, attribute);
        throw;
    }
    if (attribute->parent != nullptr) names.Added(attribute->parent, attribute);
    RemoveIdIfAny(attribute);
    attribute->ns = ns;
    AddIdIfAny(attribute);
    return SDOM_OK;
}

SDOM_Exception RenameDeclaration(Document& document, SDOM_Node handle, std::string_view newName) {
    xmlNs* declaration = AsDeclaration(handle->node);
    xmlNode* owner = handle->Owner();
    std::string_view prefix;
    if (!QName(newName).isValid) return SDOM_INVALID_CHARACTER_ERR;
    if (!IsDeclarationName(newName, prefix)) return SDOM_NAMESPACE_ERR;
    if ((owner == nullptr) && !handle->IsDetached()) return SDOM_NO_MODIFICATION_ALLOWED_ERR; // an implicit one
    SetKept(declaration, nullptr);
    if (View(declaration->prefix) == prefix) return SDOM_OK;
    if (prefix == "xml" || prefix == "xmlns") return SDOM_NAMESPACE_ERR;
    std::string_view uri = View(declaration->href);
    if (owner != nullptr) {
        bool isTaken = (OwnDeclaration(owner, prefix) != nullptr) || UsesPrefixOtherwise(owner, prefix, uri);
        if (isTaken || !IsAllowedBinding(prefix, uri) || IsInUse(declaration, owner)) return SDOM_NAMESPACE_ERR;
    }
    xmlChar* copy = nullptr;
    if (!prefix.empty() && ((copy = xmlStrdup(Chars(prefix.data()))) == nullptr)) throw std::bad_alloc();
    xmlFree(const_cast<xmlChar*>(declaration->prefix));
    declaration->prefix = copy;
    if (owner != nullptr) FixUpNamespaces(document, owner);
    return SDOM_OK;
}

SDOM_Exception SetDeclarationValue(SDOM_Node handle, std::string_view uri) {
    xmlNs* declaration = AsDeclaration(handle->node);
    xmlNode* owner = handle->Owner();
    std::string_view prefix = View(declaration->prefix);
    if (!IsXmlText(uri)) return SDOM_INVALID_CHARACTER_ERR;
    SetKept(declaration, nullptr);
    if (View(declaration->href) == uri) return SDOM_OK;
    if ((owner == nullptr) && !handle->IsDetached()) return SDOM_NAMESPACE_ERR; // an implicit one
    if (!IsAllowedBinding(prefix, uri)) return SDOM_NAMESPACE_ERR;
    if ((owner != nullptr) && (IsInUse(declaration, owner) || UsesPrefixOtherwise(owner, prefix, uri)))
        return SDOM_NAMESPACE_ERR;
    SetDeclaredUri(declaration, uri);
    return SDOM_OK;
}

SDOM_Exception SetContent(xmlNode* node, bool isAllowed, std::string_view text) {
    if (!isAllowed) return SDOM_INVALID_CHARACTER_ERR;
    SetText(node, text);
    return SDOM_OK;
}

} // namespace

} // namespace sablot

using namespace sablot;

extern "C" {

SDOM_Exception SDOM_setNodeName(SablotSituation situation, SDOM_Node node, const char* name) {
    return CallOnEditable(situation, node, [&](xmlNode* found) {
        Document& document = *node->document;
        document.Touch();
        switch (found->type) {
        case XML_ELEMENT_NODE: return RenameElement(document, found, Argument(name));
        case XML_ATTRIBUTE_NODE: return RenameAttribute(document, AsAttribute(found), Argument(name));
        case XML_NAMESPACE_DECL: return RenameDeclaration(document, node, Argument(name));
        case XML_PI_NODE:
            if (!IsInstructionTarget(Argument(name))) return SDOM_INVALID_CHARACTER_ERR;
            SetName(found, name);
            return SDOM_OK;
        default: return SDOM_NO_MODIFICATION_ALLOWED_ERR;
        }
    });
}

SDOM_Exception SDOM_setNodeValue(SablotSituation situation, SDOM_Node node, const char* value) {
    return CallOnEditable(situation, node, [&](xmlNode* found) {
        std::string_view text = Argument(value);
        node->document->Touch();
        switch (found->type) {
        case XML_ATTRIBUTE_NODE:
            if (!IsXmlText(text)) return SDOM_INVALID_CHARACTER_ERR;
            SetAttributeValue(AsAttribute(found), text);
            return SDOM_OK;
        case XML_NAMESPACE_DECL: return SetDeclarationValue(node, text);
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE: return SetContent(found, IsXmlText(text), text);
        case XML_COMMENT_NODE: return SetContent(found, IsCommentText(text), WithLineFeeds(text));
        case XML_PI_NODE: return SetContent(found, IsInstructionData(text), AsInstructionData(text));
        default: return SDOM_NO_MODIFICATION_ALLOWED_ERR;
        }
    });
}

} // extern "C"
