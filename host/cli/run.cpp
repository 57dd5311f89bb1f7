// `kova run`: one program, from its text to its exit code.
#include "host/cli/program_session.h"
#include "host/cli/session.h"
#include "host/framework/framework.h"
#include "host/runtime/leaks.h"

#include <chrono>
#include <cstdio>
#include <iostream>

namespace host {

int RunProgram(const HostOptions& host, const RunCommandOptions& options) {
    StartHost(host);
    LiveCounts before = CountLive();
    SetProgramEnvironment({options.program, options.arguments});
    int result = EXIT_FAILED;
    {
        Compilation compilation = CompileFile(options.program, false);
        if (!compilation.program) return EXIT_FAILED;
        RunOptions limits;
        // One buffer with what programs write through StdOut.
        limits.print = [](std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); };
        limits.timeLimit = std::chrono::milliseconds(static_cast<int64_t>(options.timeLimit * 1000));
        limits.memoryLimit = static_cast<size_t>(options.memoryLimit * 1024 * 1024);
        InterruptHandler interrupts;
        result = ReportOutcome(Run(*compilation.program, limits));
    }
    if (options.reportLeaks) {
        std::fflush(stdout);
        if (!ReportLeaks(std::cerr, before)) std::cerr << "Nothing is left\n";
    }
    return result;
}

} // namespace host
