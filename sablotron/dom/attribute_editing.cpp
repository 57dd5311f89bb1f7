// Reading, setting and removing attributes and namespace declarations.
#include "sablotron/dom/attributes.h"
#include "sablotron/dom/caches.h"
#include "sablotron/dom/call.h"
#include "sablotron/tree/bindings.h"
#include "sablotron/tree/characters.h"
#include "sablotron/tree/names.h"
#include "sablotron/tree/strings.h"

#include <string>

namespace sablot {

namespace {

SDOM_Exception CheckDeclaration(const xmlNode* element, std::string_view prefix, std::string_view uri) {
    if (!IsXmlText(uri)) return SDOM_INVALID_CHARACTER_ERR;
    if (!IsAllowedBinding(prefix, uri) || prefix == "xmlns" || UsesPrefixOtherwise(element, prefix, uri))
        return SDOM_NAMESPACE_ERR;
    return SDOM_OK;
}

SDOM_Exception SetDeclaration(Document& document, xmlNode* element, std::string_view prefix, std::string_view uri) {
    if (SDOM_Exception code = CheckDeclaration(element, prefix, uri)) return code;
    if (prefix == "xml") return SDOM_OK; // bound everywhere
    xmlNs* declaration = OwnDeclaration(element, prefix);
    if (declaration == nullptr) {
        std::string name(prefix);
        Attach(document, element, NewDeclaration(prefix.empty() ? nullptr : Chars(name.c_str()), uri));
        return SDOM_OK;
    }
    SetKept(declaration, nullptr);
    if (View(declaration->href) == uri) return SDOM_OK;
    ReleaseNames(document, element, declaration);
    SetDeclaredUri(declaration, uri);
    FixUpNamespaces(document, element);
    document.Touch();
    return SDOM_OK;
}

// The attribute that has to go when one of this name comes; false when there are two.
bool FindReplaced(Document& document, const xmlNode* element, const NodeName& name, xmlAttr*& replaced) {
    replaced = nullptr;
    bool isOnly = true;
    const std::string qualifiedName = name.QualifiedName();
    CachesOf(document).attributeNames.ForEach(element, qualifiedName, [&](xmlAttr* attribute) {
        const NodeName other = NameOf(AsNode(attribute));
        const bool isSame =
            (other.uri == name.uri && other.localName == name.localName) || other.QualifiedName() == qualifiedName;
        if (!isSame) return;
        isOnly = replaced == nullptr || replaced == attribute;
        replaced = attribute;
    });
    return isOnly;
}

SDOM_Exception SetDeclarationNode(Document& document, xmlNode* element, xmlNs* declaration, SDOM_Node* replaced) {
    std::string_view prefix = View(declaration->prefix);
    if (SDOM_Exception code = CheckDeclaration(element, prefix, View(declaration->href))) return code;
    if (xmlNs* old = OwnDeclaration(element, prefix)) {
        ReleaseNames(document, element, old);
        xmlNs* next = old->next;
        *replaced = Detach(document, element, old);
        Attach(document, element, declaration, next);
        return SDOM_OK;
    }
    Attach(document, element, declaration);
    return SDOM_OK;
}

SDOM_Exception SetAttributeNode(SablotSituation situation, SDOM_Node element, SDOM_Node attribute,
                                SDOM_Node* replaced) {
    *replaced = nullptr;
    return CallOnEditable(situation, element, [&](xmlNode* found) {
        if (!IsElement(found)) return SDOM_INVALID_NODE_TYPE;
        if (FindNode(attribute) == nullptr) return SDOM_NOT_FOUND_ERR;
        xmlNode* node = attribute->node;
        if (!IsAttribute(node) && !IsDeclaration(node)) return SDOM_INVALID_NODE_TYPE;
        if (attribute->document != element->document) return SDOM_WRONG_DOCUMENT_ERR;
        if (!attribute->IsDetached()) return SDOM_INUSE_ATTRIBUTE_ERR;
        Document& document = *element->document;
        if (IsDeclaration(node)) return SetDeclarationNode(document, found, AsDeclaration(node), replaced);

        xmlAttr* old = nullptr;
        if (!FindReplaced(document, found, NameOf(node), old)) return SDOM_NAMESPACE_ERR;
        if (node->ns != nullptr) {
            xmlNs* bound = BindForAttribute(document, found, node->ns->prefix, node->ns->href);
            if (bound == nullptr) return SDOM_NAMESPACE_ERR;
            AsAttribute(node)->ns = bound;
        }
        xmlAttr* next = old != nullptr ? old->next : nullptr;
        if (old != nullptr) *replaced = Detach(document, old);
        Attach(document, found, AsAttribute(node), next);
        return SDOM_OK;
    });
}

SDOM_Exception Remove(Document& document, xmlNode* element, xmlNode* node) {
    if (IsAttribute(node)) {
        Detach(document, AsAttribute(node));
        return SDOM_OK;
    }
    if (IsInUse(AsDeclaration(node), element)) return SDOM_NO_MODIFICATION_ALLOWED_ERR;
    Detach(document, element, AsDeclaration(node));
    return SDOM_OK;
}

SDOM_Exception SetByName(Document& document, xmlNode* element, std::string_view name, std::string_view value) {
    QName parts(name);
    if (!parts.isValid || !IsXmlText(value)) return SDOM_INVALID_CHARACTER_ERR;
    std::string_view declared;
    if (IsDeclarationName(name, declared)) return SetDeclaration(document, element, declared, value);

    xmlAttr* attribute = FindAttribute(document, element, name);
    if (attribute == nullptr) {
        xmlNs* ns = nullptr;
        if (!parts.prefix.empty()) ns = BindingForName(document, element, parts.prefix);
        if (ns != nullptr)
            attribute = FindAttribute(document, element, View(ns->href), parts.localName); // under another prefix
        if (attribute == nullptr) {
            // A prefix that nothing binds is a part of the name, as in SDOM_createAttribute.
            const char* ownName = ns != nullptr ? parts.localName.data() : name.data();
            attribute = NewAttribute(document, ns, ownName, value);
            AdoptDetached(document, attribute);
            Attach(document, element, attribute);
            return SDOM_OK;
        }
    }
    SetAttributeValue(attribute, value);
    document.Touch();
    return SDOM_OK;
}

SDOM_Exception SetByExpandedName(Document& document, xmlNode* element, std::string_view uri, std::string_view name,
                                 std::string_view value) {
    QName parts(name);
    if (!parts.isValid || !IsXmlText(value) || !IsXmlText(uri)) return SDOM_INVALID_CHARACTER_ERR;
    std::string_view declared;
    if (IsDeclarationName(name, declared)) {
        if (uri != XMLNS_URI) return SDOM_NAMESPACE_ERR;
        return SetDeclaration(document, element, declared, value);
    }
    if (!IsAllowedBinding(parts.prefix, uri)) return SDOM_NAMESPACE_ERR;
    xmlNs* ns = nullptr;
    xmlAttr* attribute = FindAttribute(document, element, uri, parts.localName);
    if (!uri.empty()) {
        bool keepsPrefix =
            (attribute != nullptr) && (parts.prefix.empty() || View(attribute->ns->prefix) == parts.prefix);
        std::string prefix(parts.prefix);
        ns = keepsPrefix ? attribute->ns
                         : BindForAttribute(document, element, Chars(prefix.c_str()), Chars(std::string(uri).c_str()));
        if (ns == nullptr) return SDOM_NAMESPACE_ERR;
    }
    if (attribute != nullptr) {
        attribute->ns = ns;
        SetAttributeValue(attribute, value);
        document.Touch();
        return SDOM_OK;
    }
    attribute = NewAttribute(document, ns, parts.localName.data(), value);
    AdoptDetached(document, attribute);
    Attach(document, element, attribute);
    return SDOM_OK;
}

} // namespace

} // namespace sablot

