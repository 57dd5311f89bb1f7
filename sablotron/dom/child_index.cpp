// Making and keeping the indexes.
#include "sablotron/dom/child_index.h"

#include <algorithm>

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
    if (index >= entry->children.size()) return nullptr;
    entry->last = index;
    return entry->children[index];
}

void ChildIndex::Appended(const xmlNode* parent, xmlNode* child) {
    if (Entry* entry = Find(parent)) entry->children.push_back(child);
}

void ChildIndex::Inserted(const xmlNode* parent, xmlNode* child, const xmlNode* next) {
    Entry* entry = Find(parent);
    if (entry == nullptr) return;
    const auto place = Place(*entry, next);
    if (place != entry->children.end()) entry->children.insert(place, child);
}

void ChildIndex::Removing(const xmlNode* parent, const xmlNode* child) {
    Entry* entry = Find(parent);
    if (entry == nullptr) return;
    const auto place = Place(*entry, child);
    if (place != entry->children.end()) entry->children.erase(place);
}

std::vector<xmlNode*>::iterator ChildIndex::Place(Entry& entry, const xmlNode* child) {
    std::vector<xmlNode*>& children = entry.children;
    if (!children.empty()) {
        if (children.back() == child) return children.end() - 1;
        if (children.front() == child) return children.begin();
        const auto last = children.begin() + static_cast<ptrdiff_t>(std::min(entry.last, children.size() - 1));
        if (*last == child) return last;
    }
    entry = {};
    return entry.children.end();
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
