#include "sablotron/child_index.h"

namespace sablot {

std::size_t ChildIndex::Count(const xmlNode* parent) {
    if (const Entry* entry = Find(parent)) return entry->children.size();
    std::size_t count = 0;
    for (const xmlNode* child = parent->children; child; child = child->next)
        if (++count > SHORT_LIST) return Make(parent).children.size();
    return count;
}

xmlNode* ChildIndex::At(const xmlNode* parent, std::size_t index) {
    Entry* entry = Find(parent);
    if (!entry) {
        xmlNode* child = parent->children;
        for (std::size_t i = 0; child && i < SHORT_LIST; ++i, child = child->next)
            if (i == index) return child;
        if (!child) return nullptr;
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
    for (xmlNode* child = parent->children; child; child = child->next) entry.children.push_back(child);
    entry.parent = parent;
    return entry;
}

} // namespace sablot
