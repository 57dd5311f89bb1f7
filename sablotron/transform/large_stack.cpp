// A context of its own (makecontext) in the caller's thread: a thread for each run took half of a small run's time.
#include "sablotron/transform/large_stack.h"

#include "sablotron/tree/stack.h"

#include <sys/mman.h>
#include <ucontext.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/common_interface_defs.h>
#endif

namespace sablot {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr size_t STACK_SIZE = size_t{1} << 27; // its frames are larger
#else
constexpr size_t STACK_SIZE = size_t{1} << 25;
#endif
constexpr size_t GUARD_SIZE = size_t{1} << 16; // no access: an overflow is a fault, not somebody else's memory

// What AddressSanitizer has to know of stacks.
class StackSwitch {
public:
    // On the stack that is left; on the new one `Arrive` follows.
    void Leave([[maybe_unused]] const void* bottom, [[maybe_unused]] size_t size) {
#ifdef __SANITIZE_ADDRESS__
        __sanitizer_start_switch_fiber(&fake_, bottom, size);
#endif
    }
    void Arrive() {
#ifdef __SANITIZE_ADDRESS__
        __sanitizer_finish_switch_fiber(nullptr, &bottom_, &size_);
#endif
    }
    void LeaveForGood() {
#ifdef __SANITIZE_ADDRESS__
        __sanitizer_start_switch_fiber(nullptr, bottom_, size_);
#endif
    }
    void Return() {
#ifdef __SANITIZE_ADDRESS__
        __sanitizer_finish_switch_fiber(fake_, nullptr, nullptr);
#endif
    }

#ifdef __SANITIZE_ADDRESS__
private:
    void* fake_ = nullptr;
    const void* bottom_ = nullptr;
    size_t size_ = 0;
#endif
};

struct Task {
    const std::function<void()>& work;
    std::exception_ptr thrown;
    StackSwitch stackSwitch;
    ucontext_t caller{};
};

static_assert(sizeof(int) == sizeof(uintptr_t), "makecontext passes ints");

void Start(int data) {
    auto& task = *reinterpret_cast<Task*>(data);
    task.stackSwitch.Arrive();
    try {
        task.work();
    } catch (...) {
        task.thrown = std::current_exception();
    }
    task.stackSwitch.LeaveForGood();
}

} // namespace

void OnLargeStack(const std::function<void()>& work) {
    void* memory = mmap(nullptr, STACK_SIZE + GUARD_SIZE, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (memory == MAP_FAILED) return work();
    mprotect(memory, GUARD_SIZE, PROT_NONE);
    std::byte* const bottom = static_cast<std::byte*>(memory) + GUARD_SIZE;

    Task task{work, nullptr, {}};
    ucontext_t context;
    getcontext(&context);
    context.uc_stack.ss_sp = bottom;
    context.uc_stack.ss_size = STACK_SIZE;
    context.uc_link = &task.caller;
    makecontext(&context, reinterpret_cast<void (*)()>(Start), 1, reinterpret_cast<int>(&task));
    const uintptr_t end = ExchangeStackEnd(reinterpret_cast<uintptr_t>(bottom));
    task.stackSwitch.Leave(bottom, STACK_SIZE);
    swapcontext(&task.caller, &context);
    task.stackSwitch.Return();
    ExchangeStackEnd(end);
    munmap(memory, STACK_SIZE + GUARD_SIZE);
    if (task.thrown) std::rethrow_exception(task.thrown);
}

} // namespace sablot
