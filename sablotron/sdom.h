// The document object model of the library: nodes, editing, serialising, queries.
//
// Every function takes the situation first (a null one records nothing), answers an SDOM_Exception and records it in
// the situation, a success too. Three codes can come from any of them and are not repeated below: 8 for a null node or
// one whose document is destroyed, 16 for a node of a type that the call does not take, 19 when memory runs out. After
// a failure results are null or 0 and nothing has changed. The places for results must not be null.
//
// A node belongs to its document until that is destroyed, also while it stands in no tree. A node must belong to a
// document of the situation, which SablotParseSource or SablotCreateDocument made. Handles are not released; but who
// uses one that may be older than its document holds it, else it may come to stand for a node of a later document.
// Strings given to the library are copied; a null one counts as "". Strings that are handed out are new and released by
// the caller with scalar operator delete, those of SDOM_docToString and SDOM_nodeToString with SablotFree.
//
// Names and data that XML cannot carry (invalid UTF-8, control characters, "--" in a comment, ...) are refused with 5.
#pragma once

#include "sablotron/sablot.h"

#ifdef __cplusplus
extern "C" {
#endif

// A node: document, element, attribute, namespace declaration, text, CDATA section, comment, processing instruction.
// The same node always has the same handle.
typedef struct SDOM_NodeRecord* SDOM_Node;
// The result of a query: nodes in document order.
typedef struct SDOM_NodeListRecord* SDOM_NodeList;

typedef enum SDOM_Exception {
    SDOM_OK = 0,
    SDOM_INDEX_SIZE_ERR = 1,
    SDOM_DOMSTRING_SIZE_ERR = 2,
    SDOM_HIERARCHY_REQUEST_ERR = 3,
    SDOM_WRONG_DOCUMENT_ERR = 4,
    SDOM_INVALID_CHARACTER_ERR = 5,
    SDOM_NO_DATA_ALLOWED_ERR = 6,
    SDOM_NO_MODIFICATION_ALLOWED_ERR = 7,
    SDOM_NOT_FOUND_ERR = 8,
    SDOM_NOT_SUPPORTED_ERR = 9,
    SDOM_INUSE_ATTRIBUTE_ERR = 10,
    SDOM_INVALID_STATE_ERR = 11,
    SDOM_SYNTAX_ERR = 12,
    SDOM_INVALID_MODIFICATION_ERR = 13,
    SDOM_NAMESPACE_ERR = 14,
    SDOM_INVALID_ACCESS_ERR = 15,
    SDOM_INVALID_NODE_TYPE = 16,
    SDOM_QUERY_PARSE_ERR = 17,
    SDOM_QUERY_EXECUTION_ERR = 18,
    SDOM_NOT_OK = 19
} SDOM_Exception;

// The numbering of DOM Level 2 Core, section 1.2. A namespace declaration answers SDOM_ATTRIBUTE_NODE.
typedef enum SDOM_NodeType {
    SDOM_ELEMENT_NODE = 1,
    SDOM_ATTRIBUTE_NODE = 2,
    SDOM_TEXT_NODE = 3,
    SDOM_CDATA_SECTION_NODE = 4,
    SDOM_ENTITY_REFERENCE_NODE = 5,
    SDOM_ENTITY_NODE = 6,
    SDOM_PROCESSING_INSTRUCTION_NODE = 7,
    SDOM_COMMENT_NODE = 8,
    SDOM_DOCUMENT_NODE = 9,
    SDOM_DOCUMENT_TYPE_NODE = 10,
    SDOM_DOCUMENT_FRAGMENT_NODE = 11,
    SDOM_NOTATION_NODE = 12,
    SDOM_OTHER_NODE = 13
} SDOM_NodeType;

// ---- The recorded exception -----------------------------------------------------------------------------------------

// The code of the situation's last SDOM_ call; it does not change the record. A null situation gives SDOM_NOT_OK.
SDOM_Exception SDOM_getExceptionCode(SablotSituation situation);
// The text for that code, or for any (SDOM_NOT_OK for one that is none), a new string for operator delete; null when
// memory runs out.
char* SDOM_getExceptionMessage(SablotSituation situation);
char* SDOM_getMessageOfCode(SDOM_Exception code);

// ---- Holding --------------------------------------------------------------------------------------------------------

// While a handle is held it stands for its node only, also when the document is destroyed. Each hold is ended once,
// before the situation is destroyed. Nulls are ignored; nothing is recorded.
void SDOM_holdNode(SDOM_Node node);
void SDOM_endHold(SablotSituation situation, SDOM_Node node);

// ---- Creating -------------------------------------------------------------------------------------------------------
// The new node has no parent and belongs to the document. Codes: 5 for a name or data that XML cannot carry, 14 for a
// prefix and a URI that may not go together.

// "p:x" takes the binding of p on the document element; where there is none the element is called p:x in no namespace.
// An unprefixed name takes the default namespace of the document element. 14 for the prefix xmlns. An element that is
// in no namespace so has no binding of its own: it may be given any default one by an attribute xmlns, and in the text
// it has the default namespace of the place where it stands. One that SDOM_createElementNS made is written with
// xmlns="" there.
SDOM_Exception SDOM_createElement(SablotSituation situation, SDOM_Document document, SDOM_Node* element,
                                  const char* tagName);
// 14 for a prefix without URI and for the prefixes xml and xmlns with a URI that is not theirs (or the other way).
SDOM_Exception SDOM_createElementNS(SablotSituation situation, SDOM_Document document, SDOM_Node* element,
                                    const char* uri, const char* qName);
// "xmlns" and "xmlns:p" make a namespace declaration with the value "" (14 for p = xml, xmlns). Prefixes as in
// SDOM_createElement.
SDOM_Exception SDOM_createAttribute(SablotSituation situation, SDOM_Document document, SDOM_Node* attribute,
                                    const char* qName);
// As SDOM_createElementNS; with the URI of xmlns a namespace declaration.
SDOM_Exception SDOM_createAttributeNS(SablotSituation situation, SDOM_Document document, SDOM_Node* attribute,
                                      const char* uri, const char* qName);
SDOM_Exception SDOM_createTextNode(SablotSituation situation, SDOM_Document document, SDOM_Node* text,
                                   const char* data);
// "]]>" is allowed: the section is split where it is written.
SDOM_Exception SDOM_createCDATASection(SablotSituation situation, SDOM_Document document, SDOM_Node* section,
                                       const char* data);
// 5 also for "--" and for "-" at the end. A carriage return becomes a line feed, here and in instructions.
SDOM_Exception SDOM_createComment(SablotSituation situation, SDOM_Document document, SDOM_Node* comment,
                                  const char* data);
// 5 also for the target xml, a colon in it, and "?>" in the data. White space at the beginning of the data is dropped.
SDOM_Exception SDOM_createProcessingInstruction(SablotSituation situation, SDOM_Document document,
                                                SDOM_Node* instruction, const char* target, const char* data);

// ---- Properties -----------------------------------------------------------------------------------------------------
// Strings are for operator delete.

SDOM_Exception SDOM_getNodeType(SablotSituation situation, SDOM_Node node, SDOM_NodeType* type);
// The qualified name of an element or attribute, "xmlns" or "xmlns:p", the target, "#document", "#text",
// "#cdata-section", "#comment".
SDOM_Exception SDOM_getNodeName(SablotSituation situation, SDOM_Node node, char** name);
// These three: "" when there is none; null and 0 for nodes that are neither element, attribute nor declaration.
SDOM_Exception SDOM_getNodeNSUri(SablotSituation situation, SDOM_Node node, char** uri);
SDOM_Exception SDOM_getNodePrefix(SablotSituation situation, SDOM_Node node, char** prefix);
SDOM_Exception SDOM_getNodeLocalName(SablotSituation situation, SDOM_Node node, char** localName);
// The value of an attribute, the URI of a declaration, text, data; null and 0 for elements and documents.
SDOM_Exception SDOM_getNodeValue(SablotSituation situation, SDOM_Node node, char** value);
// Renames an element, an attribute, a processing instruction or an unused namespace declaration. Codes: 5 not a name, 7
// for nodes of other types, 14 for a prefix that is not bound where the node stands, a name that another attribute of
// the element has, a declaration in use, and an attribute that would become a declaration or the other way.
SDOM_Exception SDOM_setNodeName(SablotSituation situation, SDOM_Node node, const char* name);
// Codes: 5 as in creating, 7 for elements and documents, 14 for a namespace declaration in use and for a URI that its
// prefix may not have.
SDOM_Exception SDOM_setNodeValue(SablotSituation situation, SDOM_Node node, const char* value);

// ---- Moving about ---------------------------------------------------------------------------------------------------
// Null and 0 where there is no such node. Attributes and namespace declarations have neither parent nor siblings.

SDOM_Exception SDOM_getParentNode(SablotSituation situation, SDOM_Node node, SDOM_Node* parent);
SDOM_Exception SDOM_getFirstChild(SablotSituation situation, SDOM_Node node, SDOM_Node* child);
SDOM_Exception SDOM_getLastChild(SablotSituation situation, SDOM_Node node, SDOM_Node* child);
SDOM_Exception SDOM_getPreviousSibling(SablotSituation situation, SDOM_Node node, SDOM_Node* sibling);
SDOM_Exception SDOM_getNextSibling(SablotSituation situation, SDOM_Node node, SDOM_Node* sibling);
// The child at an index from 0; null and 0 outside the list.
SDOM_Exception SDOM_getChildNodeIndex(SablotSituation situation, SDOM_Node node, int index, SDOM_Node* child);
SDOM_Exception SDOM_getChildNodeCount(SablotSituation situation, SDOM_Node node, int* count);
// Null for a document itself.
SDOM_Exception SDOM_getOwnerDocument(SablotSituation situation, SDOM_Node node, SDOM_Document* document);
SDOM_Exception SDOM_getDocumentElement(SablotSituation situation, SDOM_Document document, SDOM_Node* element);
// *result is -1, 0 or 1 in document order, 0 only for one and the same node. Nodes outside the tree come after it, in
// an order that is stable as long as they are not moved; nodes of different documents are ordered by their documents.
SDOM_Exception SDOM_compareNodes(SablotSituation situation, SDOM_Node node, SDOM_Node other, int* result);

// ---- Editing --------------------------------------------------------------------------------------------------------
// Names keep the URI they have, wherever a node is moved. A child that has a parent is taken from it first. Codes: 3
// for a place where the child may not stand (in a node that has no children, in itself, a second document element;
// documents, attributes and declarations stand nowhere), 4 for a node of another document, 8 for a reference that is no
// child of the node.

// Puts the child before the reference; a null reference appends.
SDOM_Exception SDOM_insertBefore(SablotSituation situation, SDOM_Node node, SDOM_Node newChild, SDOM_Node refChild);
SDOM_Exception SDOM_appendChild(SablotSituation situation, SDOM_Node node, SDOM_Node newChild);
// The old child stays a node of the document, without parent. An element keeps the namespace bindings that were in
// scope of it, until it gets another place.
SDOM_Exception SDOM_removeChild(SablotSituation situation, SDOM_Node node, SDOM_Node oldChild);
// Puts the new child where the old one stands, which is removed.
SDOM_Exception SDOM_replaceChild(SablotSituation situation, SDOM_Node node, SDOM_Node newChild, SDOM_Node oldChild);
// A copy without parent in the same document, with its attributes, and with its children when `deep` is not 0. 14 for
// the implicit declaration of xml.
SDOM_Exception SDOM_cloneNode(SablotSituation situation, SDOM_Node node, int deep, SDOM_Node* clone);
// The same of a node of any document, made in `document`.
SDOM_Exception SDOM_cloneForeignNode(SablotSituation situation, SDOM_Document document, SDOM_Node node, int deep,
                                     SDOM_Node* clone);

// ---- Attributes -----------------------------------------------------------------------------------------------------
// Nodes that are no elements give 16. Names with the prefix xmlns are namespace declarations of the element itself; in
// the calls with a URI these have that of xmlns.

// "" and 0 where the attribute is absent. The string is for operator delete.
SDOM_Exception SDOM_getAttribute(SablotSituation situation, SDOM_Node element, const char* name, char** value);
SDOM_Exception SDOM_getAttributeNS(SablotSituation situation, SDOM_Node element, const char* uri, const char* localName,
                                   char** value);
// Sets or adds. A prefix means what it means at the element; one that nothing binds is a part of the name. Codes: 5 as
// in creating, 14 for a declaration whose prefix a name of the element uses for another URI or that may not have this
// one.
SDOM_Exception SDOM_setAttribute(SablotSituation situation, SDOM_Node element, const char* name, const char* value);
// Declares the prefix when needed; 14 also when the element uses it for another URI already.
SDOM_Exception SDOM_setAttributeNS(SablotSituation situation, SDOM_Node element, const char* uri, const char* qName,
                                   const char* value);
// Null and 0 where the attribute is absent.
SDOM_Exception SDOM_getAttributeNode(SablotSituation situation, SDOM_Node element, const char* name,
                                     SDOM_Node* attribute);
SDOM_Exception SDOM_getAttributeNodeNS(SablotSituation situation, SDOM_Node element, const char* uri,
                                       const char* localName, SDOM_Node* attribute);
// The list begins with the namespace bindings in scope of the element - its own declarations, last declared first, then
// those of its parent that it does not redeclare - and goes on with its attributes. Null and 0 outside the list.
SDOM_Exception SDOM_getAttributeNodeIndex(SablotSituation situation, SDOM_Node element, int index,
                                          SDOM_Node* attribute);
SDOM_Exception SDOM_getAttributeNodeCount(SablotSituation situation, SDOM_Node element, int* count);
// Puts an attribute or a declaration that stands on no element on this one. *replaced is the one of the same name (of
// the same URI and local name) that had to go, or null; the new one takes its place. Codes: 4 for one of another
// document, 10 for one that an element owns, 14 for one whose prefix the element uses for another URI, or that would
// replace two.
SDOM_Exception SDOM_setAttributeNode(SablotSituation situation, SDOM_Node element, SDOM_Node attribute,
                                     SDOM_Node* replaced);
SDOM_Exception SDOM_setAttributeNodeNS(SablotSituation situation, SDOM_Node element, SDOM_Node attribute,
                                       SDOM_Node* replaced);
// An absent attribute gives 0, a namespace declaration in use 7.
SDOM_Exception SDOM_removeAttribute(SablotSituation situation, SDOM_Node element, const char* name);
// *removed is the attribute, which stays a node of the document. 7 as above, 8 when it is not this element's own.
SDOM_Exception SDOM_removeAttributeNode(SablotSituation situation, SDOM_Node element, SDOM_Node attribute,
                                        SDOM_Node* removed);
// The element that owns the attribute or declaration, or null; 3 for a node that is neither.
SDOM_Exception SDOM_getAttributeElement(SablotSituation situation, SDOM_Node attribute, SDOM_Node* element);

// ---- Serialising ----------------------------------------------------------------------------------------------------
// Texts for SablotFree, in UTF-8.

// The XML declaration and the children of the document, nothing between them.
SDOM_Exception SDOM_docToString(SablotSituation situation, SDOM_Document document, char** text);
// The markup of an element with every binding in scope declared on it; "" for any other node. The document is not used.
SDOM_Exception SDOM_nodeToString(SablotSituation situation, SDOM_Document document, SDOM_Node node, char** text);

// ---- Queries (XPath 1.0) --------------------------------------------------------------------------------------------
// Codes: 17 the query does not parse or uses an unbound prefix, 18 it cannot be evaluated or is no node set. *list is
// released with SDOM_disposeNodeList; no match is an empty list. A list holds the nodes as they were found, whatever is
// edited after it. Besides XPath's own functions there are generate-id() and format-number() of XSLT 1.0, the latter
// with the default symbols.

// Prefixes as bound on the document element; an unprefixed element name means its default namespace.
SDOM_Exception SDOM_xql(SablotSituation situation, const char* query, SDOM_Node node, SDOM_NodeList* list);
// Prefixes only from the map: a NULL-terminated array prefix, URI, prefix, URI ... An empty prefix is ignored; a null
// map is empty.
SDOM_Exception SDOM_xql_ns(SablotSituation situation, const char* query, SDOM_Node node, const char* const* namespaces,
                           SDOM_NodeList* list);
// 8 for a null list.
SDOM_Exception SDOM_getNodeListLength(SablotSituation situation, SDOM_NodeList list, int* length);
// The node at an index from 0. Codes: 1 for an index outside the list, 8 for a null list and once the document is
// destroyed.
SDOM_Exception SDOM_getNodeListItem(SablotSituation situation, SDOM_NodeList list, int index, SDOM_Node* node);
// Releases a list, also after its document. A null is ignored. Always 0.
SDOM_Exception SDOM_disposeNodeList(SablotSituation situation, SDOM_NodeList list);

#ifdef __cplusplus
}
#endif
