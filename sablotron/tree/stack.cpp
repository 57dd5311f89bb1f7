// Where the thread's stack ends, as pthreads know it.
#include "sablotron/tree/stack.h"

#include <pthread.h>

#include <algorithm>

namespace sablot {
namespace {

constexpr size_t MAX_STACK = size_t{1} << 27; // of an unlimited stack only this much is counted on

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

// Asking costs a read of /proc; each thread has a stack of its own.
thread_local uintptr_t currentEnd = 0;

} // namespace

uintptr_t StackEnd() {
    if (currentEnd == 0) currentEnd = FindStackEnd();
    return currentEnd;
}

uintptr_t ExchangeStackEnd(uintptr_t stackEnd) {
    const uintptr_t before = StackEnd();
    currentEnd = stackEnd;
    return before;
}

} // namespace sablot
