// Compiles a program for a command, and tells how its run ended.
#include "host/cli/program_session.h"

#include "host/cli/files.h"
#include "host/cli/libxml2/document.h"
#include "host/cli/terminal.h"
#include "host/framework/framework.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <string>

namespace host {

namespace {

void PrintStack(const std::vector<StackEntry>& stack) {
    for (const StackEntry& entry : stack) {
        std::string place = entry.file + ":" + std::to_string(entry.line);
        std::fprintf(stderr, "  at %s\n",
                     (entry.function.empty() ? place : entry.function + " (" + place + ")").c_str());
    }
}

std::optional<InputPlace> FindFault(const std::string& text) {
    std::vector<Diagnostic> warnings;
    try {
        xml::Parse({"XML", text}, xml::References::KEEP, warnings);
    } catch (const xml::TextError& error) {
        if (!error.faults.empty()) return InputPlace{error.faults[0].line, error.faults[0].column};
    }
    return std::nullopt;
}

void HandleInterrupt(int) { RequestInterrupt(); }

} // namespace

Compilation CompileFile(const std::filesystem::path& path, bool showWarnings) {
    Compilation compilation = Compile({Source{path.native(), ReadFile(path), path.native()}});
    for (const Diagnostic& diagnostic : compilation.diagnostics)
        if (showWarnings || diagnostic.severity == Severity::ERROR) ShowDiagnostic(diagnostic);
    return compilation;
}

int ReportOutcome(const RunResult& result) {
    std::fflush(stdout);
    std::fputs(result.profile.c_str(), stderr);
    switch (result.outcome) {
    case RunOutcome::FINISHED: return EXIT_OK;
    case RunOutcome::UNCAUGHT_EXCEPTION:
        if (result.exception->className == END_EXCEPTION) return result.exception->errorNumber & 0xFF;
        std::fprintf(stderr, "%sUncaught exception:%s %s", UsesColor(stderr) ? "\033[1;31m" : "",
                     UsesColor(stderr) ? "\033[0m" : "", FormatException(*result.exception).c_str());
        return EXIT_FAILED;
    case RunOutcome::INTERRUPTED:
        std::fputs("Interrupted\n", stderr);
        PrintStack(result.stack);
        return EXIT_INTERRUPTED;
    case RunOutcome::TIME_LIMIT:
        std::fputs("The time limit is reached\n", stderr);
        PrintStack(result.stack);
        return EXIT_TIME_LIMIT;
    case RunOutcome::MEMORY_LIMIT:
        std::fputs("The memory limit is reached\n", stderr);
        PrintStack(result.stack);
        return EXIT_FAILED;
    }
    return EXIT_FAILED;
}

RunOptions OptionsOf(const ProgramLimits& limits) {
    constexpr double LONGEST = 1e9;          // seconds
    constexpr double MEGABYTE = 1024 * 1024; // bytes
    constexpr double MOST = SIZE_MAX;        // bytes
    RunOptions options;
    // One buffer with what programs write through StdOut.
    options.print = [](std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); };
    options.findFault = FindFault;
    options.timeLimit = std::chrono::milliseconds(static_cast<int64_t>(std::min(limits.seconds, LONGEST) * 1000));
    options.memoryLimit = static_cast<size_t>(std::min(limits.megabytes * MEGABYTE, MOST));
    return options;
}

RunOptions OptionsOf(const RunCommandOptions& command) {
    RunOptions options = OptionsOf(command.limits);
    options.profiles = command.profile;
    return options;
}

InterruptHandler::InterruptHandler() {
    struct sigaction action {};
    action.sa_handler = HandleInterrupt; // without SA_RESTART: waiting for input ends too
    sigaction(SIGINT, &action, nullptr);
}

InterruptHandler::~InterruptHandler() { std::signal(SIGINT, SIG_DFL); }

} // namespace host
