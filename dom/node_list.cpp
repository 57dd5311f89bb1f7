// The members of `XmlNodeList`.
#include "dom/node_list.h"

#include "dom/classes.h"
#include "dom/members.h"
#include "dom/node.h"
#include "glue/objects.h"
#include "glue/strings.h"

namespace kova {

namespace {

NodeListData& ListOf(KOVAObject object) { return *InstanceData<NodeListData>(object, xmlNodeListClass); }

} // namespace

KOVAObject WrapNodeList(KOVAObject xml, SDOM_NodeList list) {
    if (list == nullptr) return nullptr;
    const KOVAObject object = PluginNewInstance(gXmlNodeListClass);
    if (object == nullptr) {
        SDOM_disposeNodeList(XmlOf(xml)->situation, list);
        return nullptr;
    }
    NodeListData& data = ListOf(object);
    data.xml = LockedObject(xml);
    data.list = list;
    return object;
}

void XmlNodeList_Finalize(KOVAObject self) {
    NodeListData& data = ListOf(self);
    if (data.xml == nullptr) return;
    data.lastError = SDOM_disposeNodeList(XmlOf(data.xml)->situation, data.list);
    KOVAUnlockObject(data.xml);
    data.xml = nullptr;
}

KOVAInteger XmlNodeList_GetLength(KOVAObject self, uint32_t) {
    NodeListData& data = ListOf(self);
    if (data.xml == nullptr) return 0;
    int length = 0;
    data.lastError = Checked(SDOM_getNodeListLength(XmlOf(data.xml)->situation, data.list, &length));
    return length;
}

KOVAObject XmlNodeList_Item(KOVAObject self, KOVAInteger index) {
    NodeListData& data = ListOf(self);
    if (data.xml == nullptr) return nullptr;
    SDOM_Node node = nullptr;
    data.lastError = Checked(SDOM_getNodeListItem(XmlOf(data.xml)->situation, data.list, index, &node));
    return WrapNode(data.xml, node);
}

KOVAString XmlNodeList_ToString(KOVAObject self) {
    NodeListData& data = ListOf(self);
    if (data.xml == nullptr) return nullptr;
    const XmlData& xml = *XmlOf(data.xml);
    KOVAString text = KOVABuildString("", 0);
    const int32_t length = XmlNodeList_GetLength(self, 0);
    for (int32_t index = 0; index < length; ++index) {
        const OwnedObject item(XmlNodeList_Item(self, index));
        if (item.Get() == nullptr) continue;
        const OwnedString markup(SerialiseNode(xml, LibraryNodeOf(item.Get()), data.lastError));
        text = RuntimeAddString(text, markup.Get()); // deliberate: the text joined so far is not unlocked
    }
    KOVASetStringEncoding(text, UTF8_ENCODING);
    return text;
}

KOVAString XmlNodeList_ToStringTagged(KOVAObject self, KOVAString tagName) {
    const OwnedString content(XmlNodeList_ToString(self));
    const OwnedString open(KOVABuildString("<", 1));
    const OwnedString openEnd(KOVABuildString("</", 2));
    const OwnedString close(KOVABuildString(">", 1));
    // The tag name goes in as it is.
    OwnedString text(RuntimeAddString(open.Get(), tagName));
    for (const KOVAString piece : {close.Get(), content.Get(), openEnd.Get(), tagName})
        text = OwnedString(RuntimeAddString(text.Get(), piece));
    const KOVAString result = RuntimeAddString(text.Get(), close.Get());
    KOVASetStringEncoding(result, UTF8_ENCODING);
    return result;
}

} // namespace kova
