// Runs one program that states what it expects, and lists where it differs.
#include "host/cli/program_test.h"

#include "host/cli/expectations.h"
#include "host/cli/files.h"
#include "host/cli/program_session.h"
#include "host/framework/framework.h"
#include "host/language/program.h"
#include "host/runtime/leaks.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>
#include <stdexcept>

namespace host {

namespace fs = std::filesystem;

namespace {

void Redirect(int stream, const fs::path& path, int flags) {
    int file = open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (file < 0 || dup2(file, stream) < 0)
        throw fs::filesystem_error("", path, std::error_code(errno, std::generic_category()));
    close(file);
}

std::string TrimmedRight(std::string text) {
    text.erase(text.find_last_not_of(" \t\r") + 1);
    return text;
}

std::string Describe(const Diagnostic& diagnostic) {
    return (diagnostic.severity == Severity::ERROR ? "error: " : "warning: ") + diagnostic.message;
}

class Runner {
public:
    Runner(const ProgramTest& test, const LeakList& leakList, const fs::path& folder)
        : test_(test),
          leakList_(leakList),
          folder_(folder),
          name_(test.program.native()),
          expectedFile_(fs::absolute(test.program).replace_extension(".expected")) {}

    ProgramTestResult Run() {
        expectations_ = ReadExpectations(ReadFile(test_.program));
        for (const ExpectedLine& mistake : expectations_.mistakes)
            Fail(mistake.line, "this is no expectation: " + mistake.text);
        hasExpectedFile_ = fs::exists(expectedFile_);
        if (hasExpectedFile_ && !expectations_.output.empty())
            Fail(expectations_.output.front().line,
                 "the output stands in " + expectedFile_.filename().native() + " too");

        fs::path program = fs::absolute(test_.program);
        if (expectations_.program) program = program.parent_path() / *expectations_.program;
        std::string text = ReadFile(program);
        WriteFile(folder_ / "input", expectations_.input);
        fs::create_directory(folder_ / "work");
        Redirect(STDIN_FILENO, folder_ / "input", O_RDONLY);
        Redirect(STDOUT_FILENO, folder_ / "output", O_WRONLY | O_CREAT | O_APPEND);
        fs::current_path(folder_ / "work");

        LiveCounts before = CountLive();
        RunText(program, text);
        CheckLeaks(before, CountLive());
        std::fflush(stdout);
        CheckOutput(ReadFile(folder_ / "output"));
        return std::move(result_);
    }

private:
    void Fail(int line, const std::string& message) {
        result_.failures.push_back(name_ + ":" + std::to_string(line) + ": " + message);
    }

    void RunText(const fs::path& program, const std::string& text) {
        SetProgramEnvironment({program, expectations_.arguments});
        Compilation compilation = Compile({Source{program.filename().native(), text, program.native()}});
        CheckDiagnostics(compilation.diagnostics);
        if (!compilation.program) return;
        CheckOutcome(host::Run(*compilation.program, OptionsOf(test_.limits)));
    }

    void CheckDiagnostics(const std::vector<Diagnostic>& diagnostics) {
        std::vector<ExpectedMessage> errors = expectations_.errors;
        std::vector<ExpectedMessage> warnings = expectations_.warnings;
        for (const Diagnostic& diagnostic : diagnostics) {
            bool isError = diagnostic.severity == Severity::ERROR;
            auto matches = [&](const ExpectedMessage& expected) {
                return expected.line == static_cast<int>(diagnostic.line)
                       && (!expected.column || *expected.column == static_cast<int>(diagnostic.column))
                       && MatchesMessage(diagnostic.message, expected.text);
            };
            std::vector<ExpectedMessage>& expected = isError ? errors : warnings;
            if (auto found = std::find_if(expected.begin(), expected.end(), matches); found != expected.end()) {
                expected.erase(found);
            } else if (isError || expectations_.errors.empty()) {
                // Warnings beside expected errors are of no interest, unless they are expected too.
                Fail(static_cast<int>(diagnostic.line),
                     "not expected, in column " + std::to_string(diagnostic.column) + ": " + Describe(diagnostic));
            }
        }
        for (const ExpectedMessage& message : errors) Fail(message.line, "expected error: " + message.text);
        for (const ExpectedMessage& message : warnings) Fail(message.line, "expected warning: " + message.text);
    }

