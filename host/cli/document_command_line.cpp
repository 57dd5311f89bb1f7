#include "host/cli/command_line.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace host {

namespace {

CLI::Option* AddFile(CLI::App& command, const std::string& name, std::filesystem::path& path,
                     const std::string& description) {
    return command.add_option(name, path, description)->required();
}

} // namespace

void AddDocumentCommands(CLI::App& app, CommandLine& line) {
    auto described = std::make_shared<std::string>();
    CLI::App* describeCommand = app.add_subcommand("describe", "Show the members of a class, or list all classes");
    describeCommand->add_option("CLASS", *described, "A class or module");
    AddHostOptions(*describeCommand, line.host);
    describeCommand->callback([=, &line] { line.action = [=, &line] { return Describe(line.host, *described); }; });

    auto events = std::make_shared<EventsCommandOptions>();
    CLI::App* eventsCommand = app.add_subcommand("events", "Print the reader's events for a file, one a line");
    AddFile(*eventsCommand, "FILE", events->file, "An XML file");
    eventsCommand->add_option("--encoding", events->encoding, "The file's encoding (default UTF-8)");
    eventsCommand->add_option("--namespaces", events->separator, "Resolve namespaces; names are URI SEP local name")
        ->type_name("SEP");
    eventsCommand->add_flag("--quiet", events->quiet, "Only the counts and the time");
    AddHostOptions(*eventsCommand, line.host);
    eventsCommand->callback([=, &line] { line.action = [=, &line] { return ShowEvents(line.host, *events); }; });

    auto xql = std::make_shared<XqlCommandOptions>();
    auto bindings = std::make_shared<std::vector<std::string>>();
    CLI::App* xqlCommand = app.add_subcommand("xql", "Query a document and print the nodes found");
    AddFile(*xqlCommand, "FILE", xql->file, "An XML file");
    xqlCommand->add_option("QUERY", xql->query, "A path expression")->required();
    xqlCommand->add_option("--namespace", *bindings, "Bind a prefix for the query (may be repeated)")
        ->type_name("PREFIX=URI")
        ->take_all()
        ->allow_extra_args(false);
    AddHostOptions(*xqlCommand, line.host);
    xqlCommand->callback([=, &line] {
        for (const std::string& binding : *bindings) {
            size_t equals = binding.find('=');
            if (equals == std::string::npos || equals == 0)
                throw CLI::ValidationError("--namespace", "PREFIX=URI is expected");
            xql->namespaces.emplace_back(binding.substr(0, equals), binding.substr(equals + 1));
        }
        line.action = [=, &line] { return Query(line.host, *xql); };
    });

    auto transform = std::make_shared<TransformCommandOptions>();
    CLI::App* transformCommand = app.add_subcommand("transform", "Transform a document by an XSLT stylesheet");
    AddFile(*transformCommand, "FILE", transform->file, "An XML file");
    AddFile(*transformCommand, "STYLESHEET", transform->stylesheet, "An XSLT stylesheet");
    transformCommand->add_option("--output,-o", transform->output, "Write the result to this file")->type_name("FILE");
    AddHostOptions(*transformCommand, line.host);
    transformCommand->callback([=, &line] { line.action = [=, &line] { return Transform(line.host, *transform); }; });
}

} // namespace host
