// Bounds: recursion inside libxslt stays within the thread's stack, expressions end.
#pragma once

#include <cstddef>
#include <libxslt/xsltInternals.h>

namespace sablot {

// libxml2's steps for one expression: some seconds.
constexpr unsigned long MAX_XPATH_OPERATIONS = 400'000'000;

// Bytes between here and the end of the thread's stack.
std::size_t RemainingStack();

// The greatest number of elements around a node of the tree, itself included.
std::size_t DepthOf(const xmlDoc* tree);

// The budget of one run. libxslt counts the depth of templates, not of the stack: its built-in rules and its tree
// copies recurse once per level of the tree that they walk.
class StackGuard {
public:
    // Whether what libxslt does before the next check fits; with `walks` a walk of a tree as deep as any that the run
    // knows.
    bool HasRoom(bool walks) const;
    // Makes a tree known.
    void Know(const xmlDoc* tree);

private:
    std::size_t deepest_ = 0;
};

} // namespace sablot
