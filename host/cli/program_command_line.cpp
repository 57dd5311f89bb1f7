// The options of the commands for programs.
#include "host/cli/command_line.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace host {

namespace {

// With --each nothing belongs to the program, so options may stand between the files too.
void ReadFilesOfEach(RunCommandOptions& run, const std::vector<std::string>& rest) {
    CLI::App files;
    files.allow_extras();
    files.add_option("FILE", run.arguments)->required();
    files.add_option("-j,--jobs", run.jobs)->check(AboveZero());
    files.parse(std::vector<std::string>(rest.rbegin(), rest.rend()));
    if (!files.remaining().empty()) throw UsageError("there is no option \"" + files.remaining().front() + "\"");
}

void AddLimits(CLI::App& command, ProgramLimits& limits, const char* time, const char* memory) {
    CLI::Option* seconds =
        command.add_option("--time-limit", limits.seconds, time)->type_name("SECONDS")->check(AboveZero());
    if (limits.seconds > 0) seconds->capture_default_str();
    command.add_option("--memory-limit", limits.megabytes, memory)->type_name("MEGABYTES")->check(AboveZero());
}

void AddRun(CLI::App& app, CommandLine& line) {
    CLI::App& command = AddCommand(
        app, {"run", "[OPTIONS] PROGRAM [ARGUMENTS...]", "Run a program; what follows its name is the program's own",
              "  kova run convert.kova books.xml books.csv\n"
              "  kova run --leaks --time-limit 10 convert.kova books.xml\n"
              "  kova run --each check_links.kova *.html -j 4\n"
              "\n"
              "With --each the program runs once for each file, with the file's name as its argument, in\n"
              "a process of its own. What they print comes in the order of the files; one that fails does\n"
              "not stop the others. Exit code 1 if any failed.\n"});
    auto run = std::make_shared<RunCommandOptions>();
    command.prefix_command();
    CLI::Option* leaks =
        command.add_flag("--leaks", run->reportLeaks, "List what is still alive when the program has ended");
    command.add_flag("--profile", run->profile, "Show at the end where the processor time went");
    command.add_flag("--each", run->each, "Run the program for each of the files that follow it")->excludes(leaks);
    command.add_option("-j,--jobs", run->jobs, "With --each: how many at once (one for each processor)")
        ->type_name("N")
        ->check(AboveZero());
    AddLimits(command, run->limits, "End the program after this time (exit code 124)",
              "End the program when it needs more");
    AddReadBelow(command, line.host);
    AddHostOptions(command, line.host);
    // What follows "--" goes to the application.
    command.preparse_callback([&app](size_t) { app.allow_extras(); });
    command.callback([=, &command, &app, &line] {
        std::vector<std::string> rest = command.remaining();
        if (!rest.empty() && rest.front().size() > 1 && rest.front()[0] == '-') throw CLI::ExtrasError({rest.front()});
        for (const std::string& word : app.remaining()) rest.push_back(word);
        if (rest.empty()) throw CLI::RequiredError("PROGRAM");
        run->program = rest.front();
        rest.erase(rest.begin());
        if (run->each)
            ReadFilesOfEach(*run, rest);
        else
            run->arguments = rest;
        line.action = [=, &line] { return RunProgram(line.host, *run); };
    });
}

void AddCheck(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"check", "[OPTIONS] FILE...", "Say what is wrong with programs and XML files",
                         "  kova check convert.kova books.xml\n"
                         "  kova check --schema books.xsd books*.xml\n"
                         "  kova check --dtd book.xml\n"
                         "\n"
                         "Files named *.kova or without a dot are programs, which are compiled; others are XML,\n"
                         "which has to be well-formed, and valid if rules are given. Exit code 1 for any error.\n"});
    auto check = std::make_shared<CheckCommandOptions>();
    command.add_option("FILE", check->files, "Programs and XML files; - for XML on standard input");
    command.add_flag("--xml", check->xml, "All files are XML, whatever their names");
    command.add_flag("--dtd", check->ownDocumentType, "Validate by the document type that the document names");
    command.add_option("--dtd-file", check->dtd, "Validate by this DTD")->type_name("FILE");
    command.add_option("--schema", check->schema, "Validate by this XML Schema")->type_name("FILE");
    command.add_option("--relaxng", check->relaxNg, "Validate by this RELAX NG schema (XML syntax)")->type_name("FILE");
    AddHostOptions(command, line.host);
    SetAction(command, line, check, Check);
}

void AddRepl(CLI::App& app, CommandLine& line) {
    CLI::App& command = AddCommand(app, {"repl", "[OPTIONS]", "Read statements, run each at once, print expressions",
                                         "  kova repl\n"
                                         "  echo 'Len(\"word\")' | kova repl\n"});
    AddReadBelow(command, line.host);
    AddHostOptions(command, line.host);
    command.callback([&line] { line.action = [&line] { return RunRepl(line.host); }; });
}

void AddLanguageServer(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"lsp", "[OPTIONS]", "Serve an editor by the Language Server Protocol",
                         "  kova lsp\n"
                         "\n"
                         "The editor starts it and talks to it over standard input and output. It tells errors\n"
                         "while you type, completes names, shows the class reference, finds definitions and\n"
                         "formats.\n"});
    AddHostOptions(command, line.host);
    command.callback([&line] { line.action = [&line] { return RunLanguageServer(line.host); }; });
}

void AddSyntax(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"syntax", "[OPTIONS] FOLDER", "Write files that colour programs in Vim and VS Code",
                         "  kova syntax editors\n"
                         "  cp -r editors/vim/* ~/.vim/\n"
                         "  cp -r editors/vscode ~/.vscode/extensions/kova-xml\n"});
    auto folder = std::make_shared<std::string>();
    command.add_option("FOLDER", *folder, "Where to write them; it is made if need be")->required();
    AddHostOptions(command, line.host);
    SetAction(command, line, folder, WriteSyntaxFiles);
}

void AddTest(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"test", "[OPTIONS] FOLDER", "Run the programs of a folder that state what they expect",
                         "  kova test tests\n"
                         "  kova test tests --filter convert --update\n"});
    auto test = std::make_shared<TestCommandOptions>();
    command.add_option("FOLDER", test->folder, "A folder, with those inside it, or one program")
        ->required()
        ->check(CLI::ExistingPath);
    command.add_option("--filter", test->filter, "Only programs with this text in their path")->type_name("TEXT");
    command.add_flag("--update", test->update, "Rewrite the files NAME.expected that differ");
    command.add_option("--deliberate-leaks", test->leakList, "The list of what may be left alive, by name")
        ->type_name("FILE")
        ->check(CLI::ExistingFile);
    command.add_option("--data", test->data, "Folder that programs find as the variable KOVA_DATA")
        ->type_name("FOLDER")
        ->check(CLI::ExistingDirectory);
    command.add_option("-j,--jobs", test->jobs, "Programs to run at once (one for each processor)")
        ->type_name("N")
        ->check(AboveZero());
    AddLimits(command, test->limits, "Limit for each program", "Limit for each program");
    AddReadBelow(command, line.host);
    AddHostOptions(command, line.host);
    SetAction(command, line, test, RunTests);
}

} // namespace

void AddProgramCommands(CLI::App& app, CommandLine& line) {
    AddRun(app, line);
    AddCheck(app, line);
    AddRepl(app, line);
    AddTest(app, line);
    AddSyntax(app, line);
    AddLanguageServer(app, line);
}

} // namespace host
