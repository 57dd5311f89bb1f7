#include "reader/attribute_list.h"

#include "glue/strings.h"
#include "reader/members.h"

#include <cstring>

namespace kova {

namespace {

XmlAttributeListData& Data(KOVAObject self) { return *InstanceData<XmlAttributeListData>(self, xmlAttributeListClass); }

// The pair at `index`, or null: below 0, at Count or beyond, and past the true end where the program raised Count.
const char* const* PairAt(const XmlAttributeListData& list, KOVAInteger index) {
    if (!list.attributes || index < 0 || index >= list.count) return nullptr;
    const char* const* pair = list.attributes;
    for (KOVAInteger i = 0; i < index && *pair; ++i) pair += 2;
    return *pair ? pair : nullptr;
}

} // namespace

void AttributeListView::Show(const char* const* attributes) {
    object_ = OwnedObject(PluginNewInstance(xmlAttributeListClass.name));
    if (!object_.Get()) return;
    std::int32_t entries = 0;
    while (attributes && attributes[entries]) ++entries;
    Data(object_.Get()) = {attributes, entries / 2};
}

AttributeListView::~AttributeListView() {
    if (object_.Get()) Data(object_.Get()).attributes = nullptr;
}

KOVAString XmlAttributeList_Key(KOVAObject self, KOVAInteger index) {
    const char* const* pair = PairAt(Data(self), index);
    return pair ? BuildUTF8String(pair[0]) : nullptr;
}

KOVAString XmlAttributeList_Value(KOVAObject self, KOVAInteger index) {
    const char* const* pair = PairAt(Data(self), index);
    return pair ? BuildUTF8String(pair[1]) : nullptr;
}

KOVAString XmlAttributeList_ValueOf(KOVAObject self, KOVAString key) {
    const XmlAttributeListData& list = Data(self);
    const char* name = CStringOrEmpty(key);
    const char* const* pair = list.attributes;
    for (KOVAInteger i = 0; pair && i < list.count && *pair; ++i, pair += 2)
        if (std::strcmp(*pair, name) == 0 && pair[1]) return BuildUTF8String(pair[1]);
    return nullptr;
}

} // namespace kova
