// XmlAttributeList: the attributes of one start tag, shown to the program without a copy.
#pragma once

#include "glue/objects.h"
#include "reader/classes.h"

#include <optional>
#include <string_view>
#include <unordered_map>

namespace kova {

struct XmlAttributeListData {
    // Name, value, name, value … and a null entry; not owned, and not to be read once the event is over.
    const char* const* attributes;
    int32_t count; // pairs; the program may write it
};
static_assert(sizeof(XmlAttributeListData) == 8 && offsetof(XmlAttributeListData, count) == 4);

// A list over a parser's or processor's attribute array for the time of one event. The object alone tells neither how
// long the array is nor whether the event is over, so the views that are alive know it: a list that the program has
// kept still tells Count, but shows no keys and values any more.
class AttributeListView {
public:
    AttributeListView() : outer_(innermost_) { innermost_ = this; }
    ~AttributeListView() { innermost_ = outer_; }
    AttributeListView(const AttributeListView&) = delete;
    AttributeListView& operator=(const AttributeListView&) = delete;

    // Makes the object; called at most once.
    void Show(const char* const* attributes);
    // Nil before Show, and when the host makes no instance.
    KOVAObject Get() const { return object_.Get(); }

    // The view that shows a list; null when its event is over, and for a list that the program made itself.
    static AttributeListView* Of(KOVAObject list);

    // An entry of the array, names at even places, values at odd ones; null beyond its end.
    const char* Entry(size_t place) const { return place < length_ ? attributes_[place] : nullptr; }
    // The value of the first of `pairs` pairs that has the name; null if none has.
    const char* ValueOf(std::string_view name, size_t pairs);

private:
    void BuildIndex();

    OwnedObject object_;
    const char* const* attributes_ = nullptr;
    size_t length_ = 0;
    size_t compared_ = 0; // names, by ValueOf so far
    // The pair of each name, once many were compared.
    std::optional<std::unordered_map<std::string_view, size_t>> index_;
    AttributeListView* outer_;

    static AttributeListView* innermost_;
};

} // namespace kova
