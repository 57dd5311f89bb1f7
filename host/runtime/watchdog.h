// Limits of time and memory, and the interrupt from the keyboard, for a program and the native code it calls. The
// watchdog asks the program to look up; native code cannot be stopped, and then the process ends.
#pragma once

#include <sys/resource.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

namespace host {

class Watchdog {
public:
    using Clock = std::chrono::steady_clock;

    // 0: no limit. `ask` is called on another thread, every few milliseconds when there is a limit and after an
    // interrupt.
    Watchdog(std::chrono::milliseconds timeLimit, size_t memoryLimit, void (*ask)());
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    bool IsTimeOver() const;
    bool IsMemoryOver() const; // by what the process holds
    // Lets a program that is stopped have the memory that its end needs.
    void FreeMemory();
    static bool IsInterrupted();

    // For a signal handler. The process ends at once when the program that runs has been interrupted before.
    static void NoteInterrupt();
    static void ForgetInterrupt();

private:
    void Watch();
    void BoundMemory();
    void InterruptCalls() const;

    const Clock::time_point deadline_;
    const bool hasDeadline_;
    const size_t memoryLimit_;
    void (*const ask_)();
    const pthread_t program_;
    rlim_t dataLimit_ = 0; // of the process before
    std::mutex mutex_;
    std::condition_variable condition_;
    bool isDone_ = false;
    std::thread thread_;
};

} // namespace host
