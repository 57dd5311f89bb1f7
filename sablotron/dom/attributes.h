// Attributes and namespace declarations of elements.
#pragma once

#include "sablotron/tree/document.h"

#include <string_view>

namespace sablot {

// A new attribute that stands on no element. `ns` is unattached or null. Not yet listed as detached.
xmlAttr* NewAttribute(Document& document, xmlNs* ns, const char* name, std::string_view value);
// A new namespace declaration that stands on no element; prefix null for the default. Not yet listed as detached.
xmlNs* NewDeclaration(const xmlChar* prefix, std::string_view uri);

// The handle of a node that stands nowhere, now listed so that it is freed with the document.
NodeHandle* AdoptDetached(Document& document, xmlNode* node);
NodeHandle* AdoptDetached(Document& document, xmlAttr* attribute);
NodeHandle* AdoptDetached(Document& document, xmlNs* declaration);

// Replaces the value, keeping the table of IDs right.
void SetAttributeValue(xmlAttr* attribute, std::string_view value);
void SetDeclaredUri(xmlNs* declaration, std::string_view uri);

// Takes the attribute out of the table of IDs, and puts it back when its name is xml:id
// (https://www.w3.org/TR/xml-id/).
void RemoveIdIfAny(xmlAttr* attribute);
void AddIdIfAny(xmlAttr* attribute);

// Puts an attribute, whose name is bound on the element, or a declaration that stands nowhere on an element, before
// `next`; at the end when null.
void Attach(Document& document, xmlNode* element, xmlAttr* attribute, xmlAttr* next = nullptr);
void Attach(Document& document, xmlNode* element, xmlNs* declaration, const xmlNs* next = nullptr);
// Takes an attribute, or a declaration that no name uses, from its element.
NodeHandle* Detach(Document& document, xmlAttr* attribute);
NodeHandle* Detach(Document& document, xmlNode* element, xmlNs* declaration);

xmlAttr* FindAttribute(Document& document, const xmlNode* element, std::string_view qualifiedName);
xmlAttr* FindAttribute(Document& document, const xmlNode* element, std::string_view uri, std::string_view localName);
// The element's own declaration of the prefix ("" for the default), or null.
xmlNs* OwnDeclaration(const xmlNode* element, std::string_view prefix);
// An attribute or an own declaration, or null.
xmlNode* FindNamed(Document& document, const xmlNode* element, std::string_view qualifiedName);
xmlNode* FindNamed(Document& document, const xmlNode* element, std::string_view uri, std::string_view localName);
// The handle of what was found on the element, null for null.
NodeHandle* HandleOn(Document& document, xmlNode* element, xmlNode* found);

// The prefix that a name declares ("" for "xmlns"), when it is the name of a declaration.
bool IsDeclarationName(std::string_view qualifiedName, std::string_view& prefix);

} // namespace sablot
