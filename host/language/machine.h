// Runs compiled code. Calls of program functions do not use the C++ stack; only event handlers, destructors and other
// calls that come back from native code do.
#pragma once

#include "host/language/delegate.h"
#include "host/language/environment.h"
#include "host/language/profiler.h"
#include "host/language/run.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"
#include "host/runtime/watchdog.h"

#include <atomic>
#include <vector>

namespace host::language {

// Not zero: something asks the machine to look up, which it does on every turn of a loop and every call.
extern std::atomic<uint32_t> attention;
static_assert(std::atomic<uint32_t>::is_always_lock_free);

class Machine {
public:
    Machine(Environment& environment, const RunOptions& options);
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // Runs functions without parameters one after the other, until one of them fails.
    RunResult Run(const std::vector<uint32_t>& codes);
    // Releases the program's variables; destructors run.
    void ReleaseGlobals(RunResult& result);

    // Callbacks for the runtime. `context` is the Code.
    static void CallBack(void* context, const Slot* arguments, Slot* result);
    static void RunDestructor(Object* object, Class* cls);
    static void CallAttached(Delegate& delegate, const Slot* arguments, Slot* result);

private:
    struct Frame {
        const Code* code;
        const Instruction* pc; // the instruction that runs, or calls
        Slot* base;
    };

    // Calls a function with borrowed arguments. false after an exception, which is pending then, or when the program is
    // being stopped.
    bool Invoke(const Code& code, const Slot* arguments, Slot* result);
    bool Execute();
    bool ExecuteFrom(size_t entry);
    // Enters a function whose registers begin at `base`. false, with an exception pending, without room for it.
    [[gnu::always_inline]] bool Push(const Code& code, Slot* base) {
        const bool hasRoom = frames_.size() < frames_.capacity() && stackEnd_ - base > code.frameSize;
        if (!hasRoom && !MakeRoom(code, base)) [[unlikely]]
            return false;
        frames_.push_back({&code, code.instructions.data(), base});
        return true;
    }
    bool MakeRoom(const Code& code, const Slot* base);
    // After an exception: continues at a handler of a frame from `entry` on (true), or leaves those frames.
    bool Unwind(size_t entry);
    void ReleaseLifetimes(const Frame& frame, const Handler* handler);
    const Handler* FindHandler(const Frame& frame) const;
    void NoteRaised(Object* exception);
    void NoteInput();
    std::string InputLine(Object* exception) const;
    void GiveStack(Object* exception) const;
    std::vector<StackEntry> StackTrace() const;
    static std::string ArgumentsOf(const Frame& frame);
    // false when the program has to stop.
    bool Poll();
    // Tells the profiler what has run up to here.
    void NoteTicks();
    void Stop(RunOutcome outcome);
    Slot* Top() const;
    bool HasRoom() const; // on the C++ stack
    void PrintText(std::string_view text);
    void PrintString(String* string);
    UncaughtException Describe(Object* exception);

    Environment& environment_;
    const RunOptions& options_;
    Slot* stack_ = nullptr;
    Slot* stackEnd_ = nullptr;
    std::vector<Frame> frames_;
    const char* nativeStackBase_ = nullptr;
    size_t nativeStackLimit_ = 0;
    bool isStopped_ = false;
    bool isFailed_ = false; // by an exception that nobody caught
    RunOutcome outcome_ = RunOutcome::FINISHED;
    std::vector<StackEntry> stopStack_;
    ObjectRef raised_; // the exception whose way was noted last
    std::vector<StackEntry> raisedStack_;
    StringRef raisedText_; // what the native code was reading that raised it: a text, or a file
    ObjectRef raisedFile_;
    Machine* outer_ = nullptr;
    std::unique_ptr<Profiler> profiler_; // null unless wanted
    Watchdog watchdog_;                  // the last: it asks a machine that stands
};

} // namespace host::language
