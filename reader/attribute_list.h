// XmlAttributeList: the attributes of one start tag, shown to the program without a copy.
#pragma once

#include "glue/objects.h"
#include "reader/classes.h"

namespace kova {

struct XmlAttributeListData {
    // Name, value, name, value … and a null entry; not owned, none once the event is over.
    const char* const* attributes;
    int32_t count; // pairs; the program may write it
};
static_assert(sizeof(XmlAttributeListData) == 8 && offsetof(XmlAttributeListData, count) == 4);

// A list over a parser's or processor's attribute array for the time of one event. When the event is over the program
// may have kept the object: it still tells Count, but shows no keys and values any more, as the array is gone by then.
class AttributeListView {
public:
    AttributeListView() = default;
    ~AttributeListView();
    AttributeListView(const AttributeListView&) = delete;
    AttributeListView& operator=(const AttributeListView&) = delete;

    // Makes the object; called at most once.
    void Show(const char* const* attributes);
    // Nil before Show, and when the host makes no instance.
    KOVAObject Get() const { return object_.Get(); }

private:
    OwnedObject object_;
};

} // namespace kova
