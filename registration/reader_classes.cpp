// XmlReader and its exception. Declarations are part of the interface and stand here letter by letter.
#include "reader/classes.h"
#include "reader/members.h"
#include "reader/reader_exception.h"
#include "reader/xml_reader.h"
#include "registration/tables.h"

namespace kova {

namespace {

PropertyDefinition readerProperties[] = {
    ReadWrite("Base", "String", PROPERTY_FLAGS_6, XmlReader_GetBase, XmlReader_SetBase),
    ReadOnly("CurrentLineNumber", "Integer", PROPERTY_FLAGS_6, XmlReader_GetCurrentLineNumber),
    ReadOnly("CurrentColumnNumber", "Integer", PROPERTY_FLAGS_6, XmlReader_GetCurrentColumnNumber),
    ReadOnly("CurrentByteIndex", "Integer", PROPERTY_FLAGS_6, XmlReader_GetCurrentByteIndex),
    ReadOnly("CurrentByteCount", "Integer", PROPERTY_FLAGS_6, XmlReader_GetCurrentByteCount),
    ReadOnly("ErrorCode", "Integer", PROPERTY_FLAGS_6, XmlReader_GetErrorCode),
    WriteOnly("SetDefaultHandler", "Boolean", PROPERTY_FLAGS_6, XmlReader_SetDefaultHandler),
    WriteOnly("SetDefaultHandlerExpand", "Boolean", PROPERTY_FLAGS_6, XmlReader_SetDefaultHandlerExpand),
};

MethodDefinition readerMethods[] = {
    Method("Constructor()", XmlReader_Constructor),
    Method("Constructor(xmlEncoding as String)", XmlReader_ConstructorEncoding),
    Method("Constructor(xmlEncoding as String, namespaceSeparator as String)", XmlReader_ConstructorNamespaces),
    Method("Reset() as Boolean", XmlReader_Reset),
    Method("Reset(xmlEncoding as String) as Boolean", XmlReader_ResetEncoding),
    Method("DefaultCurrent()", XmlReader_DefaultCurrent),
    Method("Parse(s as String)", XmlReader_Parse),
    Method("Parse(s as String, isFinal as Boolean)", XmlReader_ParseChunk),
    Method("Parse(file as FolderItem)", XmlReader_ParseFile),
    Method("Parse(file as FolderItem, isFinal as Boolean)", XmlReader_ParseFileChunk),
    Method("CreateExternalEntityReader(xmlEncoding as String)", XmlReader_CreateExternalEntityReader),
    Method("FreeExternalEntityReader()", XmlReader_FreeExternalEntityReader),
};

ConstantDefinition readerConstants[] = {
    {"XML_ERROR_NONE = 0"},
    {"XML_ERROR_NO_MEMORY = 1"},
    {"XML_ERROR_SYNTAX = 2"},
    {"XML_ERROR_NO_ELEMENTS = 3"},
    {"XML_ERROR_INVALID_TOKEN = 4"},
    {"XML_ERROR_UNCLOSED_TOKEN = 5"},
    {"XML_ERROR_PARTIAL_CHAR = 6"},
    {"XML_ERROR_TAG_MISMATCH = 7"},
    {"XML_ERROR_DUPLICATE_ATTRIBUTE = 8"},
    {"XML_ERROR_JUNK_AFTER_DOC_ELEMENT = 9"},
    {"XML_ERROR_PARAM_ENTITY_REF = 10"},
    {"XML_ERROR_UNDEFINED_ENTITY = 11"},
    {"XML_ERROR_RECURSIVE_ENTITY_REF = 12"},
    {"XML_ERROR_ASYNC_ENTITY = 13"},
    {"XML_ERROR_BAD_CHAR_REF = 14"},
    {"XML_ERROR_BINARY_ENTITY_REF = 15"},
    {"XML_ERROR_ATTRIBUTE_EXTERNAL_ENTITY_REF = 16"},
    {"XML_ERROR_MISPLACED_XML_PI = 17"},
    {"XML_ERROR_UNKNOWN_ENCODING = 18"},
    {"XML_ERROR_INCORRECT_ENCODING = 19"},
    {"XML_ERROR_UNCLOSED_CDATA_SECTION = 20"},
    {"XML_ERROR_EXTERNAL_ENTITY_HANDLING = 21"},
    {"XML_ERROR_NOT_STANDALONE = 22"},
    {"XML_ERROR_UNEXPECTED_STATE = 23"},
    {"XML_ERROR_ENTITY_DECLARED_IN_PE = 24"},
    {"XML_ERROR_FEATURE_REQUIRES_XML_DTD = 25"},
    {"XML_ERROR_CANT_CHANGE_FEATURE_ONCE_PARSING = 26"},
};

PropertyDefinition exceptionProperties[] = {
    ReadOnly("CurrentLineNumber", "Integer", PROPERTY_FLAGS_4, XmlReaderException_GetCurrentLineNumber),
    ReadOnly("CurrentColumnNumber", "Integer", PROPERTY_FLAGS_4, XmlReaderException_GetCurrentColumnNumber),
    ReadOnly("CurrentByteIndex", "Integer", PROPERTY_FLAGS_4, XmlReaderException_GetCurrentByteIndex),
    ReadOnly("CurrentByteCount", "Integer", PROPERTY_FLAGS_4, XmlReaderException_GetCurrentByteCount),
};

} // namespace

EventDefinition xmlReaderEvents[] = {
    {"StartDocument()"},
    {"EndDocument()"},
    {"StartPrefixMapping(prefix as String, uri as String)"},
    {"EndPrefixMapping(prefix as String)"},
    {"StartElement(name as String, attributeList as XmlAttributeList)"},
    {"EndElement(name as String)"},
    {"Characters(s as String)"},
    {"ProcessingInstruction(target as String, data as String)"},
    {"Comment(data as String)"},
    {"StartCDATA()"},
    {"EndCDATA()"},
    {"StartDoctypeDecl(doctypeName as String, systemId as String, publicId as String, "
     "has_internal_subset as Boolean)"},
    {"EndDoctypeDecl()"},
    {"EntityDecl(entityName as String, is_parameter_entity as Boolean, value as String, base as String, "
     "systemId as String, publicId as String, notationName as String)"},
    {"NotationDecl(notationName as String, base as String, systemId as String, publicId as String)"},
    {"ElementDecl(name as String, content as XmlContentModel)"},
    {"AttlistDecl(elname as String, attname as String, att_type as String, dflt as String, isrequired as Boolean)"},
    {"XmlDecl(version as String, xmlEncoding as String, standalone as Boolean)"},
    {"NotStandalone() as Boolean"},
    {"ExternalEntityRef(context as String, base as String, systemId as String, publicId as String) as Boolean"},
    {"SkippedEntity(entityName as String, is_parameter_entity as Boolean)"},
    {"Default(s as String)"},
};

ClassDefinition xmlReaderClass = {
    .name = "XmlReader",
    .dataSize = sizeof(XmlReaderData),
    .constructor = XmlReader_Initialize,
    .destructor = XmlReader_Finalize,
    .properties = readerProperties,
    .propertyCount = Count(readerProperties),
    .methods = readerMethods,
    .methodCount = Count(readerMethods),
    .events = xmlReaderEvents,
    .eventCount = Count(xmlReaderEvents),
    .constants = readerConstants,
    .constantCount = Count(readerConstants),
    .flags = CLASS_FLAG,
};

ClassDefinition xmlReaderExceptionClass = {
    .name = "XmlReaderException",
    .superclass = "RuntimeException",
    .dataSize = sizeof(XmlReaderExceptionData),
    .properties = exceptionProperties,
    .propertyCount = Count(exceptionProperties),
};

} // namespace kova
