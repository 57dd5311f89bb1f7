// The members of the document model's classes that the host calls, class by class in the order of their records.
// Property getters and setters take the record's parameter word, which is 0 throughout.
#pragma once

#include "glue/host_types.h"

namespace kova {

// XmlException.
KOVAString XmlException_GetLine(KOVAObject self, uint32_t param);
KOVAString XmlException_GetNode(KOVAObject self, uint32_t param);
KOVAString XmlException_GetToken(KOVAObject self, uint32_t param);

// XmlNamespaces. Uri can be assigned to.
void XmlNamespaces_Initialize(KOVAObject self);
void XmlNamespaces_Finalize(KOVAObject self);
KOVAString XmlNamespaces_Uri(KOVAObject self, KOVAString prefix);
void XmlNamespaces_SetUri(KOVAObject self, KOVAString prefix, KOVAString value);
void XmlNamespaces_Clear(KOVAObject self);
KOVABoolean XmlNamespaces_HasPrefix(KOVAObject self, KOVAString prefix);

// Xml.
void Xml_Initialize(KOVAObject self);
void Xml_Finalize(KOVAObject self);

// XmlNodeList.
void XmlNodeList_Finalize(KOVAObject self);
KOVAInteger XmlNodeList_GetLength(KOVAObject self, uint32_t param);
KOVAObject XmlNodeList_Item(KOVAObject self, KOVAInteger index);
KOVAString XmlNodeList_ToString(KOVAObject self);
KOVAString XmlNodeList_ToStringTagged(KOVAObject self, KOVAString tagName);

// XmlNode: properties.
void XmlNode_Initialize(KOVAObject self);
void XmlNode_Finalize(KOVAObject self);
KOVAObject XmlNode_GetOwnerDocument(KOVAObject self, uint32_t param);
KOVAInteger XmlNode_GetType(KOVAObject self, uint32_t param);
KOVAString XmlNode_GetName(KOVAObject self, uint32_t param);
void XmlNode_SetName(KOVAObject self, uint32_t param, KOVAString value);
KOVAString XmlNode_GetNamespaceUri(KOVAObject self, uint32_t param);
KOVAString XmlNode_GetPrefix(KOVAObject self, uint32_t param);
KOVAString XmlNode_GetLocalName(KOVAObject self, uint32_t param);
KOVAString XmlNode_GetValue(KOVAObject self, uint32_t param);
void XmlNode_SetValue(KOVAObject self, uint32_t param, KOVAString value);
KOVAInteger XmlNode_GetChildCount(KOVAObject self, uint32_t param);
KOVAObject XmlNode_GetParent(KOVAObject self, uint32_t param);
KOVAObject XmlNode_GetFirstChild(KOVAObject self, uint32_t param);
KOVAObject XmlNode_GetLastChild(KOVAObject self, uint32_t param);
KOVAObject XmlNode_GetPreviousSibling(KOVAObject self, uint32_t param);
KOVAObject XmlNode_GetNextSibling(KOVAObject self, uint32_t param);
KOVAString XmlNode_GetToString(KOVAObject self, uint32_t param);
KOVAInteger XmlNode_GetAttributeCount(KOVAObject self, uint32_t param);

// XmlNode: methods. "Only" marks the form without a result of a method that has both.
KOVAInteger XmlNode_Compare(KOVAObject self, KOVAObject node);
KOVAObject XmlNode_Child(KOVAObject self, KOVAInteger index);
KOVAObject XmlNode_Insert(KOVAObject self, KOVAObject newChild, KOVAObject beforeChild);
void XmlNode_InsertOnly(KOVAObject self, KOVAObject newChild, KOVAObject beforeChild);
void XmlNode_RemoveChild(KOVAObject self, KOVAObject oldChild);
KOVAObject XmlNode_ReplaceChild(KOVAObject self, KOVAObject newChild, KOVAObject oldChild);
void XmlNode_ReplaceChildOnly(KOVAObject self, KOVAObject newChild, KOVAObject oldChild);
KOVAObject XmlNode_AppendChild(KOVAObject self, KOVAObject newChild);
void XmlNode_AppendChildOnly(KOVAObject self, KOVAObject newChild);
KOVAObject XmlNode_Clone(KOVAObject self, KOVABoolean deep);
KOVAObject XmlNode_Xql(KOVAObject self, KOVAString query);
KOVAObject XmlNode_XqlNamespaces(KOVAObject self, KOVAString query, KOVAObject map);
KOVAObject XmlNode_XqlArray(KOVAObject self, KOVAString query, KOVAArray map);
KOVAString XmlNode_GetAttribute(KOVAObject self, KOVAString name);
KOVAString XmlNode_GetAttributeNS(KOVAObject self, KOVAString uri, KOVAString name);
void XmlNode_SetAttribute(KOVAObject self, KOVAString name, KOVAString value);
void XmlNode_SetAttributeNS(KOVAObject self, KOVAString uri, KOVAString name, KOVAString value);
KOVAObject XmlNode_GetAttributeNode(KOVAObject self, KOVAString name);
KOVAObject XmlNode_GetAttributeNodeNS(KOVAObject self, KOVAString uri, KOVAString name);
KOVAObject XmlNode_GetAttributeNodeIndex(KOVAObject self, KOVAInteger index);
KOVAObject XmlNode_SetAttributeNode(KOVAObject self, KOVAObject attributeNode);
void XmlNode_SetAttributeNodeOnly(KOVAObject self, KOVAObject attributeNode);
KOVAObject XmlNode_RemoveAttributeNode(KOVAObject self, KOVAObject attributeNode);
void XmlNode_RemoveAttributeNodeOnly(KOVAObject self, KOVAObject attributeNode);
void XmlNode_RemoveAttribute(KOVAObject self, KOVAString name);

// XmlAttribute.
KOVAObject XmlAttribute_GetOwnerElement(KOVAObject self, uint32_t param);

// XmlDocument. XmlDocument_Constructor also is XmlStyleSheet's; the Transform methods stand in xslt/members.h.
void XmlDocument_Finalize(KOVAObject self);
KOVAObject XmlDocument_GetDocumentElement(KOVAObject self, uint32_t param);
KOVABoolean XmlDocument_GetPreserveWhitespace(KOVAObject self, uint32_t param);
void XmlDocument_SetPreserveWhitespace(KOVAObject self, uint32_t param, KOVABoolean value);
KOVAString XmlDocument_GetEncoding(KOVAObject self, uint32_t param);
void XmlDocument_SetEncoding(KOVAObject self, uint32_t param, KOVAString value);
void XmlDocument_Constructor(KOVAObject self);
void XmlDocument_ConstructorText(KOVAObject self, KOVAString xmlDoc);
void XmlDocument_ConstructorFile(KOVAObject self, KOVAObject file);
void XmlDocument_LoadXml(KOVAObject self, KOVAString doc);
void XmlDocument_LoadXmlFile(KOVAObject self, KOVAObject file);
KOVAObject XmlDocument_ImportNode(KOVAObject self, KOVAObject foreignNode, KOVABoolean deep);
void XmlDocument_SaveXml(KOVAObject self, KOVAObject file);
KOVAObject XmlDocument_CreateAttribute(KOVAObject self, KOVAString qName);
KOVAObject XmlDocument_CreateAttributeNS(KOVAObject self, KOVAString uri, KOVAString qName);
KOVAObject XmlDocument_CreateElement(KOVAObject self, KOVAString tagName);
KOVAObject XmlDocument_CreateElementNS(KOVAObject self, KOVAString uri, KOVAString tagName);
KOVAObject XmlDocument_CreateTextNode(KOVAObject self, KOVAString data);
KOVAObject XmlDocument_CreateCDATASection(KOVAObject self, KOVAString data);
KOVAObject XmlDocument_CreateComment(KOVAObject self, KOVAString data);
KOVAObject XmlDocument_CreateProcessingInstruction(KOVAObject self, KOVAString target, KOVAString data);

// XmlStyleSheet.
void XmlStyleSheet_ConstructorText(KOVAObject self, KOVAString xmlDoc);
void XmlStyleSheet_ConstructorFile(KOVAObject self, KOVAObject file);
void XmlStyleSheet_LoadXml(KOVAObject self, KOVAString doc);
void XmlStyleSheet_LoadXmlFile(KOVAObject self, KOVAObject file);

} // namespace kova
