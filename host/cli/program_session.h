// What the commands share that compile and run programs.
#pragma once

#include "host/cli/commands.h"
#include "host/language/program.h"

#include <filesystem>

namespace host {

// Compiles one file; the diagnostics that `showWarnings` lets through go to standard error.
Compilation CompileFile(const std::filesystem::path& path, bool showWarnings);

// Tells on standard error how a program ended; the exit code that follows from it.
int ReportOutcome(const RunResult& result);

// For a run that may need no more than the limits and prints to standard output.
RunOptions OptionsOf(const ProgramLimits& limits);
RunOptions OptionsOf(const RunCommandOptions& command);

// Ctrl-C stops the program that runs while this lives, instead of the process.
class InterruptHandler {
public:
    InterruptHandler();
    ~InterruptHandler();
    InterruptHandler(const InterruptHandler&) = delete;
    InterruptHandler& operator=(const InterruptHandler&) = delete;
};

} // namespace host
