// `kova run`: one program, from its text to its exit code.
#include "host/cli/program_session.h"
#include "host/cli/session.h"
#include "host/framework/framework.h"
#include "host/runtime/leaks.h"

#include <cstdio>
#include <iostream>

namespace host {

int RunProgram(const HostOptions& host, const RunCommandOptions& options) {
    if (options.each) return RunEach(host, options);
    StartHost(host);
    LiveCounts before = CountLive();
    SetProgramEnvironment({options.program, options.arguments});
    int result = EXIT_FAILED;
    {
        Compilation compilation = CompileFile(options.program, false);
        if (!compilation.program) return EXIT_FAILED;
        InterruptHandler interrupts;
        result = ReportOutcome(Run(*compilation.program, OptionsOf(options)));
    }
    if (options.reportLeaks) {
        std::fflush(stdout);
        if (!ReportLeaks(std::cerr, before)) std::cerr << "Nothing is left\n";
    }
    return result;
}

} // namespace host
