// Comparing nodes by document order: the walk to where their paths meet, and the index.
#include "sablotron/tree/order.h"

#include "sablotron/tree/document.h"

#include <algorithm>
#include <functional>

namespace sablot {

namespace {

constexpr size_t CHEAP_STEPS = 1 << 16;

// Where a node stands: at an element or, for attributes and declarations, on one.
struct Position {
    const xmlNode* anchor;
    enum Group { NODE, IMPLICIT_DEFAULT, DECLARATION, XML, ATTRIBUTE } group = NODE;
};

Position PositionOf(const NodeHandle* handle) {
    Document& document = *handle->document;
    const xmlNode* node = handle->node;
    if (handle->IsDetached()) return {node};
    if (IsAttribute(node)) return {node->parent, Position::ATTRIBUTE};
    if (!IsDeclaration(node)) return {node};
    if (handle->Owner() != nullptr) return {handle->Owner(), Position::DECLARATION};
    // The implicit bindings stand on the document element, or on the document while there is none.
    const xmlNode* root = document.Root() != nullptr ? document.Root() : AsNode(document.Tree());
    bool isDefault = AsDeclaration(node)->prefix == nullptr;
    return {root, isDefault ? Position::IMPLICIT_DEFAULT : Position::XML};
}

template <typename T>
int Sign(T left, T right) {
    return left < right ? -1 : left > right ? 1 : 0;
}

// Whether `node` comes before `other` in their list, which starts at `first`: declarations do not know the one before.
bool IsBefore(const xmlNs* first, const xmlNs* node, const xmlNs* other) {
    for (; first != node; first = first->next)
        if (first == other) return false;
    return true;
}

bool IsBefore(const xmlAttr* node, const xmlAttr* other) {
    const xmlAttr* previous = node->prev;
    for (const xmlAttr* next = node->next; next != other; next = next != nullptr ? next->next : nullptr) {
        if (previous == other) return false;
        if (previous != nullptr) previous = previous->prev;
    }
    return true;
}

} // namespace

int OrderIndex::Compare(const NodeHandle* left, const NodeHandle* right) {
    if (left == right) return 0;
    Document& document = *left->document;
    if (editCount_ != document.EditCount()) {
        editCount_ = document.EditCount();
        index_.clear();
        steps_ = 0;
    }
    Position from = PositionOf(left);
    Position to = PositionOf(right);
    if (from.anchor != to.anchor) return CompareNodes(document, from.anchor, to.anchor);
    if (from.group != to.group) return Sign(from.group, to.group);
    const bool before = from.group == Position::ATTRIBUTE
                            ? IsBefore(AsAttribute(left->node), AsAttribute(right->node))
                            : IsBefore(from.anchor->nsDef, AsDeclaration(left->node), AsDeclaration(right->node));
    return before ? -1 : 1;
}

int OrderIndex::CompareNodes(const Document& document, const xmlNode* left, const xmlNode* right) {
    if (index_.empty() && steps_ > std::max(CHEAP_STEPS, 4 * lastSize_)) Build(document);
    if (!index_.empty()) {
        const Entry* from = Find(left);
        const Entry* to = Find(right);
        if ((from != nullptr) && (to != nullptr)) return Sign(from->position, to->position);
        if ((from != nullptr) || (to != nullptr)) return from != nullptr ? -1 : 1; // nodes outside the tree come last
    }

    // Declarations have no parent field; one that is compared here stands alone.
    auto parentOf = [](const xmlNode* node) {
        return IsDeclaration(node) || IsDocument(node) ? nullptr : node->parent;
    };
    auto depthOf = [&](const xmlNode* node) {
        size_t depth = 0;
        while ((node = parentOf(node)) != nullptr) ++depth;
        return depth;
    };
    size_t leftDepth = depthOf(left);
    size_t rightDepth = depthOf(right);
    steps_ += leftDepth + rightDepth;
    const xmlNode* from = left;
    const xmlNode* to = right;
    for (size_t depth = leftDepth; depth > rightDepth; --depth) from = from->parent;
    for (size_t depth = rightDepth; depth > leftDepth; --depth) to = to->parent;
    if (from == to) return Sign(leftDepth, rightDepth); // one contains the other
    while (parentOf(from) != parentOf(to)) {
        from = from->parent;
        to = to->parent;
    }
    if (parentOf(from) == nullptr) {
        const xmlNode* tree = AsNode(document.Tree());
        if (from == tree || to == tree) return from == tree ? -1 : 1;
        return std::less<>()(from, to) ? -1 : 1;
    }
    for (const xmlNode *next = from->next, *previous = from->prev; (next != nullptr) || (previous != nullptr);) {
        ++steps_;
        if (next == to) return -1;
        if (previous == to) return 1;
        if (next != nullptr) next = next->next;
        if (previous != nullptr) previous = previous->prev;
    }
    return 0;
}

void OrderIndex::Build(const Document& document) {
    uint32_t position = 0;
    for (const xmlNode* node : Walk(AsNode(document.Tree()))) index_.push_back({node, position++});
    lastSize_ = index_.size();
    std::sort(index_.begin(), index_.end(),
              [](const Entry& left, const Entry& right) { return std::less<>()(left.node, right.node); });
}

const OrderIndex::Entry* OrderIndex::Find(const xmlNode* node) const {
    auto found = std::lower_bound(index_.begin(), index_.end(), node, [](const Entry& entry, const xmlNode* wanted) {
        return std::less<>()(entry.node, wanted);
    });
    return found != index_.end() && found->node == node ? &*found : nullptr;
}

} // namespace sablot
