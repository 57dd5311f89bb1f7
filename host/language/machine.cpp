#include "host/language/machine.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

#include "host/language/folding.h"
#include "host/language/operations.h"
#include "host/runtime/array.h"
#include "host/runtime/encoding.h"
#include "host/runtime/property.h"
#include "host/runtime/value.h"
#include "host/runtime/variant.h"

namespace host::language {

namespace {

constexpr size_t STACK_SLOTS = size_t{2} << 20; // 16 MB of addresses; memory is used as the program needs it
constexpr size_t MAX_TRACE = 100;

Machine* current = nullptr;

// Bits that the machine looks at on every turn of a loop and every call.
constexpr uint32_t INTERRUPTED = 1;
constexpr uint32_t TICK = 2;
std::atomic<uint32_t> attention{0};
static_assert(std::atomic<uint32_t>::is_always_lock_free);

// Asks for attention every few milliseconds while it lives, so that limits are looked at.
class Ticker {
public:
    explicit Ticker(bool isNeeded) {
        if (isNeeded) thread_ = std::thread([this] { Run(); });
    }
    ~Ticker() {
        {
            std::lock_guard lock(mutex_);
            isDone_ = true;
        }
        condition_.notify_one();
        if (thread_.joinable()) thread_.join();
    }
    Ticker(const Ticker&) = delete;
    Ticker& operator=(const Ticker&) = delete;

private:
    void Run() {
        std::unique_lock lock(mutex_);
        while (!condition_.wait_for(lock, std::chrono::milliseconds(5), [this] { return isDone_; })) attention |= TICK;
    }

