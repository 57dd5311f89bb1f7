// A context of its own (makecontext) in the caller's thread: a thread for each run took half of a small run's time.
#include "sablotron/transform/large_stack.h"

#include "sablotron/tree/stack.h"

#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <ucontext.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <new>
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
constexpr size_t KEPT_SIZE = size_t{1} << 18;  // what a small run touches

// The memory of one stack.
class StackMemory {
public:
    StackMemory() = default;
    ~StackMemory() {
        if (start_ != nullptr) munmap(start_, GUARD_SIZE + STACK_SIZE);
    }
    StackMemory(const StackMemory&) = delete;
    StackMemory& operator=(const StackMemory&) = delete;

    // False without memory.
    bool Map() {
        if (start_ != nullptr) return true;
        void* memory = mmap(nullptr, GUARD_SIZE + STACK_SIZE, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
        if (memory == MAP_FAILED) return false;
        mprotect(memory, GUARD_SIZE, PROT_NONE);
        start_ = static_cast<std::byte*>(memory);
        return true;
    }
    // Gives back what only a deep run touches.
    void Trim() { madvise(Bottom(), STACK_SIZE - KEPT_SIZE, MADV_DONTNEED); }
    std::byte* Bottom() const { return start_ + GUARD_SIZE; }

private:
    std::byte* start_ = nullptr;
};

thread_local StackMemory* keptStack = nullptr;
thread_local bool isKeptStackTaken = false; // a run within a run takes another

// The stack that stays for the thread's next run: mapping one takes longer than a small transformation. Null without
// memory. It goes with the thread by a key, since a destructor of thread_local data ends the process without memory.
StackMemory* KeptStack() {
    static pthread_key_t key;
    static const bool hasKey =
        pthread_key_create(&key, [](void* stack) { delete static_cast<StackMemory*>(stack); }) == 0;
    if (keptStack != nullptr || !hasKey) return keptStack;
    std::unique_ptr<StackMemory> stack(new (std::nothrow) StackMemory);
    if (stack && pthread_setspecific(key, stack.get()) == 0) keptStack = stack.release();
    return keptStack;
}

// Where memory is limited no stack stays, for it would count.
bool IsMemoryLimited() {
    rlimit limit{};
    return getrlimit(RLIMIT_DATA, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
}

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
    StackMemory ownStack;
    StackMemory* const kept = isKeptStackTaken || IsMemoryLimited() ? nullptr : KeptStack();
    StackMemory& stack = kept != nullptr ? *kept : ownStack;
    if (!stack.Map()) return work();
    if (kept != nullptr) isKeptStackTaken = true;
    std::byte* const bottom = stack.Bottom();

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
    if (kept != nullptr) {
        isKeptStackTaken = false;
        stack.Trim();
    }
    if (task.thrown) std::rethrow_exception(task.thrown);
}

} // namespace sablot
