// A bound on the memory that a run takes: libxml2 and libxslt do not survive the end of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace sablot {

// While it lives, it counts what libxml2 and libxslt allocate in this thread. They are not refused memory when there
// is more than the limit: `onExceeded` is called once and sees to it that they come to an end.
class MemoryGuard {
public:
    MemoryGuard(size_t limit, std::function<void()> onExceeded);
    MemoryGuard(const MemoryGuard&) = delete;
    MemoryGuard& operator=(const MemoryGuard&) = delete;
    ~MemoryGuard();

    // Counts what others hold for the run.
    void Add(size_t bytes) { Count(static_cast<int64_t>(bytes)); }

private:
    static void* Allocate(size_t size);
    static void* Reallocate(void* memory, size_t size);
    static char* Duplicate(const char* text);
    static void Free(void* memory);
    void Count(int64_t bytes);

    static thread_local MemoryGuard* current_;

    const int64_t limit_;
    const std::function<void()> onExceeded_;
    int64_t used_ = 0;
    bool isExceeded_ = false;
};

} // namespace sablot
