// Attributes and declarations: made, found, put on elements and taken from them.
#include "sablotron/dom/attributes.h"

#include "sablotron/dom/caches.h"
#include "sablotron/tree/bindings.h"
#include "sablotron/tree/names.h"

#include <libxml/valid.h>

#include <string>
#include <utility>

namespace sablot {

namespace {

// The first attribute of the element that matches, among those that can have the name; null when there is none.
template <typename Matches>
xmlAttr* FirstNamed(Document& document, const xmlNode* element, std::string_view name, Matches matches) {
    if (element->properties == nullptr) return nullptr;
    xmlAttr* found = nullptr;
    bool isOnly = true;
    CachesOf(document).attributeNames.ForEach(element, name, [&](xmlAttr* attribute) {
        if (!matches(attribute)) return;
        isOnly = found == nullptr || found == attribute;
        found = attribute;
    });
    if (isOnly) return found;
    xmlAttr* first = element->properties;
    while (!matches(first)) first = first->next;
    return first;
}

} // namespace

void AddIdIfAny(xmlAttr* attribute) {
    bool isXmlId = (attribute->ns != nullptr) && View(attribute->ns->prefix) == "xml" && View(attribute->name) == "id";
    if (!isXmlId || (attribute->parent == nullptr)) return;
    xmlAddID(nullptr, attribute->doc, Chars(ValueOf(AsNode(attribute)).c_str()), attribute);
}

void RemoveIdIfAny(xmlAttr* attribute) {
    if (attribute->atype == XML_ATTRIBUTE_ID) xmlRemoveID(attribute->doc, attribute);
}

xmlAttr* NewAttribute(Document& document, xmlNs* ns, const char* name, std::string_view value) {
    xmlAttr* attribute = NewBareAttribute(document.Tree(), Chars(name));
    attribute->ns = ns;
    try {
        SetAttributeValue(attribute, value);
    } catch (...) {
        xmlFreeProp(attribute);
        throw;
    }
    return attribute;
}

xmlNs* NewDeclaration(const xmlChar* prefix, std::string_view uri) {
    return NewNamespace(prefix, Chars(std::string(uri).c_str()));
}

void SetDeclaredUri(xmlNs* declaration, std::string_view uri) {
    xmlChar* copy = xmlStrndup(Chars(uri.data()), static_cast<int>(uri.size()));
    if (copy == nullptr) throw std::bad_alloc();
    xmlFree(const_cast<xmlChar*>(declaration->href));
    declaration->href = copy;
}

NodeHandle* AdoptDetached(Document& document, xmlNode* node) {
    NodeHandle* handle = document.HandleOf(node);
    document.AddDetached(handle);
    return handle;
}

NodeHandle* AdoptDetached(Document& document, xmlAttr* attribute) { return AdoptDetached(document, AsNode(attribute)); }

NodeHandle* AdoptDetached(Document& document, xmlNs* declaration) {
    NodeHandle* handle = document.HandleOf(declaration, nullptr);
    document.AddDetached(handle);
    return handle;
}

void SetAttributeValue(xmlAttr* attribute, std::string_view value) {
    xmlNode* text =
        Checked(xmlNewDocTextLen(attribute->doc, Chars(value.data()), static_cast<int>(value.size())), value);
    bool wasId = attribute->atype == XML_ATTRIBUTE_ID;
    RemoveIdIfAny(attribute);
    xmlFreeNodeList(attribute->children);
    attribute->children = attribute->last = text;
    text->parent = AsNode(attribute);
    if (wasId) xmlAddID(nullptr, attribute->doc, Chars(std::string(value).c_str()), attribute);
}

xmlAttr* FindAttribute(Document& document, const xmlNode* element, std::string_view qualifiedName) {
    return FirstNamed(document, element, qualifiedName, [&](const xmlAttr* attribute) {
        const std::string_view prefix = attribute->ns != nullptr ? View(attribute->ns->prefix) : std::string_view();
        const std::string_view name = View(attribute->name);
        if (prefix.empty()) return name == qualifiedName;
        return qualifiedName.size() == prefix.size() + 1 + name.size() && qualifiedName.starts_with(prefix)
               && qualifiedName[prefix.size()] == ':' && qualifiedName.ends_with(name);
    });
}

xmlAttr* FindAttribute(Document& document, const xmlNode* element, std::string_view uri, std::string_view localName) {
    return FirstNamed(document, element, localName, [&](const xmlAttr* attribute) {
        return View(attribute->name) == localName && (attribute->ns != nullptr ? View(attribute->ns->href) : "") == uri;
    });
}

xmlNs* OwnDeclaration(const xmlNode* element, std::string_view prefix) {
    xmlNs* declaration = element->nsDef;
    while ((declaration != nullptr) && View(declaration->prefix) != prefix) declaration = declaration->next;
    return declaration;
}

bool IsDeclarationName(std::string_view qualifiedName, std::string_view& prefix) {
    if (qualifiedName == "xmlns") {
        prefix = {};
        return true;
    }
    if (!qualifiedName.starts_with("xmlns:")) return false;
    prefix = qualifiedName.substr(6);
    return true;
}

xmlNode* FindNamed(Document& document, const xmlNode* element, std::string_view qualifiedName) {
    std::string_view prefix;
    if (IsDeclarationName(qualifiedName, prefix)) return AsNode(OwnDeclaration(element, prefix));
    return AsNode(FindAttribute(document, element, qualifiedName));
}

xmlNode* FindNamed(Document& document, const xmlNode* element, std::string_view uri, std::string_view localName) {
    if (uri == XMLNS_URI) return AsNode(OwnDeclaration(element, localName == "xmlns" ? "" : localName));
    return AsNode(FindAttribute(document, element, uri, localName));
}

NodeHandle* HandleOn(Document& document, xmlNode* element, xmlNode* found) {
    if ((found == nullptr) || !IsDeclaration(found)) return document.HandleOf(found);
    return document.HandleOf(AsDeclaration(found), element);
}

void Attach(Document& document, xmlNode* element, xmlAttr* attribute, xmlAttr* next) {
    Caches& caches = CachesOf(document);
    SiblingIndexes& list = caches.attributes.Attributes();
    xmlAttr* previous = next != nullptr ? next->prev : AsAttribute(list.Last(element, AsNode(element->properties)));
    document.RemoveDetached(document.HandleOf(attribute));
    list.Inserting(element, AsNode(attribute), AsNode(next));
    (previous != nullptr ? previous->next : element->properties) = attribute;
    if (next != nullptr) next->prev = attribute;
    attribute->prev = previous;
    attribute->next = next;
    attribute->parent = element;
    caches.attributeNames.Added(element, attribute);
    AddIdIfAny(attribute);
    document.Touch();
}

NodeHandle* Detach(Document& document, xmlAttr* attribute) {
    Caches& caches = CachesOf(document);
    xmlNs* ns =
        attribute->ns != nullptr ? document.UnattachedNamespace(attribute->ns->prefix, attribute->ns->href) : nullptr;
    NodeHandle* handle = AdoptDetached(document, attribute);
    RemoveIdIfAny(attribute);
    attribute->ns = ns;
    caches.attributes.Attributes().Removing(attribute->parent, AsNode(attribute));
    caches.attributeNames.Removing(attribute->parent, attribute);
    (attribute->prev != nullptr ? attribute->prev->next : attribute->parent->properties) = attribute->next;
    if (attribute->next != nullptr) attribute->next->prev = attribute->prev;
    attribute->parent = nullptr;
    attribute->prev = attribute->next = nullptr;
    document.Touch();
    return handle;
}

void Attach(Document& document, xmlNode* element, xmlNs* declaration, const xmlNs* next) {
    NodeHandle* handle = document.HandleOf(declaration, nullptr);
    if (handle->IsDetached()) document.RemoveDetached(handle);
    handle->SetOwner(element);
    xmlNs** place = &element->nsDef;
    while (*place != next) place = &(*place)->next;
    declaration->next = std::exchange(*place, declaration);
    FixUpNamespaces(document, element);
    document.Touch();
}

NodeHandle* Detach(Document& document, xmlNode* element, xmlNs* declaration) {
    NodeHandle* handle = document.HandleOf(declaration, element);
    document.AddDetached(handle);
    xmlNs** place = &element->nsDef;
    while (*place != declaration) place = &(*place)->next;
    *place = declaration->next;
    declaration->next = nullptr;
    SetKept(declaration, nullptr);
    document.Touch();
    return handle;
}

} // namespace sablot
