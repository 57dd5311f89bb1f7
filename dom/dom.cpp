// Members whose code is still to come: each raises an exception that says so, or does nothing where the host builds
// and destroys objects.
#include "dom/members.h"

#include "glue/exceptions.h"
#include "glue/strings.h"

namespace kova {

namespace {

void RaiseMissing(const char* member) {
    constexpr std::int32_t UNSUPPORTED = 9;
    KOVAObject exception = PluginNewInstance("RuntimeException");
    if (!exception) return;
    const OwnedString message(BuildUTF8String(member));
    KOVASetPropValueInt(exception, "ErrorNumber", UNSUPPORTED);
    KOVASetPropValueString(exception, "Message", message.Get());
    RuntimeRaiseException(exception);
}

} // namespace

KOVAString XmlException_GetLine(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlException_GetLine is not available");
    return nullptr;
}
KOVAString XmlException_GetNode(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlException_GetNode is not available");
    return nullptr;
}
KOVAString XmlException_GetToken(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlException_GetToken is not available");
    return nullptr;
}
void XmlNamespaces_Initialize(KOVAObject) {}
void XmlNamespaces_Finalize(KOVAObject) {}
KOVAString XmlNamespaces_Uri(KOVAObject, KOVAString) {
    RaiseMissing("XmlNamespaces_Uri is not available");
    return nullptr;
}
void XmlNamespaces_SetUri(KOVAObject, KOVAString, KOVAString) { RaiseMissing("XmlNamespaces_SetUri is not available"); }
void XmlNamespaces_Clear(KOVAObject) { RaiseMissing("XmlNamespaces_Clear is not available"); }
KOVABoolean XmlNamespaces_HasPrefix(KOVAObject, KOVAString) {
    RaiseMissing("XmlNamespaces_HasPrefix is not available");
    return 0;
}
void Xml_Initialize(KOVAObject) {}
void Xml_Finalize(KOVAObject) {}
void XmlNodeList_Finalize(KOVAObject) {}
KOVAInteger XmlNodeList_GetLength(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNodeList_GetLength is not available");
    return 0;
}
KOVAObject XmlNodeList_Item(KOVAObject, KOVAInteger) {
    RaiseMissing("XmlNodeList_Item is not available");
    return nullptr;
}
KOVAString XmlNodeList_ToString(KOVAObject) {
    RaiseMissing("XmlNodeList_ToString is not available");
    return nullptr;
}
KOVAString XmlNodeList_ToStringTagged(KOVAObject, KOVAString) {
    RaiseMissing("XmlNodeList_ToStringTagged is not available");
    return nullptr;
}
void XmlNode_Initialize(KOVAObject) {}
void XmlNode_Finalize(KOVAObject) {}
KOVAObject XmlNode_GetOwnerDocument(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetOwnerDocument is not available");
    return nullptr;
}
KOVAInteger XmlNode_GetType(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetType is not available");
    return 0;
}
KOVAString XmlNode_GetName(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetName is not available");
    return nullptr;
}
void XmlNode_SetName(KOVAObject, std::uint32_t, KOVAString) { RaiseMissing("XmlNode_SetName is not available"); }
KOVAString XmlNode_GetNamespaceUri(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetNamespaceUri is not available");
    return nullptr;
}
KOVAString XmlNode_GetPrefix(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetPrefix is not available");
    return nullptr;
}
KOVAString XmlNode_GetLocalName(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetLocalName is not available");
    return nullptr;
}
KOVAString XmlNode_GetValue(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetValue is not available");
    return nullptr;
}
void XmlNode_SetValue(KOVAObject, std::uint32_t, KOVAString) { RaiseMissing("XmlNode_SetValue is not available"); }
KOVAInteger XmlNode_GetChildCount(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetChildCount is not available");
    return 0;
}
KOVAObject XmlNode_GetParent(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetParent is not available");
    return nullptr;
}
KOVAObject XmlNode_GetFirstChild(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetFirstChild is not available");
    return nullptr;
}
KOVAObject XmlNode_GetLastChild(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetLastChild is not available");
    return nullptr;
}
KOVAObject XmlNode_GetPreviousSibling(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetPreviousSibling is not available");
    return nullptr;
}
KOVAObject XmlNode_GetNextSibling(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetNextSibling is not available");
    return nullptr;
}
KOVAString XmlNode_GetToString(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetToString is not available");
    return nullptr;
}
KOVAInteger XmlNode_GetAttributeCount(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlNode_GetAttributeCount is not available");
    return 0;
}
KOVAInteger XmlNode_Compare(KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_Compare is not available");
    return 0;
}
KOVAObject XmlNode_Child(KOVAObject, KOVAInteger) {
    RaiseMissing("XmlNode_Child is not available");
    return nullptr;
}
KOVAObject XmlNode_Insert(KOVAObject, KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_Insert is not available");
    return nullptr;
}
void XmlNode_InsertOnly(KOVAObject, KOVAObject, KOVAObject) { RaiseMissing("XmlNode_InsertOnly is not available"); }
void XmlNode_RemoveChild(KOVAObject, KOVAObject) { RaiseMissing("XmlNode_RemoveChild is not available"); }
KOVAObject XmlNode_ReplaceChild(KOVAObject, KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_ReplaceChild is not available");
    return nullptr;
}
void XmlNode_ReplaceChildOnly(KOVAObject, KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_ReplaceChildOnly is not available");
}
KOVAObject XmlNode_AppendChild(KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_AppendChild is not available");
    return nullptr;
}
void XmlNode_AppendChildOnly(KOVAObject, KOVAObject) { RaiseMissing("XmlNode_AppendChildOnly is not available"); }
KOVAObject XmlNode_Clone(KOVAObject, KOVABoolean) {
    RaiseMissing("XmlNode_Clone is not available");
    return nullptr;
}
KOVAObject XmlNode_Xql(KOVAObject, KOVAString) {
    RaiseMissing("XmlNode_Xql is not available");
    return nullptr;
}
KOVAObject XmlNode_XqlNamespaces(KOVAObject, KOVAString, KOVAObject) {
    RaiseMissing("XmlNode_XqlNamespaces is not available");
    return nullptr;
}
KOVAObject XmlNode_XqlArray(KOVAObject, KOVAString, KOVAArray) {
    RaiseMissing("XmlNode_XqlArray is not available");
    return nullptr;
}
KOVAString XmlNode_GetAttribute(KOVAObject, KOVAString) {
    RaiseMissing("XmlNode_GetAttribute is not available");
    return nullptr;
}
KOVAString XmlNode_GetAttributeNS(KOVAObject, KOVAString, KOVAString) {
    RaiseMissing("XmlNode_GetAttributeNS is not available");
    return nullptr;
}
void XmlNode_SetAttribute(KOVAObject, KOVAString, KOVAString) { RaiseMissing("XmlNode_SetAttribute is not available"); }
void XmlNode_SetAttributeNS(KOVAObject, KOVAString, KOVAString, KOVAString) {
    RaiseMissing("XmlNode_SetAttributeNS is not available");
}
KOVAObject XmlNode_GetAttributeNode(KOVAObject, KOVAString) {
    RaiseMissing("XmlNode_GetAttributeNode is not available");
    return nullptr;
}
KOVAObject XmlNode_GetAttributeNodeNS(KOVAObject, KOVAString, KOVAString) {
    RaiseMissing("XmlNode_GetAttributeNodeNS is not available");
    return nullptr;
}
KOVAObject XmlNode_GetAttributeNodeIndex(KOVAObject, KOVAInteger) {
    RaiseMissing("XmlNode_GetAttributeNodeIndex is not available");
    return nullptr;
}
KOVAObject XmlNode_SetAttributeNode(KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_SetAttributeNode is not available");
    return nullptr;
}
void XmlNode_SetAttributeNodeOnly(KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_SetAttributeNodeOnly is not available");
}
KOVAObject XmlNode_RemoveAttributeNode(KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_RemoveAttributeNode is not available");
    return nullptr;
}
void XmlNode_RemoveAttributeNodeOnly(KOVAObject, KOVAObject) {
    RaiseMissing("XmlNode_RemoveAttributeNodeOnly is not available");
}
void XmlNode_RemoveAttribute(KOVAObject, KOVAString) { RaiseMissing("XmlNode_RemoveAttribute is not available"); }
KOVAObject XmlAttribute_GetOwnerElement(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlAttribute_GetOwnerElement is not available");
    return nullptr;
}
void XmlDocument_Finalize(KOVAObject) {}
KOVAObject XmlDocument_GetDocumentElement(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlDocument_GetDocumentElement is not available");
    return nullptr;
}
KOVABoolean XmlDocument_GetPreserveWhitespace(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlDocument_GetPreserveWhitespace is not available");
    return 0;
}
void XmlDocument_SetPreserveWhitespace(KOVAObject, std::uint32_t, KOVABoolean) {
    RaiseMissing("XmlDocument_SetPreserveWhitespace is not available");
}
KOVAString XmlDocument_GetEncoding(KOVAObject, std::uint32_t) {
    RaiseMissing("XmlDocument_GetEncoding is not available");
    return nullptr;
}
void XmlDocument_SetEncoding(KOVAObject, std::uint32_t, KOVAString) {
    RaiseMissing("XmlDocument_SetEncoding is not available");
}
void XmlDocument_Constructor(KOVAObject) { RaiseMissing("XmlDocument_Constructor is not available"); }
void XmlDocument_ConstructorText(KOVAObject, KOVAString) {
    RaiseMissing("XmlDocument_ConstructorText is not available");
}
void XmlDocument_ConstructorFile(KOVAObject, KOVAObject) {
    RaiseMissing("XmlDocument_ConstructorFile is not available");
}
void XmlDocument_LoadXml(KOVAObject, KOVAString) { RaiseMissing("XmlDocument_LoadXml is not available"); }
void XmlDocument_LoadXmlFile(KOVAObject, KOVAObject) { RaiseMissing("XmlDocument_LoadXmlFile is not available"); }
KOVAObject XmlDocument_ImportNode(KOVAObject, KOVAObject, KOVABoolean) {
    RaiseMissing("XmlDocument_ImportNode is not available");
    return nullptr;
}
void XmlDocument_SaveXml(KOVAObject, KOVAObject) { RaiseMissing("XmlDocument_SaveXml is not available"); }
KOVAObject XmlDocument_CreateAttribute(KOVAObject, KOVAString) {
    RaiseMissing("XmlDocument_CreateAttribute is not available");
    return nullptr;
}
KOVAObject XmlDocument_CreateAttributeNS(KOVAObject, KOVAString, KOVAString) {
    RaiseMissing("XmlDocument_CreateAttributeNS is not available");
    return nullptr;
}
KOVAObject XmlDocument_CreateElement(KOVAObject, KOVAString) {
    RaiseMissing("XmlDocument_CreateElement is not available");
    return nullptr;
}
KOVAObject XmlDocument_CreateElementNS(KOVAObject, KOVAString, KOVAString) {
    RaiseMissing("XmlDocument_CreateElementNS is not available");
    return nullptr;
}
KOVAObject XmlDocument_CreateTextNode(KOVAObject, KOVAString) {
    RaiseMissing("XmlDocument_CreateTextNode is not available");
    return nullptr;
}
KOVAObject XmlDocument_CreateCDATASection(KOVAObject, KOVAString) {
    RaiseMissing("XmlDocument_CreateCDATASection is not available");
    return nullptr;
}
KOVAObject XmlDocument_CreateComment(KOVAObject, KOVAString) {
    RaiseMissing("XmlDocument_CreateComment is not available");
    return nullptr;
}
KOVAObject XmlDocument_CreateProcessingInstruction(KOVAObject, KOVAString, KOVAString) {
    RaiseMissing("XmlDocument_CreateProcessingInstruction is not available");
    return nullptr;
}
void XmlStyleSheet_ConstructorText(KOVAObject, KOVAString) {
    RaiseMissing("XmlStyleSheet_ConstructorText is not available");
}
void XmlStyleSheet_ConstructorFile(KOVAObject, KOVAObject) {
    RaiseMissing("XmlStyleSheet_ConstructorFile is not available");
}
void XmlStyleSheet_LoadXml(KOVAObject, KOVAString) { RaiseMissing("XmlStyleSheet_LoadXml is not available"); }
void XmlStyleSheet_LoadXmlFile(KOVAObject, KOVAObject) { RaiseMissing("XmlStyleSheet_LoadXmlFile is not available"); }

} // namespace kova
