#include "host/cli/command_line.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace host {

namespace {

// The arguments of a program are not options of the command, so the parser knows neither them nor the program.
class RunFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App*, std::string) const override {
        return "Usage: kova run [OPTIONS] PROGRAM [ARGS...]\n";
    }
};

} // namespace

void AddProgramCommands(CLI::App& app, CommandLine& line) {
    auto run = std::make_shared<RunCommandOptions>();
    CLI::App* runCommand = app.add_subcommand("run", "Run a program");
    runCommand->prefix_command();
    runCommand->formatter(std::make_shared<RunFormatter>());
    runCommand->add_flag("--leaks", run->reportLeaks, "List what is still alive when the program has ended");
    runCommand->add_option("--time-limit", run->timeLimit, "End the program after this time")
        ->type_name("SECONDS")
        ->check(CLI::PositiveNumber);
    runCommand->add_option("--memory-limit", run->memoryLimit, "End the program when it needs more")
        ->type_name("MEGABYTES")
        ->check(CLI::PositiveNumber);
    AddHostOptions(*runCommand, line.host);
    runCommand->callback([=, &line] {
        std::vector<std::string> rest = runCommand->remaining();
        if (!rest.empty() && rest.front() == "--") rest.erase(rest.begin());
        if (rest.empty()) throw CLI::RequiredError("PROGRAM");
        if (rest.front().size() > 1 && rest.front()[0] == '-') throw CLI::ExtrasError({rest.front()});
        run->program = rest.front();
        run->arguments.assign(rest.begin() + 1, rest.end());
        line.action = [=, &line] { return RunProgram(line.host, *run); };
    });

    auto checked = std::make_shared<std::vector<std::filesystem::path>>();
    CLI::App* checkCommand = app.add_subcommand("check", "Compile programs and report what is wrong with them");
    checkCommand->add_option("PROGRAM", *checked, "The programs' files")->required();
    AddHostOptions(*checkCommand, line.host);
    checkCommand->callback([=, &line] { line.action = [=, &line] { return CheckProgram(line.host, *checked); }; });

    CLI::App* replCommand = app.add_subcommand("repl", "Read statements, run each at once, print expressions");
    AddHostOptions(*replCommand, line.host);
    replCommand->callback([&line] { line.action = [&line] { return RunRepl(line.host); }; });

    auto test = std::make_shared<TestCommandOptions>();
    CLI::App* testCommand = app.add_subcommand("test", "Run the programs of a folder that state what they expect");
    testCommand->add_option("FOLDER", test->folder, "A folder, with those inside it, or one program")
        ->required()
        ->check(CLI::ExistingPath);
    testCommand->add_option("--filter", test->filter, "Only programs with this text in their path")->type_name("TEXT");
    testCommand->add_flag("--update", test->update, "Rewrite the files NAME.expected that differ");
    testCommand->add_option("--deliberate-leaks", test->leakList, "The list of what may be left alive, by name")
        ->type_name("FILE")
        ->check(CLI::ExistingFile);
    testCommand->add_option("--data", test->data, "Folder that programs find as the variable KOVA_DATA")
        ->type_name("FOLDER")
        ->check(CLI::ExistingDirectory);
    testCommand->add_option("--jobs", test->jobs, "Programs to run at once")->check(CLI::PositiveNumber);
    testCommand->add_option("--time-limit", test->timeLimit, "Limit for each program")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    AddHostOptions(*testCommand, line.host);
    testCommand->callback([=, &line] { line.action = [=, &line] { return RunTests(line.host, *test); }; });
}

} // namespace host
