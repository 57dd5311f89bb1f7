// What the process holds, as the kernel counts it.
#include "sablotron/transform/memory_guard.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <ctime>

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

bool MemoryGuard::IsExceeded() {
    constexpr int64_t TURN = 5'000'000;
    if (isExceeded_) return true;
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    const int64_t time = int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
    if (time < nextLook_) return false;
    const bool isFirst = nextLook_ == 0; // many runs are over before they would look
    nextLook_ = time + TURN;
    if (isFirst) return false;
    const size_t held = DataSize();
    if (before_ == 0) before_ = held;
    isExceeded_ = held > before_ && held - before_ > limit_;
    return isExceeded_;
}

} // namespace sablot