using namespace sablot;

extern "C" {

SDOM_Exception SDOM_getAttribute(SablotSituation situation, SDOM_Node element, const char* name, char** value) {
    *value = nullptr;
    return CallOnElement(situation, element, [&](const xmlNode* found) {
        const xmlNode* node = FindNamed(*element->document, found, Argument(name));
        *value = NewDeletableString(node != nullptr ? ValueOf(node) : "");
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getAttributeNS(SablotSituation situation, SDOM_Node element, const char* uri, const char* localName,
                                   char** value) {
    *value = nullptr;
    return CallOnElement(situation, element, [&](const xmlNode* found) {
        const xmlNode* node = FindNamed(*element->document, found, Argument(uri), Argument(localName));
        *value = NewDeletableString(node != nullptr ? ValueOf(node) : "");
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getAttributeNode(SablotSituation situation, SDOM_Node element, const char* name,
                                     SDOM_Node* attribute) {
    *attribute = nullptr;
    return CallOnElement(situation, element, [&](xmlNode* found) {
        *attribute = HandleOn(*element->document, found, FindNamed(*element->document, found, Argument(name)));
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getAttributeNodeNS(SablotSituation situation, SDOM_Node element, const char* uri,
                                       const char* localName, SDOM_Node* attribute) {
    *attribute = nullptr;
    return CallOnElement(situation, element, [&](xmlNode* found) {
        *attribute = HandleOn(*element->document, found,
                              FindNamed(*element->document, found, Argument(uri), Argument(localName)));
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_setAttribute(SablotSituation situation, SDOM_Node element, const char* name, const char* value) {
    return CallOnEditable(situation, element, [&](xmlNode* found) {
        if (!IsElement(found)) return SDOM_INVALID_NODE_TYPE;
        return SetByName(*element->document, found, Argument(name), Argument(value));
    });
}

SDOM_Exception SDOM_setAttributeNS(SablotSituation situation, SDOM_Node element, const char* uri, const char* qName,
                                   const char* value) {
    return CallOnEditable(situation, element, [&](xmlNode* found) {
        if (!IsElement(found)) return SDOM_INVALID_NODE_TYPE;
        return SetByExpandedName(*element->document, found, Argument(uri), Argument(qName), Argument(value));
    });
}

SDOM_Exception SDOM_setAttributeNode(SablotSituation situation, SDOM_Node element, SDOM_Node attribute,
                                     SDOM_Node* replaced) {
    return SetAttributeNode(situation, element, attribute, replaced);
}

SDOM_Exception SDOM_setAttributeNodeNS(SablotSituation situation, SDOM_Node element, SDOM_Node attribute,
                                       SDOM_Node* replaced) {
    return SetAttributeNode(situation, element, attribute, replaced);
}

SDOM_Exception SDOM_removeAttribute(SablotSituation situation, SDOM_Node element, const char* name) {
    return CallOnEditable(situation, element, [&](xmlNode* found) {
        if (!IsElement(found)) return SDOM_INVALID_NODE_TYPE;
        xmlNode* node = FindNamed(*element->document, found, Argument(name));
        return node != nullptr ? Remove(*element->document, found, node) : SDOM_OK;
    });
}

SDOM_Exception SDOM_removeAttributeNode(SablotSituation situation, SDOM_Node element, SDOM_Node attribute,
                                        SDOM_Node* removed) {
    *removed = nullptr;
    return CallOnEditable(situation, element, [&](xmlNode* found) {
        if (!IsElement(found)) return SDOM_INVALID_NODE_TYPE;
        if (FindNode(attribute) == nullptr) return SDOM_NOT_FOUND_ERR;
        xmlNode* node = attribute->node;
        if (!IsAttribute(node) && !IsDeclaration(node)) return SDOM_INVALID_NODE_TYPE;
        const xmlNode* owner = IsAttribute(node) ? node->parent : attribute->Owner();
        if (owner != found) return SDOM_NOT_FOUND_ERR;
        SDOM_Exception code = Remove(*element->document, found, node);
        if (code == SDOM_OK) *removed = attribute;
        return code;
    });
}

} // extern "C"
