// Making, searching and keeping the indexes of siblings.
#include "sablotron/dom/sibling_index.h"

#include <algorithm>
#include <new>
#include <utility>

namespace sablot {

// Attributes are siblings like others.
static_assert(offsetof(xmlAttr, next) == offsetof(xmlNode, next) && offsetof(xmlAttr, prev) == offsetof(xmlNode, prev));

SiblingIndex::SiblingIndex(xmlNode* first) {
    Block nodes;
    for (xmlNode* node = first; node != nullptr; node = node->next) {
        nodes.push_back(node);
        if (nodes.size() < BLOCK / 2 && node->next != nullptr) continue;
        AddBlock(blocks_.size(), nodes.data(), nodes.data() + nodes.size());
        count_ += nodes.size();
        nodes.clear();
    }
}

xmlNode* SiblingIndex::At(size_t index) {
    // From the nearest of the beginning, the end and the last place.
    size_t block = last_.block;
    size_t start = lastStart_;
    if (index < start / 2) {
        block = start = 0;
    } else if (index > (start + count_) / 2) {
        block = blocks_.size() - 1;
        start = count_ - blocks_.back().size();
    }
    while (index < start) start -= blocks_[--block].size();
    while (index - start >= blocks_[block].size()) start += blocks_[block++].size();
    last_ = {block, index - start};
    lastStart_ = start;
    return blocks_[block][last_.offset];
}

void SiblingIndex::Insert(xmlNode* node, const xmlNode* next) {
    ++count_;
    if (blocks_.empty()) {
        AddBlock(0, &node, &node + 1);
        return;
    }
    const Place place = next != nullptr ? Find(next) : Place{blocks_.size() - 1, blocks_.back().size()};
    Block& block = blocks_[place.block];
    block.insert(block.begin() + static_cast<ptrdiff_t>(place.offset), node);
    if (!blockOf_.empty()) blockOf_[node] = block.data();
    if (place.block < last_.block) ++lastStart_;
    if (block.size() < BLOCK) return;
    AddBlock(place.block + 1, block.data() + BLOCK / 2, block.data() + BLOCK);
    blocks_[place.block].resize(BLOCK / 2);
    last_ = {0, 0};
    lastStart_ = 0;
}

void SiblingIndex::Erase(const xmlNode* node) {
    const Place place = Find(node);
    Block& block = blocks_[place.block];
    block.erase(block.begin() + static_cast<ptrdiff_t>(place.offset));
    blockOf_.erase(node);
    --count_;
    if (place.block < last_.block) --lastStart_;
    if (!block.empty()) return;
    blocks_.erase(blocks_.begin() + static_cast<ptrdiff_t>(place.block));
    last_ = {0, 0};
    lastStart_ = 0;
}

void SiblingIndex::AddBlock(size_t position, xmlNode* const* begin, xmlNode* const* end) {
    Block block;
    block.reserve(BLOCK);
    block.assign(begin, end);
    if (!blockOf_.empty()) SetBlockOfNodes(block);
    blocks_.insert(blocks_.begin() + static_cast<ptrdiff_t>(position), std::move(block));
}

SiblingIndex::Place SiblingIndex::Find(const xmlNode* node) {
    if (last_.block < blocks_.size() && last_.offset < blocks_[last_.block].size()
        && blocks_[last_.block][last_.offset] == node)
        return last_;
    if (node == blocks_.front().front()) return {0, 0};
    if (node == Last()) return {blocks_.size() - 1, blocks_.back().size() - 1};
    if (blockOf_.empty()) std::for_each(blocks_.begin(), blocks_.end(), [this](Block& each) { SetBlockOfNodes(each); });
    xmlNode** nodes = blockOf_.at(node);
    const auto block =
        std::find_if(blocks_.begin(), blocks_.end(), [nodes](const Block& each) { return each.data() == nodes; });
    return {static_cast<size_t>(block - blocks_.begin()),
            static_cast<size_t>(std::find(block->begin(), block->end(), node) - block->begin())};
}

void SiblingIndex::SetBlockOfNodes(Block& block) {
    for (const xmlNode* node : block) blockOf_[node] = block.data();
}

size_t SiblingIndexes::Count(const xmlNode* owner, xmlNode* first) {
    const SiblingIndex* index = Find(owner);
    size_t count = 0;
    for (const xmlNode* node = first; node != nullptr && index == nullptr; node = node->next)
        if (++count == SHORT_LIST + 1) index = Make(owner, first);
    return index != nullptr ? index->Count() : count;
}

xmlNode* SiblingIndexes::At(const xmlNode* owner, xmlNode* first, size_t index) {
    SiblingIndex* list = Find(owner);
    xmlNode* node = first;
    for (size_t i = 0; node != nullptr && list == nullptr; ++i, node = node->next) {
        if (i == index) return node;
        if (i == SHORT_LIST) list = Make(owner, first);
    }
    return list != nullptr && index < list->Count() ? list->At(index) : nullptr;
}

xmlNode* SiblingIndexes::Last(const xmlNode* owner, xmlNode* first) {
    const SiblingIndex* list = Find(owner);
    xmlNode* last = first;
    for (size_t i = 0; list == nullptr && last != nullptr && last->next != nullptr; ++i, last = last->next)
        if (i == SHORT_LIST) list = Make(owner, first);
    if (list == nullptr) return last;
    return list->Count() != 0 ? list->Last() : nullptr;
}

void SiblingIndexes::Inserting(const xmlNode* owner, xmlNode* node, const xmlNode* next) noexcept {
    SiblingIndex* list = Find(owner);
    if (list == nullptr) return;
    try {
        list->Insert(node, next);
    } catch (const std::bad_alloc&) {
        Forget(owner);
    }
}

void SiblingIndexes::Removing(const xmlNode* owner, const xmlNode* node) noexcept {
    SiblingIndex* list = Find(owner);
    if (list == nullptr) return;
    try {
        list->Erase(node);
    } catch (const std::bad_alloc&) {
        Forget(owner);
    }
}

SiblingIndex* SiblingIndexes::Find(const xmlNode* owner) {
    for (Entry& entry : entries_)
        if (entry.owner == owner) return &*entry.index;
    return nullptr;
}

SiblingIndex* SiblingIndexes::Make(const xmlNode* owner, xmlNode* first) noexcept {
    Entry& entry = entries_[next_++ % entries_.size()];
    entry = {};
    try {
        entry.index.emplace(first);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    entry.owner = owner;
    return &*entry.index;
}

void SiblingIndexes::Forget(const xmlNode* owner) noexcept {
    for (Entry& entry : entries_)
        if (entry.owner == owner) entry = {};
}

} // namespace sablot