    std::mutex mutex_;
    std::condition_variable condition_;
    bool isDone_ = false;
    std::thread thread_;
};

// Memory of the process, in bytes.
size_t ResidentMemory() {
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    if (file == nullptr) return 0;
    size_t total = 0;
    size_t resident = 0;
    int read = std::fscanf(file, "%zu %zu", &total, &resident);
    std::fclose(file);
    return read == 2 ? resident * static_cast<size_t>(sysconf(_SC_PAGESIZE)) : 0;
}

void ReleaseSlot(Slot slot, Storage storage) {
    if (storage == Storage::STRING) UnlockString(slot.string);
    if (storage == Storage::OBJECT) UnlockObject(slot.object);
}

// Arguments of a call that does not take place.
void ReleaseArguments(const Code& code, const Slot* window) {
    for (size_t i = 0; i < code.parameters.size(); i++) ReleaseSlot(window[i], code.parameters[i]);
}

// What a native function returned although it raised an exception.
void ReleaseResult(Kind kind, Slot value) {
    if (kind == Kind::STRING) UnlockString(value.string);
    if (kind == Kind::OBJECT || kind == Kind::VARIANT || kind == Kind::ARRAY) UnlockObject(value.object);
}

void RaiseMismatch(const Object* object, const std::string& wanted) {
    RaiseNew("TypeMismatchException", 0, "a " + object->cls->name + " is not a " + wanted);
}

} // namespace

Machine::Machine(Environment& environment, const RunOptions& options) : environment_(environment), options_(options) {
    void* memory = mmap(nullptr, STACK_SLOTS * sizeof(Slot), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory != MAP_FAILED) {
        stack_ = static_cast<Slot*>(memory);
        stackEnd_ = stack_ + STACK_SLOTS;
    }
    rlimit limit{};
    bool isBounded = getrlimit(RLIMIT_STACK, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
    nativeStackLimit_ = std::min<size_t>(isBounded ? static_cast<size_t>(limit.rlim_cur) : 8U << 20, 8U << 20) / 2;
    nativeStackBase_ = static_cast<const char*>(__builtin_frame_address(0));
    outer_ = std::exchange(current, this);
}

Machine::~Machine() {
    raised_ = {};
    current = outer_;
    if (stack_ != nullptr) munmap(stack_, STACK_SLOTS * sizeof(Slot));
}

void Machine::Interrupt() { attention |= INTERRUPTED; }

RunResult Machine::Run(const std::vector<uint32_t>& codes) {
    attention = 0;
    deadline_ = std::chrono::steady_clock::now() + options_.timeLimit;
    Ticker ticker(options_.timeLimit.count() > 0 || options_.memoryLimit > 0);
    RunResult result;
    for (uint32_t index : codes) {
        Slot unused{};
        if (Invoke(*environment_.tables.codes[index], nullptr, &unused)) continue;
        if (isStopped_) {
            result.outcome = outcome_;
            result.stack = stopStack_;
        } else {
            ObjectRef exception = TakePendingException();
            result.outcome = RunOutcome::UNCAUGHT_EXCEPTION;
            result.exception = Describe(exception.Get());
        }
        break;
    }
    return result;
}

void Machine::ReleaseGlobals() {
    raised_ = {};
    environment_.ReleaseGlobals();
}

UncaughtException Machine::Describe(Object* exception) {
    UncaughtException result;
    if (exception == nullptr) return result;
    result.className = exception->cls->name;
    GetIntegerProperty(exception, "ErrorNumber", result.errorNumber);
    StringRef message;
    if (GetStringProperty(exception, "Message", message)) result.message = std::string(message.View());
    if (raised_.Get() == exception) result.stack = raisedStack_;
    return result;
}

// Calls from outside

bool Machine::HasRoom() const {
    auto* here = static_cast<const char*>(__builtin_frame_address(0));
    return static_cast<size_t>(nativeStackBase_ - here) < nativeStackLimit_;
}

Slot* Machine::Top() const { return frames_.empty() ? stack_ : frames_.back().base + frames_.back().code->frameSize; }

bool Machine::Push(const Code& code, Slot* base) {
    if (frames_.size() >= options_.callDepthLimit || stackEnd_ - base <= code.frameSize || stack_ == nullptr) {
        RaiseNew("StackOverflowException", 0, "the calls are nested too deeply");
        return false;
    }
    frames_.push_back({&code, code.instructions.data(), base});
    return true;
}

bool Machine::Invoke(const Code& code, const Slot* arguments, Slot* result) {
    if (isStopped_) return false;
    Slot* base = Top();
    if (!HasRoom()) {
        RaiseNew("StackOverflowException", 0, "the calls are nested too deeply");
        return false;
    }
    if (!Push(code, base)) return false;
    for (size_t i = 0; i < code.parameters.size(); i++) {
        base[i] = arguments[i];
        if (code.parameters[i] == Storage::STRING) LockString(base[i].string);
        if (code.parameters[i] == Storage::OBJECT) LockObject(base[i].object);
    }
    if (!Execute()) return false;
    if (code.resultKind != Kind::NOTHING) *result = base[0];
    return true;
}

void Machine::CallBack(void* context, const Slot* arguments, Slot* result) {
    if (current == nullptr) return;
    current->Invoke(*static_cast<const Code*>(context), arguments, result);
}

void Machine::RunDestructor(Object* object, Class* cls) {
    const Code* destructor = static_cast<const ClassCode*>(cls->program)->destructor;
    if (destructor == nullptr || current == nullptr) return;
    Slot argument;
    argument.object = object;
    Slot unused{};
    // Nobody could catch what leaves a destructor.
    if (!current->Invoke(*destructor, &argument, &unused)) TakePendingException();
}

// Stopping

void Machine::Stop(RunOutcome outcome) {
    isStopped_ = true;
    outcome_ = outcome;
    stopStack_ = StackTrace();
}

bool Machine::Poll() {
    uint32_t reasons = attention.exchange(0);
    if ((reasons & INTERRUPTED) != 0) {
        Stop(RunOutcome::INTERRUPTED);
    } else if (options_.timeLimit.count() > 0 && std::chrono::steady_clock::now() >= deadline_) {
        Stop(RunOutcome::TIME_LIMIT);
    } else if (options_.memoryLimit > 0 && ResidentMemory() > options_.memoryLimit) {
        Stop(RunOutcome::MEMORY_LIMIT);
    }
    return !isStopped_;
}

// Output is UTF-8 whatever the string's encoding.
void Machine::PrintString(String* string) {
    bool isConverted = string != nullptr && string->encoding != ENCODING_UTF8 && string->encoding != ENCODING_UNKNOWN;
    StringRef text = isConverted ? ConvertString(string, ENCODING_UTF8) : StringRef::Share(string);
    PrintText(text.View());
    PrintText("\n");
}

void Machine::PrintText(std::string_view text) {
    if (options_.print)
        options_.print(text);
    else
        std::fwrite(text.data(), 1, text.size(), stdout);
}

// Exceptions

std::vector<StackEntry> Machine::StackTrace() const {
    std::vector<StackEntry> trace;
    for (auto frame = frames_.rbegin(); frame != frames_.rend() && trace.size() < MAX_TRACE; ++frame) {
        const Code& code = *frame->code;
        const SourceFile& file = *environment_.files[code.file];
        auto index = static_cast<size_t>(frame->pc - code.instructions.data());
        trace.push_back({code.name, file.Name(), file.Locate(code.offsets[index]).line});
    }
    return trace;
}

// An exception that is raised again keeps the place where it was raised first.
void Machine::NoteRaised(Object* exception) {
    if (raised_.Get() == exception) return;
    raised_ = ObjectRef::Share(exception);
    raisedStack_ = StackTrace();
    auto methods = exception->cls->FindMethods("Stack");
    if (methods.empty() || methods[0]->setter == nullptr) return;
    std::vector<std::string> lines;
    for (const StackEntry& entry : raisedStack_) {
        lines.push_back(entry.file + ":" + std::to_string(entry.line)
                        + (entry.function.empty() ? "" : ": " + entry.function));
    }
    host::Value array(lines);
    Slot arguments[2];
    arguments[0].object = exception;
    arguments[1] = array.Get();
    Slot unused{};
    CallNative(methods[0]->setterShape, methods[0]->setter, arguments, &unused);
}

const Handler* Machine::FindHandler(const Frame& frame) const {
    auto index = static_cast<uint32_t>(frame.pc - frame.code->instructions.data());
    for (const Handler& handler : frame.code->handlers) {
        if (handler.start <= index && index < handler.end) return &handler;
    }
    return nullptr;
}

void Machine::ReleaseLifetimes(const Frame& frame, const Handler* handler) {
    auto index = static_cast<uint32_t>(frame.pc - frame.code->instructions.data());
    for (const Lifetime& lifetime : frame.code->lifetimes) {
        bool isAlive = lifetime.start <= index && index < lifetime.end;
        // What was there before the Try stays.
        if (isAlive && (handler == nullptr || lifetime.start > handler->start)) {
            ReleaseSlot(frame.base[lifetime.reg], lifetime.storage);
        }
    }
}

bool Machine::Unwind(size_t entry) {
    ObjectRef exception = TakePendingException();
    if (!isStopped_ && exception) NoteRaised(exception.Get());
    while (frames_.size() >= entry) {
        Frame frame = frames_.back();
        const Handler* handler = isStopped_ ? nullptr : FindHandler(frame);
        ReleaseLifetimes(frame, handler);
        if (handler != nullptr) {
            frame.base[handler->reg].object = exception.Detach();
            frames_.back().pc = frame.code->instructions.data() + handler->target;
            return true;
        }
        frames_.pop_back();
    }
    if (!isStopped_ && exception) Raise(exception.Detach());
    return false;
}

// The loop

bool Machine::Execute() {
    static const void* const LABELS[] = {
#define X(name, operands) &&name, // NOLINT(bugprone-macro-parentheses): a label
        KOVA_INSTRUCTIONS(X)
#undef X
    };
    const size_t entry = frames_.size();
    const Tables& tables = environment_.tables;
    Slot* const globals = environment_.globals;
    const Instruction* pc = frames_.back().pc;
    Slot* base = frames_.back().base;

// The operands of the present instruction, and the way to the next one.
#define A (base[pc->a])
#define B (base[pc->b])
#define C (base[pc->c])
#define DISPATCH() goto*(LABELS[static_cast<size_t>(pc->opcode)]) // NOLINT(bugprone-macro-parentheses)
#define NEXT()                                                                                                         \
    do {                                                                                                               \
        ++pc;                                                                                                          \
        DISPATCH();                                                                                                    \
    } while (false)
#define FAIL_UNLESS(condition)                                                                                         \
    do {                                                                                                               \
        if (!(condition)) [[unlikely]]                                                                                 \
            goto failed;                                                                                               \
    } while (false)
#define NEED_OBJECT(object, what)                                                                                      \
    do {                                                                                                               \
        if ((object) == nullptr) [[unlikely]] {                                                                        \
            RaiseNilObject(what);                                                                                      \
            goto failed;                                                                                               \
        }                                                                                                              \
    } while (false)
#define NEED_ELEMENT(array, index)                                                                                     \
    do {                                                                                                               \
        NEED_OBJECT(array, "the array is Nil");                                                                        \
        if (static_cast<uint32_t>(index) >= static_cast<uint32_t>((array)->count)) [[unlikely]] {                      \
            RaiseOutOfBounds(index, array);                                                                            \
            goto failed;                                                                                               \
        }                                                                                                              \
    } while (false)
// Instructions that can come back to the machine: its frame must tell where it is.
#define SAVE() (frames_.back().pc = pc)
#define POLL()                                                                                                         \
    do {                                                                                                               \
        if (attention.load(std::memory_order_relaxed) != 0) [[unlikely]] {                                             \
            SAVE();                                                                                                    \
            if (!Poll()) goto failed;                                                                                  \
        }                                                                                                              \
    } while (false)

    DISPATCH();

LOAD_INTEGER:
    A.integer = pc->i;
    NEXT();
LOAD_DOUBLE:
    A.number = tables.doubles[static_cast<size_t>(pc->i)];
    NEXT();
LOAD_STRING:
    A.string = tables.strings[static_cast<size_t>(pc->i)];
    LockString(A.string);
    NEXT();
BORROW_STRING:
    A.string = tables.strings[static_cast<size_t>(pc->i)];
    NEXT();
LOAD_NIL:
    A = Slot{.number = 0};
    NEXT();
MOVE:
    A = B;
    NEXT();
COPY_STRING:
    A.string = B.string;
    LockString(A.string);
    NEXT();
COPY_OBJECT:
    A.object = B.object;
    LockObject(A.object);
    NEXT();
SET_STRING : {
    LockString(B.string);
    UnlockString(std::exchange(A.string, B.string));
    NEXT();
}
SET_OBJECT : {
    SAVE();
    LockObject(B.object);
    UnlockObject(std::exchange(A.object, B.object));
    NEXT();
}
TAKE_STRING:
    UnlockString(std::exchange(A.string, B.string));
    NEXT();
TAKE_OBJECT:
    SAVE();
    UnlockObject(std::exchange(A.object, B.object));
    NEXT();
RELEASE_STRING:
    UnlockString(A.string);
    NEXT();
RELEASE_OBJECT:
    SAVE();
    UnlockObject(A.object);
    NEXT();

LOAD_GLOBAL:
    A = globals[pc->i];
    NEXT();
LOAD_GLOBAL_STRING:
    A.string = globals[pc->i].string;
    LockString(A.string);
    NEXT();
LOAD_GLOBAL_OBJECT:
    A.object = globals[pc->i].object;
    LockObject(A.object);
    NEXT();
STORE_GLOBAL:
    globals[pc->i] = A;
    NEXT();
TAKE_GLOBAL_STRING:
    UnlockString(std::exchange(globals[pc->i].string, A.string));
    NEXT();
TAKE_GLOBAL_OBJECT:
    SAVE();
    UnlockObject(std::exchange(globals[pc->i].object, A.object));
    NEXT();

ADDRESS_LOCAL:
    A.pointer = &B;
    NEXT();
ADDRESS_GLOBAL:
    A.pointer = &globals[pc->i];
    NEXT();
ADDRESS_FIELD:
    SAVE();
    NEED_OBJECT(B.object, "the object is Nil");
    A.pointer = &DataAt<std::byte>(B.object, pc->c);
    NEXT();
LOAD_REFERENCE_WORD:
    A.integer = *static_cast<int32_t*>(B.pointer);
    NEXT();
LOAD_REFERENCE_DOUBLE:
    A.number = *static_cast<double*>(B.pointer);
    NEXT();
LOAD_REFERENCE_STRING:
    A.string = *static_cast<String**>(B.pointer);
    LockString(A.string);
    NEXT();
LOAD_REFERENCE_OBJECT:
    A.object = *static_cast<Object**>(B.pointer);
    LockObject(A.object);
    NEXT();
STORE_REFERENCE_WORD:
    *static_cast<int32_t*>(A.pointer) = B.integer;
    NEXT();
STORE_REFERENCE_DOUBLE:
    *static_cast<double*>(A.pointer) = B.number;
    NEXT();
TAKE_REFERENCE_STRING:
    UnlockString(std::exchange(*static_cast<String**>(A.pointer), B.string));
    NEXT();
TAKE_REFERENCE_OBJECT:
    SAVE();
    UnlockObject(std::exchange(*static_cast<Object**>(A.pointer), B.object));
    NEXT();

LOAD_FIELD_WORD:
    NEED_OBJECT(B.object, "the object is Nil");
    A.integer = DataAt<int32_t>(B.object, pc->c);
    NEXT();
LOAD_FIELD_DOUBLE:
    NEED_OBJECT(B.object, "the object is Nil");
    A.number = DataAt<double>(B.object, pc->c);
    NEXT();
LOAD_FIELD_STRING:
    NEED_OBJECT(B.object, "the object is Nil");
    A.string = DataAt<String*>(B.object, pc->c);
    LockString(A.string);
    NEXT();
LOAD_FIELD_OBJECT:
    NEED_OBJECT(B.object, "the object is Nil");
    A.object = DataAt<Object*>(B.object, pc->c);
    LockObject(A.object);
    NEXT();
STORE_FIELD_WORD:
    NEED_OBJECT(A.object, "the object is Nil");
    DataAt<int32_t>(A.object, pc->c) = B.integer;
    NEXT();
STORE_FIELD_DOUBLE:
    NEED_OBJECT(A.object, "the object is Nil");
    DataAt<double>(A.object, pc->c) = B.number;
    NEXT();
TAKE_FIELD_STRING:
    NEED_OBJECT(A.object, "the object is Nil");
    UnlockString(std::exchange(DataAt<String*>(A.object, pc->c), B.string));
    NEXT();
TAKE_FIELD_OBJECT:
    NEED_OBJECT(A.object, "the object is Nil");
    SAVE();
    UnlockObject(std::exchange(DataAt<Object*>(A.object, pc->c), B.object));
    NEXT();

NEW_ARRAY:
    A.array = NewArray(tables.arrayClasses[pc->c]);
    FAIL_UNLESS(A.array != nullptr);
    NEXT();
LOAD_ELEMENT_WORD:
    NEED_ELEMENT(B.array, C.integer);
    A.integer = B.array->Integers()[C.integer];
    NEXT();
LOAD_ELEMENT_DOUBLE:
    NEED_ELEMENT(B.array, C.integer);
    A.number = B.array->Numbers()[C.integer];
    NEXT();
LOAD_ELEMENT_STRING:
    NEED_ELEMENT(B.array, C.integer);
    A.string = B.array->Strings()[C.integer];
    LockString(A.string);
    NEXT();
LOAD_ELEMENT_OBJECT:
    NEED_ELEMENT(B.array, C.integer);
    A.object = B.array->Objects()[C.integer];
    LockObject(A.object);
    NEXT();
STORE_ELEMENT_WORD:
    NEED_ELEMENT(A.array, B.integer);
    A.array->Integers()[B.integer] = C.integer;
    NEXT();
STORE_ELEMENT_DOUBLE:
    NEED_ELEMENT(A.array, B.integer);
    A.array->Numbers()[B.integer] = C.number;
    NEXT();
TAKE_ELEMENT_STRING:
    NEED_ELEMENT(A.array, B.integer);
    UnlockString(std::exchange(A.array->Strings()[B.integer], C.string));
    NEXT();
TAKE_ELEMENT_OBJECT:
    NEED_ELEMENT(A.array, B.integer);
    SAVE();
    UnlockObject(std::exchange(A.array->Objects()[B.integer], C.object));
    NEXT();
ARRAY_APPEND:
    NEED_OBJECT(A.array, "the array is Nil");
    FAIL_UNLESS(ArrayInsert(A.array, A.array->count, B));
    NEXT();
ARRAY_INSERT:
    NEED_OBJECT(A.array, "the array is Nil");
    if (B.integer < 0 || B.integer > A.array->count) [[unlikely]] {
        RaiseOutOfBounds(B.integer, A.array);
        goto failed;
    }
    FAIL_UNLESS(ArrayInsert(A.array, B.integer, C));
    NEXT();
ARRAY_REMOVE : {
    NEED_ELEMENT(A.array, B.integer);
    SAVE();
    Slot removed = ArrayTake(A.array, B.integer);
    if (A.array->element == Kind::STRING)
        UnlockString(removed.string);
    else if (A.array->element == Kind::OBJECT || A.array->element == Kind::VARIANT)
        UnlockObject(removed.object);
    NEXT();
}
ARRAY_RESIZE:
    NEED_OBJECT(A.array, "the array is Nil");
    SAVE();
    FAIL_UNLESS(ResizeToBound(*A.array, B.integer));
    NEXT();
ARRAY_BOUND:
    A.integer = UpperBound(B.array);
    NEXT();
ARRAY_POP : {
    NEED_OBJECT(B.array, "the array is Nil");
    int32_t last = UpperBound(B.array);
    NEED_ELEMENT(B.array, last);
    A = ArrayTake(B.array, last);
    NEXT();
}
ARRAY_SORT:
    NEED_OBJECT(A.array, "the array is Nil");
    SortArray(*A.array);
    NEXT();
ARRAY_INDEX:
    NEED_OBJECT(B.array, "the array is Nil");
    A.integer = FindInArray(*B.array, C);
    NEXT();

ADD_INTEGER:
    A.integer = WrappingAdd(B.integer, C.integer);
    NEXT();
ADD_CONSTANT:
    A.integer = WrappingAdd(B.integer, static_cast<int16_t>(pc->c));
    NEXT();
SUBTRACT_INTEGER:
    A.integer = WrappingSubtract(B.integer, C.integer);
    NEXT();
MULTIPLY_INTEGER:
    A.integer = WrappingMultiply(B.integer, C.integer);
    NEXT();
DIVIDE_INTEGER:
    FAIL_UNLESS(DivideIntegers(B.integer, C.integer, A.integer));
    NEXT();
MODULO_INTEGER:
    FAIL_UNLESS(ModuloIntegers(B.integer, C.integer, A.integer));
    NEXT();
NEGATE_INTEGER:
    A.integer = WrappingSubtract(0, B.integer);
    NEXT();
AND_INTEGER:
    A.integer = B.integer & C.integer;
    NEXT();
OR_INTEGER:
    A.integer = B.integer | C.integer;
    NEXT();
XOR_INTEGER:
    A.integer = B.integer ^ C.integer;
    NEXT();
NOT_INTEGER:
    A.integer = ~B.integer;
    NEXT();
NOT_BOOLEAN:
    A.integer = B.integer == 0;
    NEXT();
ADD_DOUBLE:
    A.number = B.number + C.number;
    NEXT();
SUBTRACT_DOUBLE:
    A.number = B.number - C.number;
    NEXT();
MULTIPLY_DOUBLE:
    A.number = B.number * C.number;
    NEXT();
DIVIDE_DOUBLE:
    FAIL_UNLESS(DivideDoubles(B.number, C.number, A.number));
    NEXT();
MODULO_DOUBLE:
    FAIL_UNLESS(ModuloDoubles(B.number, C.number, A.number));
    NEXT();
POWER_DOUBLE:
    A.number = std::pow(B.number, C.number);
    NEXT();
NEGATE_DOUBLE:
    A.number = -B.number;
    NEXT();
ADD_STRING : {
    String* joined = AddStrings(B.string, C.string);
    FAIL_UNLESS(joined != nullptr || !IsExceptionPending());
    A.string = joined;
    NEXT();
}
APPEND_STRING:
    A.string = AppendString(A.string, B.string);
    FAIL_UNLESS(!IsExceptionPending());
    NEXT();
APPEND_GLOBAL:
    globals[pc->i].string = AppendString(globals[pc->i].string, A.string);
    FAIL_UNLESS(!IsExceptionPending());
    NEXT();
APPEND_FIELD : {
    auto& field = DataAt<String*>(A.object, pc->c);
    field = AppendString(field, B.string);
    FAIL_UNLESS(!IsExceptionPending());
    NEXT();
}

EQUAL_INTEGER:
    A.integer = B.integer == C.integer;
    NEXT();
UNEQUAL_INTEGER:
    A.integer = B.integer != C.integer;
    NEXT();
LESS_INTEGER:
    A.integer = B.integer < C.integer;
    NEXT();
LESS_EQUAL_INTEGER:
    A.integer = B.integer <= C.integer;
    NEXT();
EQUAL_DOUBLE:
    A.integer = B.number == C.number;
    NEXT();
UNEQUAL_DOUBLE:
    A.integer = B.number != C.number;
    NEXT();
LESS_DOUBLE:
    A.integer = B.number < C.number;
    NEXT();
LESS_EQUAL_DOUBLE:
    A.integer = B.number <= C.number;
    NEXT();
EQUAL_STRING:
    A.integer = CompareStrings(B.string, C.string) == 0;
    NEXT();
UNEQUAL_STRING:
    A.integer = CompareStrings(B.string, C.string) != 0;
    NEXT();
LESS_STRING:
    A.integer = CompareStrings(B.string, C.string) < 0;
    NEXT();
LESS_EQUAL_STRING:
    A.integer = CompareStrings(B.string, C.string) <= 0;
    NEXT();
EQUAL_BOOLEAN:
    A.integer = (B.integer != 0) == (C.integer != 0);
    NEXT();
UNEQUAL_BOOLEAN:
    A.integer = (B.integer != 0) != (C.integer != 0);
    NEXT();
EQUAL_OBJECT:
    A.integer = B.object == C.object;
    NEXT();
UNEQUAL_OBJECT:
    A.integer = B.object != C.object;
    NEXT();

VARIANT_ADD:
VARIANT_SUBTRACT:
VARIANT_MULTIPLY:
VARIANT_DIVIDE:
VARIANT_INTEGER_DIVIDE:
VARIANT_MODULO:
VARIANT_POWER:
VARIANT_EQUAL:
VARIANT_LESS:
VARIANT_LESS_EQUAL : {
    auto operation =
        static_cast<VariantOperation>(static_cast<int>(pc->opcode) - static_cast<int>(Opcode::VARIANT_ADD));
    Slot value{};
    FAIL_UNLESS(OperateVariants(operation, B.object, C.object, value));
    A = value;
    NEXT();
}

INTEGER_TO_DOUBLE:
    A.number = B.integer;
    NEXT();
DOUBLE_TO_INTEGER:
    A.integer = ToInteger(B.number);
    NEXT();
BOX_INTEGER : {
    Object* box = BoxInteger(B.integer);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
BOX_BOOLEAN : {
    Object* box = BoxBoolean(B.integer);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
BOX_DOUBLE : {
    Object* box = BoxDouble(B.number);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
BOX_STRING : {
    Object* box = BoxString(B.string);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
UNBOX_INTEGER:
    FAIL_UNLESS(UnboxTo(Kind::INTEGER, B.object, A));
    NEXT();
UNBOX_BOOLEAN:
    FAIL_UNLESS(UnboxTo(Kind::BOOLEAN, B.object, A));
    NEXT();
UNBOX_DOUBLE:
    FAIL_UNLESS(UnboxTo(Kind::DOUBLE, B.object, A));
    NEXT();
UNBOX_STRING:
    FAIL_UNLESS(UnboxTo(Kind::STRING, B.object, A));
    NEXT();
CHECK_CLASS : {
    const Class* wanted = tables.classes[static_cast<size_t>(pc->i)];
    if (A.object != nullptr && !A.object->cls->IsA(wanted)) [[unlikely]] {
        RaiseMismatch(A.object, wanted->name);
        goto failed;
    }
    NEXT();
}
CHECK_ARRAY : {
    const Class* wanted = tables.arrayClasses[pc->c];
    if (A.object != nullptr && A.object->cls != wanted) [[unlikely]] {
        RaiseMismatch(A.object, wanted->name);
        goto failed;
    }
    NEXT();
}
CHECK_NIL:
    NEED_OBJECT(A.object, "the object is Nil");
    NEXT();
IS_A:
    A.integer = B.object != nullptr && B.object->cls->IsA(tables.classes[pc->c]);
    NEXT();

JUMP:
    pc += pc->i;
    NEXT();
JUMP_BACK:
    POLL();
    pc += pc->i;
    NEXT();
JUMP_IF:
    if (A.integer != 0) pc += pc->i;
    NEXT();
JUMP_UNLESS:
    if (A.integer == 0) pc += pc->i;
    NEXT();
// A test that holds skips the jump behind it, one that fails takes it.
#define SKIP_IF(condition)                                                                                             \
    do {                                                                                                               \
        bool holds = (condition);                                                                                      \
        ++pc;                                                                                                          \
        if (!holds) pc += pc->i;                                                                                       \
        NEXT();                                                                                                        \
    } while (false)
TEST_EQUAL:
    SKIP_IF(A.integer == B.integer);
TEST_UNEQUAL:
    SKIP_IF(A.integer != B.integer);
TEST_LESS:
    SKIP_IF(A.integer < B.integer);
TEST_LESS_EQUAL:
    SKIP_IF(A.integer <= B.integer);
FOR_TEST_INTEGER:
    SKIP_IF(C.integer >= 0 ? A.integer <= B.integer : A.integer >= B.integer);
FOR_TEST_DOUBLE:
    SKIP_IF(C.number >= 0 ? A.number <= B.number : A.number >= B.number);
// The jump behind leads to the next turn; it is skipped when the limit is passed.
FOR_NEXT_INTEGER : {
    int64_t following = int64_t{A.integer} + C.integer;
    bool goesOn = C.integer >= 0 ? following <= B.integer : following >= B.integer;
    A.integer = WrappingAdd(A.integer, C.integer);
    if (!goesOn) ++pc;
    NEXT();
}
FOR_NEXT_DOUBLE : {
    A.number += C.number;
    bool goesOn = C.number >= 0 ? A.number <= B.number : A.number >= B.number;
    if (!goesOn) ++pc;
    NEXT();
}

CALL : {
    const Code* code = tables.codes[static_cast<size_t>(pc->i)].get();
    Slot* window = &A;
    SAVE();
    if (!Push(*code, window)) [[unlikely]] {
        ReleaseArguments(*code, window);
        goto failed;
    }
    base = window;
    pc = code->instructions.data();
    POLL();
    DISPATCH();
}
CALL_VIRTUAL : {
    Slot* window = &A;
    SAVE();
    Object* object = window->object;
    const Code* code;
    if (object == nullptr) [[unlikely]] {
        code = tables.codes[pc->c].get();
        ReleaseArguments(*code, window);
        RaiseNilObject("the object is Nil");
        goto failed;
    }
    code = static_cast<const ClassCode*>(object->cls->program)->virtualMethods[pc->b];
    if (!Push(*code, window)) [[unlikely]] {
        ReleaseArguments(*code, window);
        goto failed;
    }
    base = window;
    pc = code->instructions.data();
    POLL();
    DISPATCH();
}
CALL_NATIVE : {
    const NativeCall& call = tables.natives[pc->c];
    SAVE();
    if (call.hasObject) NEED_OBJECT(B.object, "the object is Nil");
    Slot value{};
    CallNative(call.shape, call.function, &B, &value);
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        if (call.result != Kind::NOTHING) ReleaseResult(call.result, value);
        goto failed;
    }
    A = value;
    NEXT();
}
GET_PROPERTY : {
    const Property& property = *tables.properties[pc->c];
    SAVE();
    if (property.owner != nullptr) NEED_OBJECT(B.object, "the object is Nil");
    Slot value = ReadProperty(B.object, property);
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        ReleaseResult(property.type.kind, value);
        goto failed;
    }
    A = value;
    NEXT();
}
SET_PROPERTY : {
    const Property& property = *tables.properties[pc->c];
    SAVE();
    if (property.owner != nullptr) NEED_OBJECT(A.object, "the object is Nil");
    WriteProperty(A.object, property, B);
    FAIL_UNLESS(!IsExceptionPending() && !isStopped_);
    NEXT();
}
NEW_OBJECT : {
    SAVE();
    Object* object = NewObject(tables.classes[static_cast<size_t>(pc->i)]);
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        UnlockObject(object);
        goto failed;
    }
    A.object = object;
    NEXT();
}
RETURN_VALUE:
    *base = A;
RETURN:
    frames_.pop_back();
    if (frames_.size() < entry) return true;
    pc = frames_.back().pc;
    base = frames_.back().base;
    NEXT();

CALL_FINALLY:
    A.integer = static_cast<int32_t>(pc - frames_.back().code->instructions.data());
    pc += pc->i;
    NEXT();
END_FINALLY:
    pc = frames_.back().code->instructions.data() + A.integer;
    NEXT();
RAISE:
    SAVE();
    Raise(A.object);
    goto unwind;
RAISE_AGAIN:
    SAVE();
    Raise(std::exchange(A.object, nullptr));
    goto unwind;

PRINT_INTEGER:
    PrintText(std::to_string(A.integer) + "\n");
    NEXT();
PRINT_BOOLEAN:
    PrintText(A.integer != 0 ? "True\n" : "False\n");
    NEXT();
PRINT_DOUBLE:
    PrintText(TextOf(A.number) + "\n");
    NEXT();
PRINT_STRING:
    PrintString(A.string);
    NEXT();
PRINT_VARIANT:
    PrintText(TextOfVariant(A.object) + "\n");
    NEXT();
PRINT_LINE:
    PrintText("\n");
    NEXT();

failed:
    SAVE();
unwind:
    if (!Unwind(entry)) return false;
    pc = frames_.back().pc;
    base = frames_.back().base;
    DISPATCH();

#undef A
#undef B
#undef C
#undef DISPATCH
#undef NEXT
#undef FAIL_UNLESS
#undef NEED_OBJECT
#undef NEED_ELEMENT
#undef SAVE
#undef POLL
#undef SKIP_IF
}

} // namespace host::language
