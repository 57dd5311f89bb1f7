#include "sablotron/stack_guard.h"

#include "sablotron/tree.h"

#include <algorithm>
#include <cstdint>
#include <pthread.h>

namespace sablot {
namespace {

// About twice what was measured in 32-bit code: 128 bytes for a level of the built-in rules, 170 for one of the 5000
// levels that an expression can have.
constexpr std::size_t LEVEL_BYTES = 256;
constexpr std::size_t RESERVE = std::size_t{3} << 19;
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
