// Memory for strings and objects, most of which are small and short-lived: blocks of a few sizes, kept in lists when
// freed. There is one thread. Under AddressSanitizer everything comes from malloc, so that it sees each block.
#pragma once

#include <array>
#include <cstddef>
#include <cstdlib>

namespace host {

class SmallBlocks {
public:
    // nullptr without memory. The block is aligned to 8 bytes.
    static void* Allocate(size_t size) {
        if (size > MAX_SIZE || IS_CHECKED) return std::malloc(size);
        FreeBlock*& list = lists_[ListOf(size)];
        if (list == nullptr) return AllocateChunk(ListOf(size));
        FreeBlock* block = list;
        list = block->next;
        return block;
    }

    // Whether a block of the first size can be used, and freed, as one of the second.
    static bool FitsAs(size_t size, size_t other) {
        return IsSmall(size) && IsSmall(other) && ListOf(size) == ListOf(other);
    }
    // Blocks that are not small come from malloc.
    static bool IsSmall(size_t size) { return size <= MAX_SIZE && !IS_CHECKED; }

    // With the size given to Allocate.
    static void Free(void* memory, size_t size) {
        if (size > MAX_SIZE || IS_CHECKED) {
            std::free(memory);
            return;
        }
        auto* block = static_cast<FreeBlock*>(memory);
        FreeBlock*& list = lists_[ListOf(size)];
        block->next = list;
        list = block;
    }

private:
    struct FreeBlock {
        FreeBlock* next;
    };

#ifdef __SANITIZE_ADDRESS__
    static constexpr bool IS_CHECKED = true;
#else
    static constexpr bool IS_CHECKED = false;
#endif
    static constexpr size_t STEP = 16;
    static constexpr size_t MAX_SIZE = 128;
    static constexpr size_t CHUNK_BLOCKS = 64;

    static size_t ListOf(size_t size) { return (size - 1) / STEP; }
    // Adds blocks to the list and takes one.
    static void* AllocateChunk(size_t list);

    static inline std::array<FreeBlock*, MAX_SIZE / STEP> lists_{};
};

} // namespace host
