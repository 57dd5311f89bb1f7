// The thread that watches the limits.
#include "host/runtime/watchdog.h"

#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <string_view>

namespace host {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds TURN{5};
// So long may a program that was asked take until it ends.
constexpr milliseconds GRACE{500};
// So long may what was printed take to get out when the process ends.
constexpr milliseconds LAST_OUTPUT{200};

constexpr int EXIT_MEMORY_LIMIT = 1;
constexpr int EXIT_TIME_LIMIT = 124;  // as timeout(1)
constexpr int EXIT_INTERRUPTED = 130; // as a shell reports a process that SIGINT ended

// Ends system calls in which the program waits; it means nothing else.
constexpr int WAKE_SIGNAL = SIGURG;

std::atomic<int> watchdogs{0};
std::atomic<int> interrupts{0};

struct Memory {
    size_t resident = 0;
    size_t data = 0; // of addresses for data
};

// Of the process, in bytes; zeros if unknown.
Memory ProcessMemory() {
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr) return {};
    size_t total = 0;
    Memory memory;
    int read = std::fscanf(file, "%zu %zu %*u %*u %*u %zu", &total, &memory.resident, &memory.data);
    std::fclose(file);
    if (read != 3) return {};
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    return {memory.resident * page, memory.data * page};
}

void Say(std::string_view message) {
    [[maybe_unused]] ssize_t written = write(STDERR_FILENO, message.data(), message.size());
}

// Ends the process in the midst of native code. What was printed is shown first, unless that would not end either.
[[noreturn]] void End(std::string_view message, int code) {
    Say(message);
    std::thread([code] {
        std::this_thread::sleep_for(LAST_OUTPUT);
        _exit(code);
    }).detach();
    if (ftrylockfile(stdout) == 0) fflush_unlocked(stdout);
    _exit(code);
}

} // namespace

Watchdog::Watchdog(milliseconds timeLimit, size_t memoryLimit, void (*ask)())
    : deadline_(Clock::now() + timeLimit),
      hasDeadline_(timeLimit.count() > 0),
      memoryLimit_(memoryLimit),
      ask_(ask),
      program_(pthread_self()) {
    ++watchdogs;
    struct sigaction wake {};
    wake.sa_handler = [](int) {}; // without SA_RESTART
    sigaction(WAKE_SIGNAL, &wake, nullptr);
    thread_ = std::thread([this] { Watch(); });
    if (memoryLimit_ > 0) BoundMemory();
}

Watchdog::~Watchdog() {
    {
        std::lock_guard lock(mutex_);
        isDone_ = true;
    }
    condition_.notify_one();
    thread_.join();
    if (--watchdogs == 0) ForgetInterrupt();
    FreeMemory();
}

void Watchdog::FreeMemory() {
    rlimit limit{};
    if (memoryLimit_ == 0 || getrlimit(RLIMIT_DATA, &limit) != 0) return;
    limit.rlim_cur = dataLimit_;
    setrlimit(RLIMIT_DATA, &limit);
}

// Whatever asks the system for memory gets none beyond the limit.
void Watchdog::BoundMemory() {
    rlimit limit{};
    if (getrlimit(RLIMIT_DATA, &limit) != 0) return;
    dataLimit_ = limit.rlim_cur;
    const Memory memory = ProcessMemory();
    const size_t room = memoryLimit_ > memory.resident ? memoryLimit_ - memory.resident : 0;
    const rlim_t bound = rlim_t{memory.data} + room + room / 20;
    if (bound < limit.rlim_cur) {
        limit.rlim_cur = bound;
        setrlimit(RLIMIT_DATA, &limit);
    }
}

bool Watchdog::IsTimeOver() const { return hasDeadline_ && Clock::now() >= deadline_; }

bool Watchdog::IsMemoryOver() const { return memoryLimit_ > 0 && ProcessMemory().resident > memoryLimit_; }

bool Watchdog::IsInterrupted() { return interrupts > 0; }

void Watchdog::NoteInterrupt() {
    if (interrupts++ == 0 || watchdogs == 0) return;
    Say("Interrupted\n");
    _exit(EXIT_INTERRUPTED);
}

void Watchdog::ForgetInterrupt() { interrupts = 0; }

void Watchdog::InterruptCalls() const {
    ask_();
    pthread_kill(program_, WAKE_SIGNAL);
}

void Watchdog::Watch() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr); // signals are the program's
    Clock::time_point asked{};
    std::unique_lock lock(mutex_);
    const bool isLimited = hasDeadline_ || memoryLimit_ > 0;
    while (!condition_.wait_for(lock, isLimited ? TURN : 10 * TURN, [this] { return isDone_; })) {
        if (isLimited) ask_();
        const bool isTime = IsTimeOver();
        const bool isInterrupt = IsInterrupted();
        if (!isTime && !isInterrupt && !IsMemoryOver()) continue;
        InterruptCalls();
        if (asked == Clock::time_point{}) asked = Clock::now();
        if (Clock::now() < asked + GRACE) continue;
        FreeMemory(); // to end takes some
        if (isInterrupt) End("Interrupted, in native code\n", EXIT_INTERRUPTED);
        if (isTime) End("The time limit is reached, in native code\n", EXIT_TIME_LIMIT);
        End("The memory limit is reached, in native code\n", EXIT_MEMORY_LIMIT);
    }
}

} // namespace host
