// XmlAttributeList and XmlContentModel. Declarations are part of the interface and stand here letter by letter.
#include "reader/classes.h"
#include "reader/members.h"
#include "registration/tables.h"

namespace kova {

namespace {

PropertyDefinition attributeListProperties[] = {
    DirectReadWrite("Count", "Integer", PLAIN_PROPERTY, 4),
};

MethodDefinition attributeListMethods[] = {
    Method("Key(index as Integer) as String", XmlAttributeList_Key),
    Method("Value(index as Integer) as String", XmlAttributeList_Value),
    Method("Value(key as String) as String", XmlAttributeList_ValueOf),
};

PropertyDefinition contentModelProperties[] = {
    ReadOnly("Type", "Integer", NODE_PROPERTY, XmlContentModel_GetType),
    ReadOnly("Quant", "Integer", NODE_PROPERTY, XmlContentModel_GetQuant),
    ReadOnly("Name", "String", NODE_PROPERTY, XmlContentModel_GetName),
    ReadOnly("NumChildren", "Integer", NODE_PROPERTY, XmlContentModel_GetNumChildren),
};

MethodDefinition contentModelMethods[] = {
    Method("Child(index as Integer) as XmlContentModel", XmlContentModel_Child),
};

ConstantDefinition contentModelConstants[] = {
    {"XML_CTYPE_EMPTY = 1"},  {"XML_CTYPE_ANY = 2"},   {"XML_CTYPE_MIXED = 3"}, {"XML_CTYPE_NAME = 4"},
    {"XML_CTYPE_CHOICE = 5"}, {"XML_CTYPE_SEQ = 6"},   {"XML_CQUANT_NONE = 0"}, {"XML_CQUANT_OPT = 1"},
    {"XML_CQUANT_REP = 2"},   {"XML_CQUANT_PLUS = 3"},
};

} // namespace

ClassDefinition xmlAttributeListClass = {
    .name = "XmlAttributeList",
    .dataSize = 8,
    .properties = attributeListProperties,
    .propertyCount = Count(attributeListProperties),
    .methods = attributeListMethods,
    .methodCount = Count(attributeListMethods),
    .flags = CLASS_FLAG,
};

ClassDefinition xmlContentModelClass = {
    .name = "XmlContentModel",
    .dataSize = 24,
    .constructor = XmlContentModel_Initialize,
    .destructor = XmlContentModel_Finalize,
    .properties = contentModelProperties,
    .propertyCount = Count(contentModelProperties),
    .methods = contentModelMethods,
    .methodCount = Count(contentModelMethods),
    .constants = contentModelConstants,
    .constantCount = Count(contentModelConstants),
};

} // namespace kova
