// Making and reading attribute lists.
#include "reader/attribute_list.h"

#include "glue/strings.h"
#include "reader/members.h"

#include <cstring>

namespace kova {

namespace {

XmlAttributeListData& Data(KOVAObject self) { return *InstanceData<XmlAttributeListData>(self, xmlAttributeListClass); }

// The pair at `index`, or null: below 0, at Count or beyond, and past the true end where the program raised Count.
const char* const* PairAt(const XmlAttributeListData& list, KOVAInteger index) {
    if ((list.attributes == nullptr) || index < 0 || index >= list.count) return nullptr;
    const char* const* pair = list.attributes;
    for (KOVAInteger i = 0; i < index && (*pair != nullptr); ++i) pair += 2;
    return *pair != nullptr ? pair : nullptr;
}

} // namespace

void AttributeListView::Show(const char* const* attributes) {
    object_ = OwnedObject(PluginNewInstance(xmlAttributeListClass.name));
    if (object_.Get() == nullptr) return;
    int32_t entries = 0;
    while ((attributes != nullptr) && (attributes[entries] != nullptr)) ++entries;
    Data(object_.Get()) = {attributes, entries / 2};
}

AttributeListView::~AttributeListView() {
    if (object_.Get() != nullptr) Data(object_.Get()).attributes = nullptr;
}

KOVAString XmlAttributeList_Key(KOVAObject self, KOVAInteger index) {
    const char* const* pair = PairAt(Data(self), index);
    return pair != nullptr ? BuildUTF8String(pair[0]) : nullptr;
}

KOVAString XmlAttributeList_Value(KOVAObject self, KOVAInteger index) {
    const char* const* pair = PairAt(Data(self), index);
    return pair != nullptr ? BuildUTF8String(pair[1]) : nullptr;
}

KOVAString XmlAttributeList_ValueOf(KOVAObject self, KOVAString key) {
    const XmlAttributeListData& list = Data(self);
    const char* name = CStringOrEmpty(key);
    const char* const* pair = list.attributes;
    for (KOVAInteger i = 0; (pair != nullptr) && i < list.count && (*pair != nullptr); ++i, pair += 2)
        if (std::strcmp(*pair, name) == 0 && (pair[1] != nullptr)) return BuildUTF8String(pair[1]);
    return nullptr;
}

} // namespace kova
