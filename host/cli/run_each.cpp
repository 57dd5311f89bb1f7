// `kova run --each`: one program over many files, each in a process of its own, with the results in the files' order.
#include "host/cli/files.h"
#include "host/cli/job_pool.h"
#include "host/cli/program_session.h"
#include "host/cli/session.h"
#include "host/framework/framework.h"

#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

namespace host {

namespace {

class EachRun {
public:
    EachRun(Program& program, const RunCommandOptions& options)
        : program_(program), options_(options), statuses_(options.arguments.size()) {}

    int Run() {
        std::signal(SIGINT, SIG_IGN); // the running programs get it too, and end as the user wants
        RunJobs({options_.arguments.size(), static_cast<size_t>(options_.jobs),
                 [this](size_t index) { return RunOne(index); },
                 [this](size_t index, int status) { return Ended(index, status); }});
        return Summarise();
    }

private:
    std::string Place(size_t index, const char* name) const {
        return (folder_.Path() / (std::to_string(index) + name)).native();
    }

    int RunOne(size_t index) const {
        bool isRedirected = std::freopen(Place(index, ".out").c_str(), "w", stdout) != nullptr
                            && std::freopen(Place(index, ".err").c_str(), "w", stderr) != nullptr;
        if (!isRedirected) return EXIT_FAILED;
        SetProgramEnvironment({options_.program, {options_.arguments[index]}});
        InterruptHandler interrupts;
        return ReportOutcome(host::Run(program_, OptionsOf(options_)));
    }

    bool Ended(size_t index, int status) {
        statuses_[index] = status;
        isInterrupted_ = isInterrupted_ || (WIFEXITED(status) && WEXITSTATUS(status) == EXIT_INTERRUPTED);
        for (; next_ < statuses_.size() && statuses_[next_]; ++next_) Show(next_);
        return !isInterrupted_;
    }

    void Show(size_t index) {
        std::string output = ReadFile(Place(index, ".out"));
        std::string errors = ReadFile(Place(index, ".err"));
        std::fwrite(output.data(), 1, output.size(), stdout);
        std::fflush(stdout);
        std::string end = HowItEnded(*statuses_[index]);
        if (!end.empty()) {
            ++failed_;
            std::fprintf(stderr, "%s: %s\n", options_.arguments[index].c_str(), end.c_str());
        }
        std::fwrite(errors.data(), 1, errors.size(), stderr);
        for (const char* name : {".out", ".err"}) std::remove(Place(index, name).c_str());
    }

    // Empty when all went well.
    static std::string HowItEnded(int status) {
        if (WIFSIGNALED(status)) return std::string("ended by a signal: ") + strsignal(WTERMSIG(status));
        int code = WEXITSTATUS(status);
        return code == EXIT_OK ? "" : "failed with exit code " + std::to_string(code);
    }

    int Summarise() const {
        size_t left = statuses_.size() - next_;
        std::string summary = std::to_string(next_ - failed_) + " done, " + std::to_string(failed_) + " failed";
        if (left > 0) summary += ", " + std::to_string(left) + " not begun";
        if (failed_ > 0 || left > 0) std::fprintf(stderr, "kova: %s\n", summary.c_str());
        if (isInterrupted_) return EXIT_INTERRUPTED;
        return failed_ > 0 ? EXIT_FAILED : EXIT_OK;
    }

    Program& program_;
    const RunCommandOptions& options_;
    std::vector<std::optional<int>> statuses_;
    size_t next_ = 0; // the first file whose results are not shown
    size_t failed_ = 0;
    bool isInterrupted_ = false;
    TemporaryFolder folder_;
};

} // namespace

int RunEach(const HostOptions& host, const RunCommandOptions& options) {
    StartHost(host);
    Compilation compilation = CompileFile(options.program, false);
    if (!compilation.program) return EXIT_FAILED;
    return EachRun(*compilation.program, options).Run();
}

} // namespace host
