// XmlNodeList and XmlNamespaces. Declarations are part of the interface and stand here letter by letter, the odd
// spacing of one of them included.
#include "dom/classes.h"
#include "dom/members.h"
#include "dom/namespaces.h"
#include "dom/node_list.h"
#include "registration/tables.h"

namespace kova {

namespace {

PropertyDefinition nodeListProperties[] = {
    DirectReadOnly("LastError", "Integer", PROPERTY_FLAGS_6, offsetof(NodeListData, lastError)),
    ReadOnly("Length", "Integer", PROPERTY_FLAGS_6, XmlNodeList_GetLength),
};

MethodDefinition nodeListMethods[] = {
    Method("Item (index as Integer) as XmlNode", XmlNodeList_Item),
    Method("ToString() as String", XmlNodeList_ToString),
    Method("ToString(tagName as String) as String", XmlNodeList_ToStringTagged),
};

PropertyDefinition namespacesProperties[] = {
    DirectReadWrite("Count", "Integer", PROPERTY_FLAGS_4, offsetof(NamespacesData, count)),
};

MethodDefinition namespacesMethods[] = {
    AssignableMethod("Uri(Prefix as String) as String", XmlNamespaces_Uri, XmlNamespaces_SetUri),
    Method("Clear()", XmlNamespaces_Clear),
    Method("HasPrefix(Prefix as String) as Boolean", XmlNamespaces_HasPrefix),
};

} // namespace

ClassDefinition xmlNodeListClass = {
    .name = "XmlNodeList",
    .dataSize = sizeof(NodeListData),
    .destructor = XmlNodeList_Finalize,
    .properties = nodeListProperties,
    .propertyCount = Count(nodeListProperties),
    .methods = nodeListMethods,
    .methodCount = Count(nodeListMethods),
};

ClassDefinition xmlNamespacesClass = {
    .name = "XmlNamespaces",
    .dataSize = sizeof(NamespacesData),
    .constructor = XmlNamespaces_Initialize,
    .destructor = XmlNamespaces_Finalize,
    .properties = namespacesProperties,
    .propertyCount = Count(namespacesProperties),
    .methods = namespacesMethods,
    .methodCount = Count(namespacesMethods),
};

} // namespace kova
