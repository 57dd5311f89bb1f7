// The options of the commands for documents and classes.
#include "host/cli/command_line.h"

#include <memory>
#include <string>
#include <vector>

namespace host {

namespace {

void AddDescribe(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"describe", "[OPTIONS] [NAME]", "Show a class, module or function, or list them all",
                         "  kova describe\n"
                         "  kova describe XmlNode\n"
                         "  kova describe InStr\n"});
    auto name = std::make_shared<std::string>();
    command.add_option("NAME", *name, "A class, module or function");
    AddHostOptions(command, line.host);
    SetAction(command, line, name, Describe);
}

void AddEvents(CLI::App& app, CommandLine& line) {
    CLI::App& command = AddCommand(app, {"events", "[OPTIONS] FILE", "Print the reader's events for a file, one a line",
                                         "  kova events books.xml\n"
                                         "  kova events --namespaces '|' books.xml\n"
                                         "  kova events --quiet books.xml\n"});
    auto events = std::make_shared<EventsCommandOptions>();
    command.add_option("FILE", events->file, "An XML file")->required();
    command.add_option("--encoding", events->encoding, "The file's encoding (default UTF-8)")->type_name("NAME");
    command.add_option("--namespaces", events->separator, "Resolve namespaces; names are URI SEP local name")
        ->type_name("SEP");
    command.add_flag("--quiet", events->quiet, "Only the counts and the time");
    AddHostOptions(command, line.host);
    SetAction(command, line, events, ShowEvents);
}

void AddXql(CLI::App& app, CommandLine& line) {
    CLI::App& command = AddCommand(app, {"xql", "[OPTIONS] FILE QUERY", "Query a document and print the nodes found",
                                         "  kova xql books.xml '//title'\n"
                                         "  kova xql books.xml '//b:title' --namespace b=urn:books\n"});
    auto xql = std::make_shared<XqlCommandOptions>();
    auto bindings = std::make_shared<std::vector<std::string>>();
    command.add_option("FILE", xql->file, "An XML file")->required();
    command.add_option("QUERY", xql->query, "A path expression")->required();
    AddRepeatable(command, "--namespace", *bindings, "Bind a prefix for the query (may be repeated)")
        ->type_name("PREFIX=URI");
    AddHostOptions(command, line.host);
    command.callback([=, &line] {
        for (const std::string& binding : *bindings) {
            size_t equals = binding.find('=');
            if (equals == std::string::npos || equals == 0)
                throw CLI::ValidationError("--namespace", "PREFIX=URI is expected");
            xql->namespaces.emplace_back(binding.substr(0, equals), binding.substr(equals + 1));
        }
        line.action = [=, &line] { return Query(line.host, *xql); };
    });
}

void AddTransform(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"transform", "[OPTIONS] FILE STYLESHEET", "Transform a document by an XSLT stylesheet",
                         "  kova transform books.xml books.xsl\n"
                         "  kova transform books.xml books.xsl --output books.html\n"});
    auto transform = std::make_shared<TransformCommandOptions>();
    command.add_option("FILE", transform->file, "An XML file")->required();
    command.add_option("STYLESHEET", transform->stylesheet, "An XSLT stylesheet")->required();
    command.add_option("-o,--output", transform->output, "Write the result to this file")->type_name("FILE");
    AddHostOptions(command, line.host);
    SetAction(command, line, transform, Transform);
}

} // namespace

void AddDocumentCommands(CLI::App& app, CommandLine& line) {
    AddDescribe(app, line);
    AddEvents(app, line);
    AddXql(app, line);
    AddTransform(app, line);
}

} // namespace host
