// XmlAttributeList and XmlContentModel. Declarations are part of the interface and stand here letter by letter.
#include "reader/attribute_list.h"
#include "reader/classes.h"
#include "reader/content_model.h"
#include "reader/members.h"
#include "registration/tables.h"

namespace kova {

namespace {

PropertyDefinition attributeListProperties[] = {
    DirectReadWrite("Count", "Integer", PROPERTY_FLAGS_4, offsetof(XmlAttributeListData, count)),
};

MethodDefinition attributeListMethods[] = {
    Method("Key(index as Integer) as String", XmlAttributeList_Key),
    Method("Value(index as Integer) as String", XmlAttributeList_Value),
    Method("Value(key as String) as String", XmlAttributeList_ValueOf),
};

PropertyDefinition contentModelProperties[] = {
    ReadOnly("Type", "Integer", PROPERTY_FLAGS_6, XmlContentModel_GetType),
    ReadOnly("Quant", "Integer", PROPERTY_FLAGS_6, XmlContentModel_GetQuant),
    ReadOnly("Name", "String", PROPERTY_FLAGS_6, XmlContentModel_GetName),
    ReadOnly("NumChildren", "Integer", PROPERTY_FLAGS_6, XmlContentModel_GetNumChildren),
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
    .dataSize = sizeof(XmlAttributeListData),
    .properties = attributeListProperties,
    .propertyCount = Count(attributeListProperties),
    .methods = attributeListMethods,
    .methodCount = Count(attributeListMethods),
    .flags = CLASS_FLAG,
};

ClassDefinition xmlContentModelClass = {
    .name = "XmlContentModel",
    .dataSize = sizeof(XmlContentModelData),
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
