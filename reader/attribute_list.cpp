// Making and reading attribute lists.
#include "reader/attribute_list.h"

#include "glue/strings.h"
#include "reader/members.h"

#include <algorithm>
#include <new>

namespace kova {

namespace {

// Looking names up one by one in a list of n costs this many times n before an index is made.
constexpr size_t SCANS_BEFORE_INDEX = 16;

XmlAttributeListData& Data(KOVAObject self) { return *InstanceData<XmlAttributeListData>(self, xmlAttributeListClass); }

// The name (0) or the value (1) of the pair at `index`; nil below 0, at Count and beyond.
KOVAString EntryOf(KOVAObject self, KOVAInteger index, size_t nameOrValue) {
    if (index < 0 || index >= Data(self).count) return nullptr;
    const AttributeListView* view = AttributeListView::Of(self);
    return view != nullptr ? BuildUTF8String(view->Entry(static_cast<size_t>(index) * 2 + nameOrValue)) : nullptr;
}

} // namespace

AttributeListView* AttributeListView::innermost_ = nullptr;

void AttributeListView::Show(const char* const* attributes) {
    attributes_ = attributes;
    while (attributes != nullptr && attributes[length_] != nullptr) ++length_;
    object_ = OwnedObject(PluginNewInstance(xmlAttributeListClass.name));
    if (object_.Get() != nullptr) Data(object_.Get()) = {attributes, static_cast<int32_t>(length_ / 2)};
}

AttributeListView* AttributeListView::Of(KOVAObject list) {
    AttributeListView* view = innermost_;
    while (view != nullptr && view->Get() != list) view = view->outer_;
    return view;
}

const char* AttributeListView::ValueOf(std::string_view name, size_t pairs) {
    pairs = std::min(pairs, length_ / 2);
    if (compared_ > SCANS_BEFORE_INDEX * length_ && !index_) BuildIndex();
    if (index_) {
        const auto found = index_->find(name);
        return found != index_->end() && found->second < pairs ? attributes_[found->second * 2 + 1] : nullptr;
    }
    for (size_t pair = 0; pair < pairs; ++pair) {
        if (name == attributes_[pair * 2]) return attributes_[pair * 2 + 1];
        ++compared_;
    }
    return nullptr;
}

void AttributeListView::BuildIndex() {
    try {
        index_.emplace();
        for (size_t pair = 0; pair < length_ / 2; ++pair) index_->try_emplace(attributes_[pair * 2], pair);
    } catch (const std::bad_alloc&) {
        index_.reset(); // looking through the list still works
    }
}

KOVAString XmlAttributeList_Key(KOVAObject self, KOVAInteger index) { return EntryOf(self, index, 0); }

KOVAString XmlAttributeList_Value(KOVAObject self, KOVAInteger index) { return EntryOf(self, index, 1); }

KOVAString XmlAttributeList_ValueOf(KOVAObject self, KOVAString key) {
    AttributeListView* view = AttributeListView::Of(self);
    if (view == nullptr || Data(self).count < 0) return nullptr;
    return BuildUTF8String(view->ValueOf(CStringOrEmpty(key), static_cast<size_t>(Data(self).count)));
}

} // namespace kova
