// Functions in the place of libxml2's allocator, which is malloc: what they hand out is malloc's, too.
#include "sablotron/transform/memory_guard.h"

#include <libxml/xmlmemory.h>
#include <malloc.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

namespace sablot {
namespace {

std::mutex usersMutex;
int users = 0; // guards that live, in all threads

// What libxml2 allocates with outside of runs.
struct Allocator {
    xmlFreeFunc free = nullptr;
    xmlMallocFunc allocate = nullptr;
    xmlReallocFunc reallocate = nullptr;
    xmlStrdupFunc duplicate = nullptr;

    // That of a host of its own is left alone: nothing is known of what it hands out.
    bool IsMalloc() const { return allocate == std::malloc; }
};
Allocator before;

int64_t SizeOf(void* memory) { return static_cast<int64_t>(malloc_usable_size(memory)); }

} // namespace

thread_local MemoryGuard* MemoryGuard::current_ = nullptr;

MemoryGuard::MemoryGuard(size_t limit, std::function<void()> onExceeded)
    : limit_(static_cast<int64_t>(limit)), onExceeded_(std::move(onExceeded)) {
    current_ = this;
    const std::lock_guard lock(usersMutex);
    if (users++ > 0) return;
    xmlMemGet(&before.free, &before.allocate, &before.reallocate, &before.duplicate);
    if (before.IsMalloc()) xmlMemSetup(Free, Allocate, Reallocate, Duplicate);
}

MemoryGuard::~MemoryGuard() {
    const std::lock_guard lock(usersMutex);
    if (--users == 0 && before.IsMalloc())
        xmlMemSetup(before.free, before.allocate, before.reallocate, before.duplicate);
    current_ = nullptr;
}

void MemoryGuard::Count(int64_t bytes) {
    used_ += bytes;
    if (used_ <= limit_ || isExceeded_) return;
    isExceeded_ = true;
    onExceeded_();
}

void* MemoryGuard::Allocate(size_t size) {
    void* memory = std::malloc(size);
    if (current_ != nullptr) current_->Count(SizeOf(memory));
    return memory;
}

void* MemoryGuard::Reallocate(void* memory, size_t size) {
    const int64_t freed = SizeOf(memory);
    void* moved = std::realloc(memory, size);
    if ((current_ != nullptr) && (moved != nullptr)) current_->Count(SizeOf(moved) - freed);
    return moved;
}

char* MemoryGuard::Duplicate(const char* text) {
    char* copy = strdup(text);
    if (current_ != nullptr) current_->Count(SizeOf(copy));
    return copy;
}

void MemoryGuard::Free(void* memory) {
    if (current_ != nullptr) current_->used_ -= SizeOf(memory);
    std::free(memory);
}

} // namespace sablot
