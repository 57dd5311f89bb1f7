// Another stack in the caller's thread: a thread for each run took half of a small run's time, and what makecontext and
// swapcontext ask of the system beside, signal masks, a tenth.
#include "sablotron/transform/large_stack.h"

#include "sablotron/tree/stack.h"

#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
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
constexpr size_t MARK_SIZE = size_t{1} << 12;  // more than a frame takes: below what is kept all calls leave a mark

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
    void Trim() {
        static constexpr std::byte UNTOUCHED[MARK_SIZE] = {};
        const bool wasDeep = std::memcmp(Top() - KEPT_SIZE - MARK_SIZE, UNTOUCHED, MARK_SIZE) != 0;
        if (wasDeep) madvise(Bottom(), STACK_SIZE - KEPT_SIZE, MADV_DONTNEED);
    }
    std::byte* Bottom() const { return start_ + GUARD_SIZE; }
    std::byte* Top() const { return Bottom() + STACK_SIZE; }

private:
    std::byte* start_ = nullptr;
};

thread_local StackMemory* keptStack = nullptr;
thread_local bool isKeptStackTaken = false; // a run within a run takes another

// Where memory is limited no stack stays, for it would count.
bool IsMemoryLimited() {
    rlimit limit{};
    return getrlimit(RLIMIT_DATA, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
}

// The stack that stays for the thread's next run: mapping one takes longer than a small transformation. Null without
// memory. It goes with the thread by a key, since a destructor of thread_local data ends the process without memory.
StackMemory* KeptStack() {
    static pthread_key_t key;
    static const bool hasKey =
        pthread_key_create(&key, [](void* stack) { delete static_cast<StackMemory*>(stack); }) == 0;
    if (keptStack != nullptr || !hasKey || IsMemoryLimited()) return keptStack;
    std::unique_ptr<StackMemory> stack(new (std::nothrow) StackMemory);
    if (stack && pthread_setspecific(key, stack.get()) == 0) keptStack = stack.release();
    return keptStack;
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
};

void Start(Task& task) noexcept {
    task.stackSwitch.Arrive();
    try {
        task.work();
    } catch (...) {
        task.thrown = std::current_exception();
    }
    task.stackSwitch.LeaveForGood();
}

// Calls Start on the stack that ends at `top`.
[[gnu::noinline]] void StartOn(std::byte* top, Task* task) {
    void (*start)(Task&) = Start;
    top -= 12; // together with the argument this keeps the stack aligned
    asm volatile("movl %%esp, %%edi\n\t"
                 "movl %0, %%esp\n\t"
                 "pushl %1\n\t"
                 "call *%2\n\t"
                 "movl %%edi, %%esp"
                 : "+a"(top), "+d"(task), "+c"(start)
                 :
                 : "edi", "memory", "cc");
}

} // namespace

void OnLargeStack(const std::function<void()>& work) {
    StackMemory ownStack;
    StackMemory* const kept = isKeptStackTaken ? nullptr : KeptStack();
    StackMemory& stack = kept != nullptr ? *kept : ownStack;
    if (!stack.Map()) return work();
    if (kept != nullptr) isKeptStackTaken = true;
    std::byte* const bottom = stack.Bottom();

    Task task{work, nullptr, {}};
    const uintptr_t end = ExchangeStackEnd(reinterpret_cast<uintptr_t>(bottom));
    task.stackSwitch.Leave(bottom, STACK_SIZE);
    StartOn(stack.Top(), &task);
    task.stackSwitch.Return();
    ExchangeStackEnd(end);
    if (kept != nullptr) {
        isKeptStackTaken = false;
        stack.Trim();
    }
    if (task.thrown) std::rethrow_exception(task.thrown);
}

} // namespace sablot
