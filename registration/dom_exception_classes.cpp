// XmlException and XmlDomException. Declarations are part of the interface and stand here letter by letter.
#include "dom/classes.h"
#include "dom/exceptions.h"
#include "dom/members.h"
#include "registration/tables.h"

namespace kova {

namespace {

PropertyDefinition exceptionProperties[] = {
    ReadOnly("Line", "String", PROPERTY_FLAGS_4, XmlException_GetLine),
    ReadOnly("Node", "String", PROPERTY_FLAGS_4, XmlException_GetNode),
    ReadOnly("Token", "String", PROPERTY_FLAGS_4, XmlException_GetToken),
};

ConstantDefinition domExceptionConstants[] = {
    {"OK = 0"},
    {"INDEX_SIZE_ERR = 1"},
    {"DOMSTRING_SIZE_ERR = 2"},
    {"HIERARCHY_REQUEST_ERR = 3"},
    {"WRONG_DOCUMENT_ERR = 4"},
    {"INVALID_CHARACTER_ERR = 5"},
    {"NO_DATA_ALLOWED_ERR = 6"},
    {"NO_MODIFICATION_ALLOWED_ERR = 7"},
    {"NOT_FOUND_ERR = 8"},
    {"NOT_SUPPORTED_ERR = 9"},
    {"INUSE_ATTRIBUTE_ERR = 10"},
    {"INVALID_STATE_ERR = 11"},
    {"SYNTAX_ERR = 12"},
    {"INVALID_MODIFICATION_ERR = 13"},
    {"NAMESPACE_ERR = 14"},
    {"INVALID_ACCESS_ERR = 15"},
    {"INVALID_NODE_TYPE = 16"},
    {"QUERY_PARSE_ERR = 17"},
    {"QUERY_EXECUTION_ERR = 18"},
    {"NOT_OK = 19"},
};

} // namespace

ClassDefinition xmlExceptionClass = {
    .name = "XmlException",
    .superclass = "RuntimeException",
    .dataSize = sizeof(XmlExceptionData),
    .properties = exceptionProperties,
    .propertyCount = Count(exceptionProperties),
};

ClassDefinition xmlDomExceptionClass = {
    .name = "XmlDomException",
    .superclass = "RuntimeException",
    .dataSize = sizeof(XmlDomExceptionData),
    .constants = domExceptionConstants,
    .constantCount = Count(domExceptionConstants),
};

} // namespace kova
