// Compiles and runs programs of the host language. Classes, modules and functions registered with the runtime before
// are known to the program. Everything happens on the calling thread; one program runs at a time.
#pragma once

#include "host/language/editor_view.h"
#include "host/language/run.h"
#include "host/syntax/diagnostic.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

namespace language {
class Environment;
}

struct Source {
    std::string name; // as errors show it
    std::string text;
    std::string path = {}; // where it lies: imports are relative to it, or to the current folder without
};

// A compiled program. Its classes are registered with the runtime while it lives.
class Program {
public:
    explicit Program(std::unique_ptr<language::Environment> environment);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    language::Environment& GetEnvironment() const { return *environment_; }
    // The instructions of all functions as text.
    std::string Disassemble() const;

private:
    std::unique_ptr<language::Environment> environment_;
};

struct Compilation {
    std::unique_ptr<Program> program;    // null when there are errors
    std::vector<Diagnostic> diagnostics; // errors and warnings in the order of the text
};

// The sources form one program; their statements outside of functions run in order.
Compilation Compile(const std::vector<Source>& sources, EditorView editor = {});

// Runs the program from its start. All its variables are released at the end.
RunResult Run(Program& program, const RunOptions& options = {});

// Stops the running program at its next call or turn of a loop; it then ends with INTERRUPTED, without running handlers
// and Finally blocks. Safe to call from a signal handler.
void RequestInterrupt();
// An interrupt that met no program is not for the next one.
void ForgetInterrupt();

// An interactive session: entries are compiled and run one after the other; variables, functions and classes stay. An
// entry that defines a function or class anew replaces it for later entries.
class Session {
public:
    explicit Session(RunOptions options = {});
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    struct Result {
        bool incomplete = false; // more lines are needed (an open block or a continued line); nothing was run
        std::vector<Diagnostic> diagnostics;
        std::optional<RunResult> run; // unless there were errors
    };

    // `text` may have several lines. The value of an expression is printed.
    Result Enter(const std::string& text);

    // Completions of the word at the end of `line`: members of the object before the dot, else names and keywords. They
    // replace the last `wordLength` bytes.
    struct Completions {
        size_t wordLength = 0;
        std::vector<std::string> words;
    };
    Completions Complete(std::string_view line);

private:
    std::unique_ptr<language::Environment> environment_;
    RunOptions options_;
    uint32_t entryCount_ = 0;
};

} // namespace host
