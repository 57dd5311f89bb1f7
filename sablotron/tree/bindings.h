// Namespace bindings: which are in scope of an element, and keeping names what they are when nodes move.
#pragma once

#include "sablotron/tree/document.h"

namespace sablot {

constexpr const char* XML_URI = "http://www.w3.org/XML/1998/namespace";
constexpr const char* XMLNS_URI = "http://www.w3.org/2000/xmlns/";

// A binding in scope: its declaration and the element that it stands on. The implicit ones count as standing on the
// document element.
struct Binding {
    xmlNs* declaration;
    xmlNode* owner;
};

// The bindings in scope of an element: its own declarations, last declared first, then those of its parent without the
// ones it redeclares. In the tree, the document element of a parsed document begins with an implicit xmlns="" when it
// declares no default namespace, and xmlns:xml ends the list.
std::vector<Binding> BindingsInScope(Document& document, xmlNode* element);
// The same for an element whose parent is one and has these bindings in scope.
std::vector<Binding> BindingsInScope(xmlNode* element, const std::vector<Binding>& ofParent);

// Lets an element that is about to be removed keep the bindings in scope, all of them, as declarations of its own.
void KeepBindings(Document& document, xmlNode* element, const std::vector<Binding>& inScope);
// Takes those that no name uses from an element that has got a place; the others are its own from now on.
void DropKeptBindings(Document& document, xmlNode* element);

// The declaration that binds the prefix (null or "" for the default) at `element`, the nearest one; null when there is
// none. xmlns="" is found like any other.
Binding FindBinding(Document& document, xmlNode* element, const xmlChar* prefix);

// What the prefix of a further name on the element means: what it means in the names that the element has (which
// outside the tree need not be declared), else the binding in scope; null when there is none.
xmlNs* BindingForName(Document& document, xmlNode* element, std::string_view prefix);

// Whether a name or a declaration may bind the prefix ("" for none) to the URI: a prefix needs a URI, and xml and xmlns
// belong to theirs.
bool IsAllowedBinding(std::string_view prefix, std::string_view uri);

// Whether the element's own name or one of its attributes' uses the prefix ("" for the element's default) for another
// URI. An element without a binding of its own uses none.
bool UsesPrefixOtherwise(const xmlNode* element, std::string_view prefix, std::string_view uri);

// A declaration in scope of the element for an attribute name with this prefix and URI, made on the element when there
// is none; without a prefix one is chosen. Null when the element has another use for the prefix.
xmlNs* BindForAttribute(Document& document, xmlNode* element, const xmlChar* prefix, const xmlChar* uri);

// Namespace fix-up: makes every name of the subtree one that its own element can say. Each element and attribute whose
// prefix is not bound to its URI where it now stands gets a declaration on its element.
void FixUpNamespaces(Document& document, xmlNode* subtree);

// Lets the names below its owner no longer depend on the declaration; they need a fix-up after it.
void ReleaseNames(Document& document, xmlNode* owner, const xmlNs* declaration);

// Whether the declaration gives a name below (or on) its owner its URI.
bool IsInUse(const xmlNs* declaration, xmlNode* owner);

} // namespace sablot
