// The node factories.
#include "sablotron/dom/attributes.h"
#include "sablotron/dom/call.h"
#include "sablotron/tree/bindings.h"
#include "sablotron/tree/characters.h"

#include <string>

namespace sablot {

namespace {

// Runs body(document), which answers a new node, or null with a code, for nodes that belong to no tree yet.
template <typename Body>
SDOM_Exception Create(SablotSituation situation, SDOM_Document document, SDOM_Node* node, Body body) {
    *node = nullptr;
    const SDOM_Exception code = CallOnDocument(situation, document, [&](Document& found) { return body(found); });
    if (code != SDOM_OK) *node = nullptr;
    return code;
}

xmlNode* NewElement(Document& document, const char* name) {
    xmlNode* element = xmlNewDocNode(document.Tree(), nullptr, Chars(name), nullptr);
    if (element == nullptr) throw std::bad_alloc();
    return element;
}

// What the prefix means for new nodes: the binding of the document element as an unattached namespace; null when there
// is none.
xmlNs* BindingForNewNode(Document& document, std::string_view prefix) {
    std::string text(prefix);
    xmlNs* binding = FindBinding(document, document.Root(), Chars(text.c_str())).declaration;
    if ((binding == nullptr) || View(binding->href).empty()) return nullptr;
    return document.UnattachedNamespace(binding->prefix, binding->href);
}

// Text, comments and the like: `isAllowed` is the check of their content.
template <typename Make>
SDOM_Exception CreateText(SablotSituation situation, SDOM_Document document, SDOM_Node* node, const char* data,
                          bool (*isAllowed)(std::string_view), Make make) {
    return Create(situation, document, node, [&](Document& found) {
        std::string_view text = Argument(data);
        if (!isAllowed(text)) return SDOM_INVALID_CHARACTER_ERR;
        xmlNode* made = make(found.Tree(), Chars(text.empty() ? "" : data), static_cast<int>(text.size()));
        *node = AdoptDetached(found, Checked(made, text));
        return SDOM_OK;
    });
}

} // namespace

} // namespace sablot

using namespace sablot;

extern "C" {

SDOM_Exception SDOM_createElement(SablotSituation situation, SDOM_Document document, SDOM_Node* element,
                                  const char* tagName) {
    return Create(situation, document, element, [&](Document& found) {
        QName name(Argument(tagName));
        if (!name.isValid) return SDOM_INVALID_CHARACTER_ERR;
        if (name.prefix == "xmlns") return SDOM_NAMESPACE_ERR;
        xmlNs* ns = BindingForNewNode(found, name.prefix);
        xmlNode* made = NewElement(found, ns != nullptr ? name.localName.data() : tagName);
        made->ns = ns;
        if (ns == nullptr) made->extra |= ADOPTS_DEFAULT;
        *element = AdoptDetached(found, made);
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_createElementNS(SablotSituation situation, SDOM_Document document, SDOM_Node* element,
                                    const char* uri, const char* qName) {
    return Create(situation, document, element, [&](Document& found) {
        QName name(Argument(qName));
        if (!name.isValid || !IsXmlText(Argument(uri))) return SDOM_INVALID_CHARACTER_ERR;
        if (!IsAllowedBinding(name.prefix, Argument(uri)) || name.prefix == "xmlns") return SDOM_NAMESPACE_ERR;
        xmlNode* made = NewElement(found, name.localName.data());
        *element = AdoptDetached(found, made);
        if (name.prefix == "xml") {
            made->ns = found.XmlBinding();
        } else if (!Argument(uri).empty()) {
            std::string prefix(name.prefix);
            made->ns = Declare(made, prefix.empty() ? nullptr : Chars(prefix.c_str()), Chars(uri));
        }
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_createAttribute(SablotSituation situation, SDOM_Document document, SDOM_Node* attribute,
                                    const char* qName) {
    return Create(situation, document, attribute, [&](Document& found) {
        QName name(Argument(qName));
        if (!name.isValid) return SDOM_INVALID_CHARACTER_ERR;
        std::string_view prefix;
        if (IsDeclarationName(Argument(qName), prefix)) {
            if (prefix == "xml" || prefix == "xmlns") return SDOM_NAMESPACE_ERR;
            *attribute = AdoptDetached(found, NewDeclaration(prefix.empty() ? nullptr : Chars(prefix.data()), ""));
            return SDOM_OK;
        }
        xmlNs* ns = name.prefix.empty() ? nullptr : BindingForNewNode(found, name.prefix);
        *attribute = AdoptDetached(found, NewAttribute(found, ns, ns != nullptr ? name.localName.data() : qName, ""));
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_createAttributeNS(SablotSituation situation, SDOM_Document document, SDOM_Node* attribute,
                                      const char* uri, const char* qName) {
    return Create(situation, document, attribute, [&](Document& found) {
        QName name(Argument(qName));
        if (!name.isValid || !IsXmlText(Argument(uri))) return SDOM_INVALID_CHARACTER_ERR;
        std::string_view prefix;
        if (IsDeclarationName(Argument(qName), prefix)) {
            if (Argument(uri) != XMLNS_URI || prefix == "xml" || prefix == "xmlns") return SDOM_NAMESPACE_ERR;
            *attribute = AdoptDetached(found, NewDeclaration(prefix.empty() ? nullptr : Chars(prefix.data()), ""));
            return SDOM_OK;
        }
        if (!IsAllowedBinding(name.prefix, Argument(uri))) return SDOM_NAMESPACE_ERR;
        xmlNs* ns = nullptr;
        if (!Argument(uri).empty()) ns = found.UnattachedNamespace(Chars(std::string(name.prefix).c_str()), Chars(uri));
        *attribute = AdoptDetached(found, NewAttribute(found, ns, name.localName.data(), ""));
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_createTextNode(SablotSituation situation, SDOM_Document document, SDOM_Node* text,
                                   const char* data) {
    return CreateText(situation, document, text, data, IsXmlText, xmlNewDocTextLen);
}

SDOM_Exception SDOM_createCDATASection(SablotSituation situation, SDOM_Document document, SDOM_Node* section,
                                       const char* data) {
    return CreateText(situation, document, section, data, IsXmlText, xmlNewCDataBlock);
}

SDOM_Exception SDOM_createComment(SablotSituation situation, SDOM_Document document, SDOM_Node* comment,
                                  const char* data) {
    return CreateText(situation, document, comment, data, IsCommentText, [](xmlDoc* tree, const xmlChar* text, int) {
        return xmlNewDocComment(tree, Chars(WithLineFeeds(Chars(text)).c_str()));
    });
}

SDOM_Exception SDOM_createProcessingInstruction(SablotSituation situation, SDOM_Document document,
                                                SDOM_Node* instruction, const char* target, const char* data) {
    if (!IsInstructionTarget(Argument(target))) {
        *instruction = nullptr;
        return CallOnDocument(situation, document, [](Document&) { return SDOM_INVALID_CHARACTER_ERR; });
    }
    return CreateText(
        situation, document, instruction, data, IsInstructionData, [&](xmlDoc* tree, const xmlChar* text, int) {
            xmlNode* made = xmlNewDocPI(tree, Chars(target), Chars(AsInstructionData(Chars(text)).c_str()));
            if (made == nullptr || made->name != nullptr) return made;
            xmlFreeNode(made);
            throw std::bad_alloc();
        });
}

} // extern "C"
