// Siblings - the children of one node, or the attributes of one element - by index, for long lists that programs go
// through and edit in any mixture.
#pragma once

#include <libxml/tree.h>

#include <array>
#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

namespace sablot {

// The index of one list: its nodes in order, in blocks of bounded length. Access and edits at the place of the last one
// or at the ends take constant time, elsewhere they look for their block.
class SiblingIndex {
public:
    explicit SiblingIndex(xmlNode* first);

    size_t Count() const { return count_; }
    xmlNode* Last() const { return blocks_.back().back(); }
    // The index must be inside the list.
    xmlNode* At(size_t index);
    // A node is about to be linked before `next` (at the end when null), or to be taken out.
    void Insert(xmlNode* node, const xmlNode* next);
    void Erase(const xmlNode* node);

private:
    static constexpr size_t BLOCK = 512; // the greatest length; it is half of that when it is made
    using Block = std::vector<xmlNode*>; // its memory stays where it is
    struct Place {
        size_t block;
        size_t offset;
    };

    void AddBlock(size_t position, xmlNode* const* begin, xmlNode* const* end);
    Place Find(const xmlNode* node);
    void SetBlockOfNodes(Block& block);

    std::vector<Block> blocks_;
    std::unordered_map<const xmlNode*, xmlNode**> blockOf_; // the memory of each node's block; empty until it is needed
    size_t count_ = 0;
    // What was asked for last: edits are mostly made there.
    Place last_ = {0, 0};
    size_t lastStart_ = 0; // the index of the first node of that block
};

// The indexes of the lists that were asked for latest; short lists are walked, and all when memory is short. A list is
// named by the node that it belongs to.
class SiblingIndexes {
public:
    // `first` begins the list.
    size_t Count(const xmlNode* owner, xmlNode* first);
    // Null outside the list.
    xmlNode* At(const xmlNode* owner, xmlNode* first, size_t index);
    // Null in an empty list.
    xmlNode* Last(const xmlNode* owner, xmlNode* first);
    void Inserting(const xmlNode* owner, xmlNode* node, const xmlNode* next) noexcept;
    void Removing(const xmlNode* owner, const xmlNode* node) noexcept;

private:
    static constexpr size_t SHORT_LIST = 32;
    struct Entry {
        const xmlNode* owner = nullptr;
        std::optional<SiblingIndex> index;
    };

    SiblingIndex* Find(const xmlNode* owner);
    // Null when memory is short.
    SiblingIndex* Make(const xmlNode* owner, xmlNode* first) noexcept;
    void Forget(const xmlNode* owner) noexcept;

    // Nested loops over long lists need one entry each.
    std::array<Entry, 8> entries_;
    size_t next_ = 0;
};

} // namespace sablot
