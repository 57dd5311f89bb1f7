// The depth of the trees that a run may walk.
#include "sablotron/transform/stack_guard.h"

#include "sablotron/tree/tree.h"

#include <algorithm>

namespace sablot {

void StackGuard::Register(const xmlDoc* tree) {
    size_t depth = 0; // of elements, text and the like around each other; the document does not count
    WalkTree(
        AsNode(tree), [&](const xmlNode*) { deepest_ = std::max(deepest_, depth++); },
        [&](const xmlNode*) { --depth; });
}

} // namespace sablot
