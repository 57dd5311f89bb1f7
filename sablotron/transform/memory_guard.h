// A bound on the memory that a run takes: libxml2 and libxslt do not survive the end of it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sablot {

// Looks between instructions, and inside expressions, at what the process holds; libxml2's allocator, which is the
// whole process's, stays what it is. The run is not refused memory when there is more than the limit: it is seen to
// that it comes to an end.
class MemoryGuard {
public:
    explicit MemoryGuard(size_t limit) : limit_(limit) {}

    // For the run, often: every few milliseconds this looks. What the process holds at the first look does not count.
    bool IsExceeded();

private:
    const size_t limit_;
    int64_t nextLook_ = 0; // nanoseconds
    size_t before_ = 0;
    bool isExceeded_ = false;
};

} // namespace sablot
