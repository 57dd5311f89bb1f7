// Calls from outside, limits, and the way of exceptions through the frames.
#include "host/language/machine.h"

#include "host/language/display.h"
#include "host/language/folding.h"
#include "host/language/operations.h"
#include "host/runtime/array.h"
#include "host/runtime/encoding.h"
#include "host/runtime/property.h"
#include "host/runtime/value.h"
#include "host/runtime/variant.h"

#include <sys/mman.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>

namespace host::language {

std::atomic<uint32_t> attention{0};

namespace {

constexpr size_t STACK_SLOTS = size_t{2} << 20; // 16 MB of addresses; memory is used as the program needs it
constexpr size_t MAX_TRACE = 100;
constexpr size_t MAX_DETAILED = 8; // of them with arguments

Machine* current = nullptr;

// Not the exception by which a program ends itself.
bool IsError(const Object* exception) {
    const Class* error = FindClass("RuntimeException");
    return exception == nullptr || error == nullptr || exception->cls->IsA(error);
}

} // namespace

Machine::Machine(Environment& environment, const RunOptions& options)
    : environment_(environment),
      options_(options),
      watchdog_(options.timeLimit, options.memoryLimit, [] { attention = 1; }) {
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
    raisedFile_ = {};
    current = outer_;
    if (stack_ != nullptr) munmap(stack_, STACK_SLOTS * sizeof(Slot));
}

RunResult Machine::Run(const std::vector<uint32_t>& codes) {
    RunResult result;
    if (options_.profiles) profiler_ = std::make_unique<Profiler>();
    for (uint32_t index : codes) {
        Slot unused{};
        // A destructor may have been stopped that the program itself went on after.
        if (Invoke(*environment_.tables.codes[index], nullptr, &unused) && !isStopped_ && (attention == 0 || Poll()))
            continue;
        if (isStopped_) {
            result.outcome = outcome_;
            result.stack = stopStack_;
        } else {
            ObjectRef exception = TakePendingException();
            isFailed_ = IsError(exception.Get());
            result.outcome = RunOutcome::UNCAUGHT_EXCEPTION;
            result.exception = Describe(exception.Get());
        }
        break;
    }
    if (profiler_ != nullptr) result.profile = profiler_->Report(environment_.files);
    profiler_ = nullptr;
    return result;
}

void Machine::ReleaseGlobals(RunResult& result) {
    raised_ = {};
    raisedFile_ = {};
    raisedText_ = {};
    {
        FailingProgram failing(isStopped_ || isFailed_);
        environment_.ReleaseGlobals();
    }
    // A destructor of the host's may fail too: that of a stream whose file cannot be written.
    ObjectRef exception = TakePendingException();
    if (result.outcome != RunOutcome::FINISHED) return;
    if (isStopped_) {
        result.outcome = outcome_;
        result.stack = stopStack_;
        return;
    }
    if (!exception) return;
    result.outcome = RunOutcome::UNCAUGHT_EXCEPTION;
    result.exception = Describe(exception.Get());
}

UncaughtException Machine::Describe(Object* exception) {
    UncaughtException result;
    if (exception == nullptr) return result;
    result.className = exception->cls->name;
    GetIntegerProperty(exception, "ErrorNumber", result.errorNumber);
    StringRef message;
    if (GetStringProperty(exception, "Message", message)) result.message = std::string(message.View());
    result.details = DetailsOf(exception, FindClass("RuntimeException"));
    if (raised_.Get() == exception) {
        result.stack = raisedStack_;
        result.inputLine = InputLine(exception);
    }
    return result;
}

// Calls from outside

bool Machine::HasRoom() const {
    auto* here = static_cast<const char*>(__builtin_frame_address(0));
    return static_cast<size_t>(nativeStackBase_ - here) < nativeStackLimit_;
}

Slot* Machine::Top() const { return frames_.empty() ? stack_ : frames_.back().base + frames_.back().code->frameSize; }

// The capacity never passes the limit of calls.
bool Machine::MakeRoom(const Code& code, const Slot* base) {
    constexpr size_t FIRST = 16;
    const size_t count = frames_.size();
    if (count >= options_.callDepthLimit || stackEnd_ - base <= code.frameSize) {
        RaiseNew("StackOverflowException", 0, "the calls are nested too deeply");
        return false;
    }
    try {
        frames_.reserve(std::min<size_t>(std::max(2 * count, FIRST), options_.callDepthLimit));
    } catch (const std::bad_alloc&) {
        RaiseOutOfMemory();
        return false;
    }
    return true;
}

inline bool Machine::Execute() {
    const size_t entry = frames_.size();
    for (;;) {
        try {
            return ExecuteFrom(entry);
        } catch (const std::bad_alloc&) {
            RaiseOutOfMemory();
        }
        if (!Unwind(entry)) return false;
    }
}

bool Machine::Invoke(const Code& code, const Slot* arguments, Slot* result) {
    if (isStopped_) return false;
    if (attention != 0) [[unlikely]]
        NoteTicks();
    Slot* base = Top();
    if (!HasRoom()) {
        RaiseNew("StackOverflowException", 0, "the calls are nested too deeply");
        return false;
    }
    if (!Push(code, base)) return false;
    for (size_t i = 0; i < code.parameters.size(); ++i) {
        if (code.parameters[i] == Storage::STRING) LockString(arguments[i].string);
        if (code.parameters[i] == Storage::OBJECT) LockObject(arguments[i].object);
        CopySlot(base[i], arguments[i]);
    }
    if (!Execute()) return false;
    if (code.resultKind != Kind::NOTHING) CopySlot(*result, *base);
    return true;
}

void Machine::CallBack(void* context, const Slot* arguments, Slot* result) {
    if (current == nullptr) return;
    current->Invoke(*static_cast<const Code*>(context), arguments, result);
}

void Machine::CallAttached(Delegate& delegate, const Slot* arguments, Slot* result) {
    if (current == nullptr) return;
    std::vector<Slot> passed(arguments, arguments + delegate.code->parameters.size());
    passed[0].object = delegate.target;
    current->Invoke(*delegate.code, passed.data(), result);
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
    watchdog_.FreeMemory();
    isStopped_ = true;
    outcome_ = outcome;
    stopStack_ = StackTrace();
}

void Machine::NoteTicks() {
    const uint32_t ticks = profiler_ != nullptr ? Profiler::TakeTicks() : 0;
    if (ticks == 0) return;
    std::vector<Profiler::Place> stack;
    for (auto frame = frames_.rbegin(); frame != frames_.rend() && stack.size() < MAX_TRACE; ++frame) {
        const Code& code = *frame->code;
        const Instruction& instruction = *frame->pc;
        if (code.isHidden) continue;
        bool isProperty = instruction.opcode == Opcode::GET_PROPERTY || instruction.opcode == Opcode::SET_PROPERTY;
        if (instruction.opcode == Opcode::CALL_NATIVE)
            stack.push_back({environment_.tables.natives[instruction.c].name});
        static constexpr const char* ENTRIES[] = {"Value", "Lookup", "HasKey", "Value"};
        if (instruction.opcode >= Opcode::GET_ENTRY && instruction.opcode <= Opcode::SET_ENTRY) {
            auto index = static_cast<size_t>(instruction.opcode) - static_cast<size_t>(Opcode::GET_ENTRY);
            stack.push_back({std::string("Dictionary.") + ENTRIES[index]});
        }
        if (isProperty) stack.push_back({environment_.tables.properties[instruction.c]->name});
        auto index = static_cast<size_t>(frame->pc - code.instructions.data());
        const uint32_t line = environment_.files[code.file]->Locate(code.offsets[index]).line;
        stack.push_back({code.name.empty() ? "(statements)" : code.name, &code, line});
    }
    profiler_->Add(stack, ticks);
}

bool Machine::Poll() {
    attention = 0;
    NoteTicks();
    if (Watchdog::IsInterrupted()) {
        Stop(RunOutcome::INTERRUPTED);
    } else if (watchdog_.IsTimeOver()) {
        Stop(RunOutcome::TIME_LIMIT);
    } else if (watchdog_.IsMemoryOver()) {
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

std::string Machine::ArgumentsOf(const Frame& frame) {
    std::string text;
    const Code& code = *frame.code;
    for (size_t i = 0; i < code.parameterNames.size(); ++i) {
        if (code.parameterNames[i].empty()) continue;
        text += (text.empty() ? "" : ", ") + code.parameterNames[i] + " = "
                + Abridged(code.parameterKinds[i], frame.base[i]);
    }
    return text;
}

std::vector<StackEntry> Machine::StackTrace() const {
    std::vector<StackEntry> trace;
    for (auto frame = frames_.rbegin(); frame != frames_.rend() && trace.size() < MAX_TRACE; ++frame) {
        const Code& code = *frame->code;
        if (code.isHidden) continue;
        const SourceFile& file = *environment_.files[code.file];
        auto index = static_cast<size_t>(frame->pc - code.instructions.data());
        LineColumn place = file.Locate(code.offsets[index]);
        StackEntry& entry = trace.emplace_back(StackEntry{code.name, file.Name(), place.line, place.column});
        if (trace.size() == 1) entry.sourceLine = file.Line(place.line);
        // A frame that is being left may have released them.
        bool isLeft = frame->pc->opcode == Opcode::RELEASE_OBJECT;
        if (trace.size() <= MAX_DETAILED && !isLeft) entry.arguments = ArgumentsOf(*frame);
    }
    return trace;
}

// An exception that is raised again keeps the place where it was raised first. Without memory its place is not known.
void Machine::NoteRaised(Object* exception) {
    if (raised_.Get() == exception) return;
    raised_ = ObjectRef::Share(exception);
    raisedStack_.clear();
    try {
        raisedStack_ = StackTrace();
        NoteInput();
        GiveStack(exception);
    } catch (const std::bad_alloc&) {
        TakePendingException();
    }
}

void Machine::GiveStack(Object* exception) const {
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
    TakePendingException();
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
    if (attention != 0) Poll(); // what failed may have been interrupted
    ObjectRef exception = TakePendingException();
    // Under a limit, want of memory is the limit's doing.
    if (!isStopped_ && options_.memoryLimit > 0 && exception && exception.Get()->cls->name == "OutOfMemoryException")
        Stop(RunOutcome::MEMORY_LIMIT);
    if (!isStopped_ && exception) NoteRaised(exception.Get());
    FailingProgram failing(isStopped_ || IsError(exception.Get()));
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

} // namespace host::language
