#include "sablotron/stack_guard.h"

#include "sablotron/tree.h"

#include <algorithm>
#include <pthread.h>

namespace sablot {
namespace {

constexpr std::size_t MAX_STACK = std::size_t{1} << 26; // of an unlimited stack only this much is counted on

std::uintptr_t FindStackEnd() {
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

std::uintptr_t StackEnd() {
    thread_local const std::uintptr_t END = FindStackEnd();
    return END;
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

void StackGuard::Know(const xmlDoc* tree) { deepest_ = std::max(deepest_, DepthOf(tree)); }

} // namespace sablot
