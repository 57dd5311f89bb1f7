// XmlNode, its subclasses that are not documents, and the module of node types. Declarations are part of the
// interface and stand here letter by letter.
#include "dom/classes.h"
#include "dom/members.h"
#include "dom/node.h"
#include "registration/tables.h"

namespace kova {

namespace {

PropertyDefinition nodeProperties[] = {
    ReadOnly("OwnerDocument", "XmlDocument", PROPERTY_FLAGS_6, XmlNode_GetOwnerDocument),
    DirectReadOnly("LastError", "Integer", PROPERTY_FLAGS_6, offsetof(NodeData, lastError)),
    ReadOnly("Type", "Integer", PROPERTY_FLAGS_6, XmlNode_GetType),
    ReadWrite("Name", "String", PROPERTY_FLAGS_6, XmlNode_GetName, XmlNode_SetName),
    ReadOnly("NamespaceUri", "String", PROPERTY_FLAGS_6, XmlNode_GetNamespaceUri),
    ReadOnly("Prefix", "String", PROPERTY_FLAGS_6, XmlNode_GetPrefix),
    ReadOnly("LocalName", "String", PROPERTY_FLAGS_6, XmlNode_GetLocalName),
    ReadWrite("Value", "String", PROPERTY_FLAGS_6, XmlNode_GetValue, XmlNode_SetValue),
    ReadOnly("ChildCount", "Integer", PROPERTY_FLAGS_6, XmlNode_GetChildCount),
    ReadOnly("Parent", "XmlNode", PROPERTY_FLAGS_6, XmlNode_GetParent),
    ReadOnly("FirstChild", "XmlNode", PROPERTY_FLAGS_6, XmlNode_GetFirstChild),
    ReadOnly("LastChild", "XmlNode", PROPERTY_FLAGS_6, XmlNode_GetLastChild),
    ReadOnly("PreviousSibling", "XmlNode", PROPERTY_FLAGS_6, XmlNode_GetPreviousSibling),
    ReadOnly("NextSibling", "XmlNode", PROPERTY_FLAGS_6, XmlNode_GetNextSibling),
    ReadOnly("ToString", "String", PROPERTY_FLAGS_6, XmlNode_GetToString),
    ReadOnly("AttributeCount", "Integer", PROPERTY_FLAGS_6, XmlNode_GetAttributeCount),
};

MethodDefinition nodeMethods[] = {
    Method("Compare(node as XmlNode) as integer", XmlNode_Compare),
    Method("Child(index as Integer) as XmlNode", XmlNode_Child),
    Method("Insert(newChild as XmlNode, beforeChild as XmlNode) as XmlNode", XmlNode_Insert),
    Method("Insert(newChild as XmlNode, beforeChild as XmlNode)", XmlNode_InsertOnly),
    Method("RemoveChild(oldChild as XmlNode)", XmlNode_RemoveChild),
    Method("ReplaceChild(newChild as XmlNode, oldChild as XmlNode) as XmlNode", XmlNode_ReplaceChild),
    Method("ReplaceChild(newChild as XmlNode, oldChild as XmlNode)", XmlNode_ReplaceChildOnly),
    Method("AppendChild(newChild as XmlNode) as XmlNode", XmlNode_AppendChild),
    Method("AppendChild(newChild as XmlNode)", XmlNode_AppendChildOnly),
    Method("Clone(deep as Boolean) as XmlNode", XmlNode_Clone),
    Method("Xql(query as String) as XmlNodeList", XmlNode_Xql),
    Method("Xql(query as String, map as XmlNamespaces) as XmlNodeList", XmlNode_XqlNamespaces),
    Method("Xql(query as String, map() as String) as XmlNodeList", XmlNode_XqlArray),
    Method("GetAttribute(name as String) as String", XmlNode_GetAttribute),
    Method("GetAttribute(uri as String, name as String) as String", XmlNode_GetAttributeNS),
    Method("SetAttribute(name as String, value as String)", XmlNode_SetAttribute),
    Method("SetAttribute(uri as String, name as String, value as String)", XmlNode_SetAttributeNS),
    Method("GetAttributeNode(name as String) as XmlAttribute", XmlNode_GetAttributeNode),
    Method("GetAttributeNode(uri as String, name as String) as XmlAttribute", XmlNode_GetAttributeNodeNS),
    Method("GetAttributeNode(index as Integer) as XmlAttribute", XmlNode_GetAttributeNodeIndex),
    Method("SetAttributeNode(attributeNode as XmlAttribute) as XmlAttribute", XmlNode_SetAttributeNode),
    Method("SetAttributeNode(attributeNode as XmlAttribute)", XmlNode_SetAttributeNodeOnly),
    Method("RemoveAttributeNode(attributeNode as XmlAttribute) as XmlAttribute", XmlNode_RemoveAttributeNode),
    Method("RemoveAttributeNode(attributeNode as XmlAttribute)", XmlNode_RemoveAttributeNodeOnly),
    Method("RemoveAttribute(name as String)", XmlNode_RemoveAttribute),
};

PropertyDefinition attributeProperties[] = {
    ReadOnly("OwnerElement", "XmlElement", PROPERTY_FLAGS_6, XmlAttribute_GetOwnerElement),
};

ConstantDefinition nodeTypeConstants[] = {
    {"ELEMENT_NODE = 1"},
    {"ATTRIBUTE_NODE = 2"},
    {"TEXT_NODE = 3"},
    {"CDATA_SECTION_NODE = 4"},
    {"ENTITY_REFERENCE_NODE = 5"},
    {"ENTITY_NODE = 6"},
    {"PROCESSING_INSTRUCTION_NODE = 7"},
    {"COMMENT_NODE = 8"},
    {"DOCUMENT_NODE = 9"},
    {"DOCUMENT_TYPE_NODE = 10"},
    {"DOCUMENT_FRAGMENT_NODE = 11"},
    {"NOTATION_NODE = 12"},
    {"OTHER_NODE = 13"},
};

} // namespace

ClassDefinition xmlNodeClass = {
    .name = "XmlNode",
    .dataSize = sizeof(NodeData),
    .constructor = XmlNode_Initialize,
    .destructor = XmlNode_Finalize,
    .properties = nodeProperties,
    .propertyCount = Count(nodeProperties),
    .methods = nodeMethods,
    .methodCount = Count(nodeMethods),
};

ClassDefinition xmlElementClass = {.name = "XmlElement", .superclass = "XmlNode"};

ClassDefinition xmlAttributeClass = {
    .name = "XmlAttribute",
    .superclass = "XmlNode",
    .properties = attributeProperties,
    .propertyCount = Count(attributeProperties),
};

ClassDefinition xmlTextNodeClass = {.name = "XmlTextNode", .superclass = "XmlNode"};
ClassDefinition xmlCDATASectionClass = {.name = "XmlCDATASection", .superclass = "XmlNode"};
ClassDefinition xmlCommentClass = {.name = "XmlComment", .superclass = "XmlNode"};
ClassDefinition xmlProcessingInstructionClass = {.name = "XmlProcessingInstruction", .superclass = "XmlNode"};

ModuleDefinition xmlNodeTypeModule = {
    .name = "XmlNodeType",
    .constants = nodeTypeConstants,
    .constantCount = Count(nodeTypeConstants),
};

} // namespace kova
