// A bound on recursion inside libxslt: it stays within the thread's stack.
#pragma once

#include "sablotron/tree/stack.h"
#include "sablotron/tree/tree.h"

#include <algorithm>

namespace sablot {

// What the limits of a run depend on.
struct TreeSize {
    size_t depth = 0; // of elements, text and the like around each other; the document does not count
    uint64_t nodes = 0;
};

// Visits all nodes but the document, which has other fields than they, and measures the tree on the way: a walk of its
// own for each purpose took a twentieth of a transformation. Long texts count as several nodes.
template <typename Visit>
TreeSize MeasureTree(xmlDoc* tree, Visit visit) {
    constexpr size_t BYTES_LIKE_A_NODE = 100;
    TreeSize size;
    size_t depth = 0;
    WalkTree(
        AsNode(tree),
        [&](xmlNode* node) {
            size.depth = std::max(size.depth, depth++);
            ++size.nodes;
            if (IsDocument(node)) return;
            visit(node);
            if (!IsElement(node)) size.nodes += View(node->content).size() / BYTES_LIKE_A_NODE;
        },
        [&](const xmlNode*) { --depth; });
    return size;
}

// The budget of one run. libxslt counts the depth of templates, not of the stack: its built-in rules and its tree
// copies recurse once per level of the tree that they walk.
class StackGuard {
public:
    // Whether what libxslt does before the next check fits; with `walks` a walk of a tree as deep as any that the run
    // has registered.
    bool HasRoom(bool walks) const {
        return RemainingStack(stackEnd_) > RESERVE + (walks ? deepest_ * LEVEL_BYTES : 0);
    }
    // Whether the stack has grown much since this was last true.
    bool HasGrown() {
        const size_t remaining = RemainingStack(stackEnd_);
        if (remaining + STEP > leastRemaining_) return false;
        leastRemaining_ = remaining;
        return true;
    }
    // Registers the depth of a tree that may be walked.
    void Register(size_t depth) { deepest_ = std::max(deepest_, depth); }

private:
    // About twice what was measured in 32-bit code: 128 bytes for a level of the built-in rules, 170 for one of the
    // 5000 levels that an expression can have.
    static constexpr size_t LEVEL_BYTES = 256;
    static constexpr size_t STEP = size_t{1} << 16;
    static constexpr size_t RESERVE = size_t{3} << 19;

    const uintptr_t stackEnd_ = StackEnd();
    size_t deepest_ = 0;
    size_t leastRemaining_ = RemainingStack(stackEnd_);
};

} // namespace sablot
