// Bounds: recursion inside libxslt stays within the thread's stack, expressions end.
#pragma once

#include <libxslt/xsltInternals.h>

#include <cstddef>
#include <cstdint>

namespace sablot {

// libxml2's steps for one expression: some seconds. Tests, which have less time, set it.
inline unsigned long maxXPathOperations = 400'000'000;

// Where the thread's stack ends.
uintptr_t StackEnd();

// Bytes between here and there.
inline size_t RemainingStack(uintptr_t stackEnd = StackEnd()) {
    const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    return here > stackEnd ? here - stackEnd : 0;
}

// The greatest number of elements around a node of the tree, itself included.
size_t DepthOf(const xmlDoc* tree);

// The budget of one run. libxslt counts the depth of templates, not of the stack: its built-in rules and its tree
// copies recurse once per level of the tree that they walk.
class StackGuard {
public:
    // Whether what libxslt does before the next check fits; with `walks` a walk of a tree as deep as any that the run
    // knows.
    bool HasRoom(bool walks) const {
        return RemainingStack(stackEnd_) > RESERVE + (walks ? deepest_ * LEVEL_BYTES : 0);
    }
    // Makes a tree known.
    void Know(const xmlDoc* tree);

private:
    // About twice what was measured in 32-bit code: 128 bytes for a level of the built-in rules, 170 for one of the
    // 5000 levels that an expression can have.
    static constexpr size_t LEVEL_BYTES = 256;
    static constexpr size_t RESERVE = size_t{3} << 19;

    const uintptr_t stackEnd_ = StackEnd();
    size_t deepest_ = 0;
};

} // namespace sablot
