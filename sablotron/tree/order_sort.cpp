// Sorting nodes into document order where nothing is indexed.
#include "sablotron/tree/order_sort.h"

#include <algorithm>
#include <unordered_set>

namespace sablot {

namespace {

constexpr size_t FEW_NODES = 16;

size_t DepthOf(const xmlNode* node) {
    size_t depth = 0;
    while ((node = node->parent) != nullptr) ++depth;
    return depth;
}

// Whether a node comes before its sibling, looked for in both directions at once.
bool IsBefore(const xmlNode* node, const xmlNode* sibling) {
    for (const xmlNode *next = node->next, *previous = node->prev; next != nullptr || previous != nullptr;) {
        if (next == sibling) return true;
        if (previous == sibling) return false;
        if (next != nullptr) next = next->next;
        if (previous != nullptr) previous = previous->prev;
    }
    return false;
}

} // namespace

int CompareInTree(const xmlNode* left, const xmlNode* right) {
    if (left == right) return 0;
    const xmlNode* from = IsAttribute(left) ? left->parent : left;
    const xmlNode* to = IsAttribute(right) ? right->parent : right;
    if (from == to) {
        if (from == left) return -1;
        if (to == right) return 1;
        return IsBefore(left, right) ? -1 : 1;
    }
    const size_t fromDepth = DepthOf(from);
    const size_t toDepth = DepthOf(to);
    for (size_t depth = fromDepth; depth > toDepth; --depth) from = from->parent;
    for (size_t depth = toDepth; depth > fromDepth; --depth) to = to->parent;
    if (from == to) return fromDepth < toDepth ? -1 : 1; // one contains the other
    while (from->parent != to->parent) {
        from = from->parent;
        to = to->parent;
    }
    return IsBefore(from, to) ? -1 : 1;
}

void SortInTree(std::vector<xmlNode*>& nodes, xmlNode* scope) {
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    if (nodes.size() < 2) return;
    if (nodes.size() <= FEW_NODES) {
        std::sort(nodes.begin(), nodes.end(),
                  [](const xmlNode* left, const xmlNode* right) { return CompareInTree(left, right) < 0; });
        nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
        return;
    }
    std::unordered_set<const xmlNode*> wanted(nodes.begin(), nodes.end());
    const bool hasAttributes =
        std::any_of(nodes.begin(), nodes.end(), [](const xmlNode* node) { return IsAttribute(node); });
    nodes.clear();
    for (xmlNode* node : Walk(scope)) {
        if (wanted.contains(node)) nodes.push_back(node);
        if (hasAttributes && IsElement(node))
            for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
                if (wanted.contains(AsNode(attribute))) nodes.push_back(AsNode(attribute));
        if (nodes.size() == wanted.size()) break;
    }
}

} // namespace sablot
