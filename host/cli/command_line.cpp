// What all commands' options have in common, `kova help`, and what is said about a command line that is wrong.
#include "host/cli/command_line.h"

#include "host/cli/session.h"
#include "host/language/suggestion.h"

#include <kova_version.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace host {

namespace {

constexpr const char* EXAMPLES = "Examples:\n"
                                 "  kova run program.kova\n"
                                 "  kova xql books.xml '//title'\n"
                                 "  kova transform books.xml books.xsl --output books.html\n"
                                 "  kova help xql\n"
                                 "\n"
                                 "Exit codes: 0 done; 1 the program or a test failed, a document has errors;\n"
                                 "2 the command line is wrong; 124 the time limit is reached; 130 interrupted.\n"
                                 "A program may set its own.\n";

// Usage lines as they are written for each command, and names of values without remarks.
class HelpFormatter : public CLI::Formatter {
public:
    explicit HelpFormatter(std::string usage) : usage_(std::move(usage)) { label("Positionals", "Arguments"); }
    std::string make_usage(const CLI::App*, std::string) const override { return "Usage: " + usage_ + "\n"; }
    std::string make_option_opts(const CLI::Option* option) const override {
        if (option->get_positional() || option->get_type_size() == 0) return "";
        std::string text = " " + option->get_type_name();
        if (!option->get_default_str().empty()) text += " (" + option->get_default_str() + ")";
        return text;
    }

private:
    std::string usage_;
};

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    return names;
}

std::string NoSuchCommand(const CLI::App& app, const std::string& name) {
    const bool isProgram = name.ends_with(".kova");
    return "there is no command \"" + name + "\""
           + (isProgram ? " (a program is run by \"kova run " + name + "\")"
                        : language::Suggestion(name, CommandNames(app)));
}

std::string NoSuchOption(const CLI::App& command, const std::string& name) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& known : option->get_lnames()) names.push_back("--" + known);
    return "there is no option \"" + name + "\"" + language::Suggestion(name.substr(0, name.find('=')), names);
}

// Faults of a command arrive as the application's own.
std::string FailureMessage(const CLI::App* app, const CLI::Error& error) {
    std::vector<CLI::App*> used = app->get_subcommands();
    const CLI::App& command = used.empty() ? *app : *used.front();
    std::vector<std::string> rest = app->remaining(true);
    std::string text = error.what();
    if (used.empty() && (rest.empty() || !rest.front().starts_with('-')))
        text = rest.empty() ? "a command is expected" : NoSuchCommand(*app, rest.front());
    else if (used.empty() || (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr && !rest.empty()))
        text = rest.front().starts_with('-') ? NoSuchOption(command, rest.front())
                                             : "there is one argument too many: " + rest.front();
    return "kova: " + text + "\nTry 'kova help" + (used.empty() ? "" : " " + command.get_name()) + "'.\n";
}

void AddHelpCommand(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"help", "[COMMAND]", "Show what a command does, with examples", "  kova help transform\n"});
    auto name = std::make_shared<std::string>();
    command.add_option("COMMAND", *name, "The command's name");
    command.callback([&app, &line, name] {
        line.action = [&app, name] {
            auto isMeant = [&](CLI::App* known) { return known->get_name() == *name; };
            std::vector<CLI::App*> found = app.get_subcommands(isMeant);
            if (found.empty() && !name->empty()) throw UsageError(NoSuchCommand(app, *name));
            const CLI::App& described = found.empty() ? app : *found.front();
            std::fputs(described.get_formatter()->make_help(&described, "", CLI::AppFormatMode::Normal).c_str(),
                       stdout);
            return EXIT_OK;
        };
    });
}

} // namespace

CLI::App& AddCommand(CLI::App& app, const CommandHelp& help) {
    CLI::App* command = app.add_subcommand(help.name, help.description);
    command->formatter(std::make_shared<HelpFormatter>("kova " + std::string(help.name) + " " + help.usage));
    command->footer("Examples:\n" + std::string(help.examples));
    command->group("Commands");
    command->set_help_flag("-h,--help", "Show this help");
    return *command;
}

void AddHostOptions(CLI::App& command, HostOptions& options) {
    AddRepeatable(command, "--plugin", options.plugins, "Load this bundle instead of kova-xml.so (may be repeated)")
        ->type_name("PATH");
    AddRepeatable(command, "--without", options.without, "Withhold this service from the bundle (may be repeated)")
        ->type_name("SERVICE");
}

void AddReadBelow(CLI::App& command, HostOptions& options) {
    command
        .add_option("--read-below", options.readBelow,
                    "Let stylesheets read files of this folder only, and of those inside it")
        ->type_name("FOLDER")
        ->check(CLI::ExistingDirectory);
}

CLI::Validator AboveZero() {
    return {[](const std::string& text) {
                char* end = nullptr;
                bool isGood = std::strtod(text.c_str(), &end) > 0 && *end == '\0';
                return isGood ? std::string() : "a number above 0 is expected, not " + text;
            },
            ""};
}

int RunCommandLine(int argc, char** argv) {
    CLI::App app("Runs programs that use the XML classes, and reads, queries, transforms and checks XML files.",
                 "kova");
    app.formatter(std::make_shared<HelpFormatter>("kova COMMAND [OPTIONS] [ARGUMENTS]"));
    app.footer(EXAMPLES);
    app.set_help_flag("-h,--help", "Show this help");
    app.set_version_flag("--version", "kova " KOVA_VERSION, "Show the version");
    app.require_subcommand(1);
    app.failure_message(FailureMessage);
    CommandLine line;
    AddProgramCommands(app, line);
    AddDocumentCommands(app, line);
    AddHelpCommand(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    return line.action();
}

} // namespace host
