// How a program is run and what comes of it.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// A place in a text; line and column (in characters) are counted from 1.
struct InputPlace {
    uint32_t line;
    uint32_t column;
};

struct RunOptions {
    // Takes what Print prints, line feeds included. Standard output when empty.
    std::function<void(std::string_view)> print;
    std::chrono::milliseconds timeLimit{0}; // 0: none
    size_t memoryLimit = 0;                 // bytes of memory the process may hold; 0: none
    uint32_t callDepthLimit = 100000;       // deeper calls raise StackOverflowException
    // Finds what makes an XML text not well-formed, for exceptions that do not know the place.
    std::function<std::optional<InputPlace>(const std::string& text)> findFault;
    bool profiles = false; // RunResult::profile is wanted
};

enum class RunOutcome { FINISHED, UNCAUGHT_EXCEPTION, INTERRUPTED, TIME_LIMIT, MEMORY_LIMIT };

struct StackEntry {
    std::string function; // "Counter.Add", or "" for the program's statements outside of functions
    std::string file;
    uint32_t line = 0;
    uint32_t column = 0;
    std::string arguments = {};  // "n = 5, s = \"abc\"", of the innermost calls
    std::string sourceLine = {}; // of the innermost call
};

struct UncaughtException {
    std::string className;
    std::string message;
    int32_t errorNumber = 0;
    std::string details;           // what else it knows: "Line 3, Node \"b\""
    std::string inputLine;         // the place in the XML text that it speaks of, with a mark; empty when not known
    std::vector<StackEntry> stack; // where it was raised first, outermost last
};

struct RunResult {
    RunOutcome outcome = RunOutcome::FINISHED;
    std::optional<UncaughtException> exception; // of UNCAUGHT_EXCEPTION
    std::vector<StackEntry> stack;              // where the program was stopped by an interrupt or limit
    std::string profile;                        // tables of functions and lines by processor time
};

// "XmlDomException 8: message", the place with its source line and a mark under it, what else the exception knows, and
// a line "  at Counter.Add(n = 5) (file.kova:12)" for each call, each ended by a line feed.
std::string FormatException(const UncaughtException& exception);

} // namespace host
