// Xml, XmlDocument and XmlStyleSheet. Declarations are part of the interface and stand here letter by letter, the
// spelling "XmlStylesheet" of two of them included.
#include "dom/classes.h"
#include "dom/members.h"
#include "dom/xml.h"
#include "registration/tables.h"
#include "xslt/members.h"

namespace kova {

namespace {

PropertyDefinition documentProperties[] = {
    ReadOnly("DocumentElement", "XmlElement", PROPERTY_FLAGS_6, XmlDocument_GetDocumentElement),
    ReadWrite("PreserveWhitespace", "Boolean", PROPERTY_FLAGS_6, XmlDocument_GetPreserveWhitespace,
              XmlDocument_SetPreserveWhitespace),
    ReadWrite("Encoding", "String", PROPERTY_FLAGS_6, XmlDocument_GetEncoding, XmlDocument_SetEncoding),
};

MethodDefinition documentMethods[] = {
    Method("Constructor()", XmlDocument_Constructor),
    Method("Constructor(xmlDoc as String)", XmlDocument_ConstructorText),
    Method("Constructor(fItem as FolderItem)", XmlDocument_ConstructorFile),
    Method("LoadXml(doc as String)", XmlDocument_LoadXml),
    Method("LoadXml(fItem as FolderItem)", XmlDocument_LoadXmlFile),
    Method("ImportNode(foreignNode as XmlNode, deep as Boolean) as XmlNode", XmlDocument_ImportNode),
    Method("SaveXml(fItem as FolderItem)", XmlDocument_SaveXml),
    Method("Transform(xsl as String) as String", XmlDocument_Transform),
    Method("Transform(xsl as XmlStylesheet) as String", XmlDocument_TransformStyleSheet),
    Method("Transform(xsl as String, saxHandler as XmlXsltHandler) as String", XmlDocument_TransformEvents),
    Method("Transform(xsl as XmlStylesheet, saxHandler as XmlXsltHandler) as String",
           XmlDocument_TransformStyleSheetEvents),
    Method("CreateAttribute(qName as String) as XmlAttribute", XmlDocument_CreateAttribute),
    Method("CreateAttribute(uri as String, qName as String) as XmlAttribute", XmlDocument_CreateAttributeNS),
    Method("CreateElement(tagName as String) as XmlElement", XmlDocument_CreateElement),
    Method("CreateElement(uri as String, tagName as String) as XmlElement", XmlDocument_CreateElementNS),
    Method("CreateTextNode(data as String) as XmlTextNode", XmlDocument_CreateTextNode),
    Method("CreateCDATASection(data as String) as XmlCDATASection", XmlDocument_CreateCDATASection),
    Method("CreateComment(data as String) as XmlComment", XmlDocument_CreateComment),
    Method("CreateProcessingInstruction(target as String, data as String) as XmlProcessingInstruction",
           XmlDocument_CreateProcessingInstruction),
};

MethodDefinition styleSheetMethods[] = {
    Method("Constructor()", XmlDocument_Constructor),
    Method("Constructor(xmlDoc as String)", XmlStyleSheet_ConstructorText),
    Method("Constructor(fItem as FolderItem)", XmlStyleSheet_ConstructorFile),
    Method("LoadXml(doc as String)", XmlStyleSheet_LoadXml),
    Method("LoadXml(fItem as FolderItem)", XmlStyleSheet_LoadXmlFile),
};

} // namespace

ClassDefinition xmlClass = {
    .name = "Xml",
    .dataSize = sizeof(XmlData),
    .constructor = Xml_Initialize,
    .destructor = Xml_Finalize,
};

ClassDefinition xmlDocumentClass = {
    .name = "XmlDocument",
    .superclass = "XmlNode",
    .destructor = XmlDocument_Finalize,
    .properties = documentProperties,
    .propertyCount = Count(documentProperties),
    .methods = documentMethods,
    .methodCount = Count(documentMethods),
};

ClassDefinition xmlStyleSheetClass = {
    .name = "XmlStyleSheet",
    .superclass = "XmlDocument",
    .methods = styleSheetMethods,
    .methodCount = Count(styleSheetMethods),
};

} // namespace kova