    void CheckOutcome(const RunResult& outcome) {
        const std::optional<ExpectedException>& expected = expectations_.exception;
        const std::optional<UncaughtException>& got = outcome.exception;
        const int lastLine = outcome.stack.empty() ? 0 : static_cast<int>(outcome.stack.front().line);
        if (outcome.outcome == RunOutcome::TIME_LIMIT) Fail(lastLine, "the time limit is reached");
        if (outcome.outcome == RunOutcome::MEMORY_LIMIT) Fail(lastLine, "the memory limit is reached");
        if (!expected && !got) return;
        int line = got && !got->stack.empty() ? static_cast<int>(got->stack.front().line) : 0;
        if (!expected) {
            // A program may end itself at any place.
            if (got->className != END_EXCEPTION) Fail(line, "uncaught exception: " + FormatException(*got));
            return;
        }
        std::string wanted = "expected exception: " + expected->className
                             + (expected->number ? " " + std::to_string(*expected->number) : "")
                             + (expected->text ? ": " + *expected->text : "");
        if (!got) return Fail(expected->line.value_or(0), wanted);
        bool matches = got->className == expected->className
                       && (!expected->number || *expected->number == got->errorNumber)
                       && (!expected->text || MatchesMessage(got->message, *expected->text))
                       && (!expected->line || *expected->line == line);
        if (!matches) Fail(expected->line.value_or(line), wanted + "\n  got: " + FormatException(*got));
    }

    void CheckLeaks(const LiveCounts& before, const LiveCounts& after) {
        std::map<std::string, int> left;
        auto add = [&](const LiveCounts& counts, int sign) {
            left["String"] += sign * static_cast<int>(counts.strings);
            for (const LiveCounts::ByClass& entry : counts.classes)
                left[entry.className] += sign * static_cast<int>(entry.count);
        };
        add(after, 1);
        add(before, -1);
        std::map<std::string, int> declared;
        int line = 0;
        for (const DeclaredLeak& leak : expectations_.leaks) {
            line = leak.line;
            if (!leakList_.contains(leak.name)) Fail(line, "the list of deliberate leaks has no entry " + leak.name);
            for (const auto& [className, count] : leak.counts) declared[className] += count;
        }
        for (const auto& [className, count] : declared) left.try_emplace(className, 0);
        for (const auto& [className, count] : left)
            if (int expected = declared.contains(className) ? declared[className] : 0; count != expected)
                Fail(line, "expected to be left alive: " + std::to_string(expected) + " " + className
                               + "\n  got: " + std::to_string(count));
    }

    void CheckOutput(const std::string& text) {
        std::vector<std::string> got = SplitLines(text);
        std::vector<std::string> expected;
        if (hasExpectedFile_) {
            expected = SplitLines(ReadFile(expectedFile_));
        } else {
            for (const ExpectedLine& line : expectations_.output) expected.push_back(TrimmedRight(line.text));
            // Editors cut blanks off the end of a line, so they do not count in comments.
            for (std::string& line : got) line = TrimmedRight(line);
        }
        std::vector<Difference> differences = CompareLines(expected, got);
        if (differences.empty()) return;
        if (hasExpectedFile_ && test_.update) {
            WriteFile(expectedFile_, text);
            result_.updated = true;
            return;
        }
        constexpr size_t SHOWN = 10;
        for (size_t i = 0; i < std::min(SHOWN, differences.size()); ++i)
            ReportDifference(differences[i], expected, got);
        if (differences.size() > SHOWN)
            result_.failures.push_back(name_ + ": " + std::to_string(differences.size() - SHOWN) + " more differences");
    }

    void ReportDifference(const Difference& difference, const std::vector<std::string>& expected,
                          const std::vector<std::string>& got) {
        std::string message = "expected: " + (difference.expected ? expected[*difference.expected] : "(nothing)")
                              + "\n  got: " + (difference.got ? got[*difference.got] : "(nothing)");
        if (hasExpectedFile_) {
            size_t line = difference.expected ? *difference.expected : expected.size();
            result_.failures.push_back(fs::path(name_).replace_extension(".expected").native() + ":"
                                       + std::to_string(line + 1) + ": " + message);
        } else if (difference.expected) {
            Fail(expectations_.output[*difference.expected].line, message);
        } else {
            result_.failures.push_back(name_ + ": line " + std::to_string(*difference.got + 1)
                                       + " of the output: " + message);
        }
    }

    const ProgramTest& test_;
    const LeakList& leakList_;
    fs::path folder_;
    std::string name_; // of the program as given
    fs::path expectedFile_;
    bool hasExpectedFile_ = false;
    Expectations expectations_;
    ProgramTestResult result_;
};

} // namespace

LeakList ReadLeakList(const fs::path& file) {
    LeakList list;
    int number = 0;
    for (const std::string& line : SplitLines(ReadFile(file))) {
        ++number;
        if (line.empty() || line[0] == '#') continue;
        size_t colon = line.find(": ");
        if (colon == std::string::npos || !list.emplace(line.substr(0, colon), line.substr(colon + 2)).second)
            throw std::runtime_error(file.native() + ":" + std::to_string(number) + ": a new NAME: REASON is expected");
    }
    return list;
}

ProgramTestResult RunProgramTest(const ProgramTest& test, const LeakList& leakList, const fs::path& folder) {
    return Runner(test, leakList, folder).Run();
}

} // namespace host
