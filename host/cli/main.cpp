#include "host/cli/command_line.h"
#include "host/cli/session.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

void AddHostOptions(CLI::App& command, HostOptions& options) {
    command.add_option("--plugin", options.plugins, "Load this bundle instead of kova-xml.so (may be repeated)")
        ->type_name("PATH")
        ->check(CLI::ExistingFile);
    command.add_option("--without", options.without, "Withhold this service from the bundle (may be repeated)")
        ->type_name("SERVICE");
}

namespace {

int Main(int argc, char** argv) {
    CLI::App app("Runs programs that use the XML classes, and applies the classes to files.", "kova");
    app.set_version_flag("--version", "kova " KOVA_VERSION);
    app.require_subcommand(1);
    app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
        // Faults of a subcommand arrive as the command's own.
        std::vector<CLI::App*> used = failed->get_subcommands();
        std::string command = used.empty() ? "kova" : "kova " + used.front()->get_name();
        return "kova: " + std::string(error.what()) + "\nTry '" + command + " --help'.\n";
    });
    CommandLine line;
    AddProgramCommands(app, line);
    AddDocumentCommands(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? EXIT_OK : EXIT_USAGE;
    }
    return line.action();
}

} // namespace

} // namespace host

int main(int argc, char** argv) {
    // Output into a closed pipe, as of `kova events FILE | head`, ends the process quietly.
    std::signal(SIGPIPE, SIG_DFL);
    int result = host::EXIT_FAILED;
    try {
        result = host::Main(argc, argv);
    } catch (const host::UsageError& error) {
        std::fprintf(stderr, "kova: %s\n", error.what());
        return host::EXIT_USAGE;
    } catch (const std::filesystem::filesystem_error& error) {
        std::fprintf(stderr, "kova: %s: %s\n", error.path1().c_str(), error.code().message().c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kova: %s\n", error.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::perror("kova: standard output");
        return host::EXIT_FAILED;
    }
    return result;
}
