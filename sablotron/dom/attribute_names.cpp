// Making and keeping the names.
#include "sablotron/dom/attribute_names.h"

#include <new>

namespace sablot {

void AttributeNames::Added(const xmlNode* element, xmlAttr* attribute) noexcept {
    for (Entry& entry : entries_) {
        if (entry.element != element) continue;
        try {
            entry.attributes.emplace(Hash(View(attribute->name)), attribute);
        } catch (const std::bad_alloc&) {
            entry = {};
        }
    }
}

void AttributeNames::Removing(const xmlNode* element, const xmlAttr* attribute) noexcept {
    for (Entry& entry : entries_) {
        if (entry.element != element) continue;
        auto [at, end] = entry.attributes.equal_range(Hash(View(attribute->name)));
        while (at != end && at->second != attribute) ++at;
        if (at != end) entry.attributes.erase(at);
    }
}

const AttributeNames::ByName& AttributeNames::Of(const xmlNode* element) {
    for (const Entry& entry : entries_)
        if (entry.element == element) return entry.attributes;
    Entry& entry = entries_[next_++ % entries_.size()];
    entry = {}; // also when memory is short for the new one
    for (xmlAttr* at = element->properties; at != nullptr; at = at->next)
        entry.attributes.emplace(Hash(View(at->name)), at);
    entry.element = element;
    return entry.attributes;
}

} // namespace sablot
