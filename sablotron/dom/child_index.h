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
    // The parent's list has changed in another way.
    void Forget(const xmlNode* parent);

private:
    // Shorter lists are walked.
    static constexpr size_t SHORT_LIST = 32;
    struct Entry {
        const xmlNode* parent = nullptr;
        std::vector<xmlNode*> children;
    };

    Entry* Find(const xmlNode* parent);
    Entry& Make(const xmlNode* parent);

    // Nested loops over long lists need one entry each.
    std::array<Entry, 8> entries_;
    size_t next_ = 0;
};

} // namespace sablot
