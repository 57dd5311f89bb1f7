// What the process holds, as the kernel counts it.
#include "sablotron/transform/memory_guard.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>

namespace sablot {
namespace {

// Bytes of memory for data, without files; 0 if unknown.
size_t DataSize() {
    const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    std::array<char, 128> text{};
    const ssize_t length = read(file, text.data(), text.size() - 1);
    close(file);
    unsigned long pages = 0;
    if (length <= 0 || std::sscanf(text.data(), "%*u %*u %*u %*u %*u %lu", &pages) != 1) return 0;
    return size_t{pages} * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

} // namespace

void MemoryGuard::Look() {
    if (IsExceeded()) return;
    const size_t held = DataSize();
    if (before_ == 0) before_ = held;
    if (held <= before_ || held - before_ <= limit_) return;
    const std::lock_guard lock(mutex_);
    isExceeded_ = true; // which stops instructions
    if (expressions_ != nullptr) __atomic_store_n(&expressions_->opLimit, 1, __ATOMIC_RELAXED);
}

void MemoryGuard::SetExpressions(xmlXPathContext* context) {
    const std::lock_guard lock(mutex_);
    expressions_ = context;
}

} // namespace sablot
