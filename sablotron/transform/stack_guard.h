// A bound on recursion inside libxslt: it stays within the thread's stack.
#pragma once

#include "sablotron/tree/stack.h"

#include <libxml/tree.h>

namespace sablot {

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
    // Registers a tree that may be walked.
    void Register(const xmlDoc* tree);

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
