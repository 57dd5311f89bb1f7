// Refilling the lists of small blocks.
#include "host/runtime/small_blocks.h"

namespace host {

void* SmallBlocks::AllocateChunk(size_t list) {
    const size_t size = (list + 1) * STEP;
    auto* chunk = static_cast<std::byte*>(std::malloc(size * CHUNK_BLOCKS));
    if (chunk == nullptr) return nullptr;
    for (size_t i = CHUNK_BLOCKS - 1; i > 0; --i) Free(chunk + i * size, size);
    return chunk;
}

} // namespace host
