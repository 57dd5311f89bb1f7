// A stack comes with a thread; signals stay with the caller's.
#include "sablotron/transform/large_stack.h"

#include <pthread.h>

#include <csignal>
#include <exception>

namespace sablot {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr size_t STACK_SIZE = size_t{1} << 27; // its frames are larger
#else
constexpr size_t STACK_SIZE = size_t{1} << 25;
#endif

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

bool RunInThread(Task& task) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    pthread_t thread{};
    const bool runs = pthread_attr_setstacksize(&attributes, STACK_SIZE) == 0
                      && pthread_create(&thread, &attributes, Run, &task) == 0;
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_attr_destroy(&attributes);
    if (runs) pthread_join(thread, nullptr);
    return runs;
}

} // namespace

void OnLargeStack(const std::function<void()>& work) {
    Task task{work, nullptr};
    if (!RunInThread(task)) work();
    if (task.thrown) std::rethrow_exception(task.thrown);
}

} // namespace sablot
