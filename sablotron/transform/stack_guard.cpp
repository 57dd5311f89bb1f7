#include "sablotron/transform/stack_guard.h"

#include "sablotron/tree/tree.h"

#include <pthread.h>

#include <algorithm>

namespace sablot {
namespace {

constexpr size_t MAX_STACK = size_t{1} << 26; // of an unlimited stack only this much is counted on

uintptr_t FindStackEnd() {
    pthread_attr_t attributes;
    void* lowest = nullptr;
    size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) == 0) {
        pthread_attr_getstack(&attributes, &lowest, &size);
        pthread_attr_destroy(&attributes);
    }
    const uintptr_t top = reinterpret_cast<uintptr_t>(lowest) + size;
    return top - std::min(size, MAX_STACK);
}

} // namespace

uintptr_t StackEnd() {
    thread_local const uintptr_t END = FindStackEnd();
    return END;
}

size_t DepthOf(const xmlDoc* tree) {
    size_t deepest = 0;
    size_t depth = 0;
    const auto* root = reinterpret_cast<const xmlNode*>(tree);
    for (const xmlNode* node = root->children; node != nullptr;) {
        deepest = std::max(deepest, depth + 1);
        if ((node->children != nullptr) && IsElement(node)) {
            node = node->children;
            ++depth;
            continue;
        }
        while (node != root && (node->next == nullptr)) {
            node = node->parent;
            if (node != root) --depth;
        }
        node = node == root ? nullptr : node->next;
    }
    return deepest;
}

void StackGuard::Know(const xmlDoc* tree) { deepest_ = std::max(deepest_, DepthOf(tree)); }

} // namespace sablot
