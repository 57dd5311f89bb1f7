// A stack comes with a thread; signals stay with the caller's, but for those of its own faults.
#include "sablotron/transform/large_stack.h"

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <exception>

namespace sablot {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr size_t STACK_SIZE = size_t{1} << 27; // its frames are larger
#else
constexpr size_t STACK_SIZE = size_t{1} << 25;
#endif

constexpr long TURN = 5'000'000; // nanoseconds

struct Task {
    const std::function<void()>& work;
    std::exception_ptr thrown;
};

void* Run(void* data) {
    auto& task = *static_cast<Task*>(data);
    try {
        task.work();
    } catch (...) {
        task.thrown = std::current_exception();
    }
    return nullptr;
}

void Join(pthread_t thread, const std::function<void()>& look) {
    constexpr long SECOND = 1'000'000'000;
    timespec until{};
    do {
        look();
        clock_gettime(CLOCK_MONOTONIC, &until);
        until.tv_nsec += TURN;
        until.tv_sec += until.tv_nsec / SECOND;
        until.tv_nsec %= SECOND;
    } while (pthread_clockjoin_np(thread, nullptr, CLOCK_MONOTONIC, &until) == ETIMEDOUT);
}

bool RunInThread(Task& task, const std::function<void()>& look) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    sigset_t others;
    sigset_t before;
    sigfillset(&others);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT}) sigdelset(&others, fault);
    pthread_sigmask(SIG_SETMASK, &others, &before);
    pthread_t thread{};
    const bool runs = pthread_attr_setstacksize(&attributes, STACK_SIZE) == 0
                      && pthread_create(&thread, &attributes, Run, &task) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    if (runs) Join(thread, look);
    return runs;
}

} // namespace

void OnLargeStack(const std::function<void()>& work, const std::function<void()>& look) {
    Task task{work, nullptr};
    if (!RunInThread(task, look)) work();
    if (task.thrown) std::rethrow_exception(task.thrown);
}

} // namespace sablot
