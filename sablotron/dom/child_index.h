// Children by index, in constant time for the long child lists that a program is walking through.
#pragma once

#include <libxml/tree.h>

#include <array>
#include <cstddef>
#include <vector>

namespace sablot {

class ChildIndex {
public:
    size_t Count(const xmlNode* parent);
    // Null outside the list.
    xmlNode* At(const xmlNode* parent, size_t index);
    // A child was added at the end of the parent's list.
    void Appended(const xmlNode* parent, xmlNode* child);
    // A child was put before `next`, or is about to be taken out.
    void Inserted(const xmlNode* parent, xmlNode* child, const xmlNode* next);
    void Removing(const xmlNode* parent, const xmlNode* child);

private:
    // Shorter lists are walked.
    static constexpr size_t SHORT_LIST = 32;
    struct Entry {
        const xmlNode* parent = nullptr;
        std::vector<xmlNode*> children;
        size_t last = 0; // the index that was asked for last: edits are mostly made there
    };

    Entry* Find(const xmlNode* parent);
    Entry& Make(const xmlNode* parent);
    // The index of the child, when it is at an end or was asked for last; otherwise forgets the list.
    std::vector<xmlNode*>::iterator Place(Entry& entry, const xmlNode* child);

    // Nested loops over long lists need one entry each.
    std::array<Entry, 8> entries_;
    size_t next_ = 0;
};

} // namespace sablot
