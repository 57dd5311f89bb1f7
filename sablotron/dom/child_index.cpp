// Making and keeping the indexes.
#include "sablotron/dom/child_index.h"

namespace sablot {

size_t ChildIndex::Count(const xmlNode* parent) {
    if (const Entry* entry = Find(parent)) return entry->children.size();
    size_t count = 0;
    for (const xmlNode* child = parent->children; child != nullptr; child = child->next)
        if (++count > SHORT_LIST) return Make(parent).children.size();
    return count;
}

xmlNode* ChildIndex::At(const xmlNode* parent, size_t index) {
    Entry* entry = Find(parent);
    if (entry == nullptr) {
        xmlNode* child = parent->children;
        for (size_t i = 0; (child != nullptr) && i < SHORT_LIST; ++i, child = child->next)
            if (i == index) return child;
        if (child == nullptr) return nullptr;
        entry = &Make(parent);
    }
    return index < entry->children.size() ? entry->children[index] : nullptr;
}

void ChildIndex::Appended(const xmlNode* parent, xmlNode* child) {
    if (Entry* entry = Find(parent)) entry->children.push_back(child);
}

void ChildIndex::Forget(const xmlNode* parent) {
    if (Entry* entry = Find(parent)) *entry = {};
}

ChildIndex::Entry* ChildIndex::Find(const xmlNode* parent) {
    for (Entry& entry : entries_)
        if (entry.parent == parent) return &entry;
    return nullptr;
}

ChildIndex::Entry& ChildIndex::Make(const xmlNode* parent) {
    Entry& entry = entries_[next_++ % entries_.size()];
    entry = {};
    for (xmlNode* child = parent->children; child != nullptr; child = child->next) entry.children.push_back(child);
    entry.parent = parent;
    return entry;
}

} // namespace sablot
