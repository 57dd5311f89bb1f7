#include "sablotron/stack_guard.h"

#include "sablotron/tree.h"

#include <algorithm>
#include <cstdint>
#include <pthread.h>

namespace sablot {
namespace {

// Measured in 32-bit code, rounded up.
constexpr std::size_t LEVEL_BYTES = 512;                // one level of a walk by the built-in rules or of a tree copy
constexpr std::size_t RESERVE = std::size_t{5} << 19;   // an expression nested as deep as libxml2 admits, and handlers
constexpr std::size_t MAX_STACK = std::size_t{1} << 26; // of an unlimited stack only this much is counted on

std::uintptr_t StackEnd() {
    pthread_attr_t attributes;
    void* lowest = nullptr;
    std::size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstack(&attributes, &lowest, &size);
        pthread_attr_destroy(&attributes);
    }
    const std::uintptr_t top = reinterpret_cast<std::uintptr_t>(lowest) + size;
    return top - std::min(size, MAX_STACK);
}

} // namespace

std::size_t RemainingStack() {
    thread_local const std::uintptr_t END = StackEnd();
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return here > END ? here - END : 0;
}

std::size_t DepthOf(const xmlDoc* tree) {
    std::size_t deepest = 0;
    std::size_t depth = 0;
    const auto* root = reinterpret_cast<const xmlNode*>(tree);
    for (const xmlNode* node = root->children; node;) {
        deepest = std::max(deepest, depth + 1);
        if (node->children && IsElement(node)) {
            node = node->children;
            ++depth;
            continue;
        }
        while (node != root && !node->next) {
            node = node->parent;
            if (node != root) --depth;
        }
        node = node == root ? nullptr : node->next;
    }
    return deepest;
}

bool StackGuard::HasRoom(bool walks) const { return RemainingStack() > RESERVE + (walks ? deepest_ * LEVEL_BYTES : 0); }

void StackGuard::Know(const xmlDoc* tree) { deepest_ = std::max(deepest_, DepthOf(tree)); }

} // namespace sablot
