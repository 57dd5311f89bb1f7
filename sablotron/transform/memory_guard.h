// A bound on the memory that a run takes: libxml2 and libxslt do not survive the end of it.
#pragma once

#include <libxml/xpath.h>

#include <atomic>
#include <cstddef>
#include <mutex>

namespace sablot {

// Looks from outside at what the process holds while a run is at work on another thread; libxml2's allocator, which is
// the whole process's, stays what it is. The run is not refused memory when there is more than the limit: it is seen
// to that it comes to an end.
class MemoryGuard {
public:
    explicit MemoryGuard(size_t limit) : limit_(limit) {}

    // For the thread that waits for the run, every few milliseconds. What the process holds at the first look does not
    // count.
    void Look();

    // For the run: while it lives, the context's expressions end when there is too much.
    class Expressions {
    public:
        Expressions(MemoryGuard& guard, xmlXPathContext* context) : guard_(guard) { guard_.SetExpressions(context); }
        Expressions(const Expressions&) = delete;
        Expressions& operator=(const Expressions&) = delete;
        ~Expressions() { guard_.SetExpressions(nullptr); }

    private:
        MemoryGuard& guard_;
    };
    bool IsExceeded() const { return isExceeded_.load(std::memory_order_relaxed); }

private:
    void SetExpressions(xmlXPathContext* context);

    const size_t limit_;
    size_t before_ = 0;
    std::atomic<bool> isExceeded_ = false;
    std::mutex mutex_; // of the next
    xmlXPathContext* expressions_ = nullptr;
};

} // namespace sablot
