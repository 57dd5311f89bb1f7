// `kova test`: each program runs in a process of its own, forked when the plug-in is loaded.
#include "host/cli/files.h"
#include "host/cli/job_pool.h"
#include "host/cli/program_test.h"
#include "host/cli/session.h"
#include "host/cli/terminal.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr const char* LEAK_LIST = "deliberate_leaks.txt";

// How a child tells what came out, besides the text it leaves in the file "report".
constexpr int CHILD_PASSED = 0;
constexpr int CHILD_FAILED = 1;
constexpr int CHILD_UPDATED = 2;

constexpr double MAX_ALARM = 1e9; // seconds
constexpr double ALARM_DELAY = 5;

std::vector<fs::path> FindPrograms(const TestCommandOptions& options) {
    std::vector<fs::path> programs;
    if (!fs::is_directory(options.folder)) {
        programs.push_back(options.folder);
    } else {
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(options.folder))
            if (entry.is_regular_file() && entry.path().extension() == ".kova") programs.push_back(entry.path());
    }
    std::erase_if(programs,
                  [&](const fs::path& path) { return path.native().find(options.filter) == std::string::npos; });
    std::sort(programs.begin(), programs.end());
    return programs;
}

// The list given, or the one of the folder or of the nearest folder around it.
LeakList FindLeakList(const TestCommandOptions& options) {
    if (!options.leakList.empty()) return ReadLeakList(options.leakList);
    for (fs::path folder = fs::absolute(options.folder).lexically_normal();; folder = folder.parent_path()) {
        if (fs::exists(folder / LEAK_LIST)) return ReadLeakList(folder / LEAK_LIST);
        if (folder == folder.root_path()) return {};
    }
}

struct Outcome {
    bool passed = false;
    bool updated = false;
    std::string text; // what to tell about a failure
};

class TestRun {
public:
    TestRun(const TestCommandOptions& options, std::vector<fs::path> programs)
        : options_(options),
          programs_(std::move(programs)),
          leakList_(FindLeakList(options)),
          outcomes_(programs_.size()) {}

    int Run() {
        RunJobs({programs_.size(), static_cast<size_t>(options_.jobs), [this](size_t index) { return RunChild(index); },
                 [this](size_t index, int status) {
                     Ended(index, status);
                     return true;
                 }});
        size_t failed = 0;
        for (size_t i = 0; i < programs_.size(); ++i) {
            const Outcome& outcome = *outcomes_[i];
            if (outcome.updated) std::printf("updated %s\n", programs_[i].c_str());
            if (outcome.passed) continue;
            ++failed;
            std::printf("%sFAILED%s %s\n%s", color_ ? "\033[1;31m" : "", color_ ? "\033[0m" : "", programs_[i].c_str(),
                        outcome.text.c_str());
        }
        std::printf("%zu passed, %zu failed\n", programs_.size() - failed, failed);
        return failed ? EXIT_FAILED : EXIT_OK;
    }

private:
    fs::path Folder(size_t index) const { return temporary_.Path() / std::to_string(index); }

    // In the child. What it prints to standard error, a sanitizer's report too, is shown when it fails.
    int RunChild(size_t index) const {
        fs::path folder = Folder(index);
        fs::create_directories(folder / "temporary");
        setenv("TMPDIR", (folder / "temporary").c_str(), 1);
        // For whatever the limit does not end.
        alarm(static_cast<unsigned>(std::min(options_.limits.seconds, MAX_ALARM) + ALARM_DELAY));
        if (std::freopen((folder / "errors").c_str(), "w", stderr) == nullptr) return CHILD_FAILED;
        ProgramTestResult result;
        try {
            result = RunProgramTest({programs_[index], options_.update, options_.limits}, leakList_, folder);
        } catch (const std::exception& error) {
            result.failures.push_back(programs_[index].native() + ": " + error.what());
        }
        std::string text;
        for (const std::string& failure : result.failures)
            text += "  " + failure + (failure.ends_with('\n') ? "" : "\n");
        WriteFile(folder / "report", text);
        return !result.failures.empty() ? CHILD_FAILED : result.updated ? CHILD_UPDATED : CHILD_PASSED;
    }

    void Ended(size_t index, int status) {
        Outcome outcome;
        int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        outcome.passed = code == CHILD_PASSED || code == CHILD_UPDATED;
        outcome.updated = code == CHILD_UPDATED;
        if (!outcome.passed) outcome.text = DescribeFailure(index, status);
        outcomes_[index] = outcome;
        fs::remove_all(Folder(index));
    }

    std::string DescribeFailure(size_t index, int status) const {
        std::string text;
        if (fs::path report = Folder(index) / "report"; fs::exists(report)) text = ReadFile(report);
        std::string name = "  " + programs_[index].native() + ": ";
        if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM)
            text += name + "not done long after the time limit\n";
        else if (WIFSIGNALED(status))
            text += name + "ended by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status))
                    + ")\n";
        else if (text.empty())
            text += name + "ended with code " + std::to_string(WEXITSTATUS(status)) + "\n";
        if (fs::path errors = Folder(index) / "errors"; fs::exists(errors)) text += ReadFile(errors);
        return text;
    }

    const TestCommandOptions& options_;
    std::vector<fs::path> programs_;
    LeakList leakList_;
    std::vector<std::optional<Outcome>> outcomes_;
    TemporaryFolder temporary_;
    bool color_ = UsesColor(stdout);
};

} // namespace

int RunTests(const HostOptions& host, const TestCommandOptions& options) {
    std::vector<fs::path> programs = FindPrograms(options);
    if (programs.empty()) throw UsageError(options.folder.native() + ": there is no program to test");
    StartHost(host);
    if (!options.data.empty()) setenv("KOVA_DATA", fs::absolute(options.data).c_str(), 1);
    return TestRun(options, std::move(programs)).Run();
}

} // namespace host
