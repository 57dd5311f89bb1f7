// The options of the commands for documents and classes.
#include "host/cli/command_line.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace host {

namespace {

// "p=urn:p" as {"p", "urn:p"}.
std::vector<std::pair<std::string, std::string>> SplitPairs(const char* option, const char* form,
                                                            const std::vector<std::string>& texts) {
    std::vector<std::pair<std::string, std::string>> pairs;
    for (const std::string& text : texts) {
        size_t equals = text.find('=');
        if (equals == std::string::npos || equals == 0)
            throw CLI::ValidationError(option, std::string(form) + " is expected, not " + text);
        pairs.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    return pairs;
}

void AddDescribe(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"describe", "[OPTIONS] [NAME]", "Explain a class, member or function, or list them all",
                         "  kova describe\n"
                         "  kova describe XmlNode\n"
                         "  kova describe XmlNode.Xql\n"
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
    command.add_option("FILE", events->file, "An XML file, or - for standard input")->required();
    command.add_option("--encoding", events->encoding, "The file's encoding (default UTF-8)")->type_name("NAME");
    command.add_option("--namespaces", events->separator, "Resolve namespaces; names are URI SEP local name")
        ->type_name("SEP");
    command.add_flag("--quiet", events->quiet, "Only the counts and the time");
    AddHostOptions(command, line.host);
    SetAction(command, line, events, ShowEvents);
}

void AddXql(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"xql", "[OPTIONS] [FILE...] QUERY", "Print what an XPath expression finds in XML files",
                         "  kova xql books.xml '//title'\n"
                         "  kova xql books.xml 'sum(//@price)'\n"
                         "  kova xql --count *.xml '//b:title' --namespace b=urn:books\n"
                         "  curl -s https://example.com/feed | kova xql --text '//item/link'\n"
                         "\n"
                         "Prefixes that the document declares are known to the query; _ stands for its default\n"
                         "namespace. The query may stand before the files, too.\n"
                         "Exit codes: 0 found, 1 nothing found (or false), 2 an error.\n"});
    auto xql = std::make_shared<XqlCommandOptions>();
    auto arguments = std::make_shared<std::vector<std::string>>();
    auto bindings = std::make_shared<std::vector<std::string>>();
    command.add_option("FILE", *arguments, "XML files; - or none for standard input");
    command.add_option("QUERY", "An XPath 1.0 expression");
    CLI::Option* count = command.add_flag("--count", xql->count, "Print how many nodes are found");
    CLI::Option* text = command.add_flag("--text", xql->text, "Print the nodes' text without markup");
    CLI::Option* json = command.add_flag("--json", xql->json, "Print an array with place, name and text of each node");
    for (CLI::Option* option : {text, json}) option->excludes(count);
    text->excludes(json);
    AddRepeatable(command, "--namespace", *bindings, "Bind a prefix for the query (may be repeated)")
        ->type_name("PREFIX=URI");
    command.callback([=, &line] {
        if (arguments->empty()) throw CLI::RequiredError("QUERY");
        xql->query = arguments->back();
        xql->files.assign(arguments->begin(), arguments->end() - 1);
        xql->namespaces = SplitPairs("--namespace", "PREFIX=URI", *bindings);
        line.action = [=] { return Query(*xql); };
    });
}

void AddTransform(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"transform", "[OPTIONS] [FILE...] STYLESHEET", "Transform XML files by an XSLT stylesheet",
                         "  kova transform books.xml books.xsl\n"
                         "  kova transform books.xml books.xsl --param currency=EUR --output books.html\n"
                         "  kova transform chapter*.xml book.xsl --output 'html/*.html'\n"
                         "  curl -s https://example.com/feed | kova transform feed.xsl\n"
                         "\n"
                         "A stylesheet *.xsl may stand before the files, too. What it says by xsl:message goes to\n"
                         "standard error.\n"});
    auto transform = std::make_shared<TransformCommandOptions>();
    auto arguments = std::make_shared<std::vector<std::string>>();
    auto parameters = std::make_shared<std::vector<std::string>>();
    command.add_option("FILE", *arguments, "XML files; - or none for standard input");
    command.add_option("STYLESHEET", "An XSLT 1.0 stylesheet");
    AddRepeatable(command, "--param", *parameters, "Set a parameter of the stylesheet to a text (may be repeated)")
        ->type_name("NAME=VALUE");
    CLI::Option* output = command
                              .add_option("-o,--output", transform->output,
                                          "Write the result to a file, whole or not at all; * in "
                                          "its name stands for the input's name")
                              ->type_name("FILE");
    command.add_flag("--events", transform->events, "Print the events of an XmlXsltHandler, one a line")
        ->excludes(output);
    AddReadBelow(command, line.host);
    AddHostOptions(command, line.host);
    command.callback([=, &line] {
        if (arguments->empty()) throw CLI::RequiredError("STYLESHEET");
        transform->stylesheet = arguments->back();
        transform->files.assign(arguments->begin(), arguments->end() - 1);
        transform->parameters = SplitPairs("--param", "NAME=VALUE", *parameters);
        line.action = [=, &line] { return Transform(line.host, *transform); };
    });
}

void AddFormat(CLI::App& app, CommandLine& line) {
    CLI::App& command = AddCommand(
        app, {"format", "[OPTIONS] [FILE...]", "Indent XML files, or print their canonical form; lay out programs",
              "  kova format books.xml\n"
              "  kova format --in-place --indent 4 *.xml\n"
              "  kova format --canonical books.xml | sha256sum\n"
              "  kova format --check *.kova\n"
              "\n"
              "White space is changed only where it means nothing: elements that hold text stay as\n"
              "they are, and so does what has xml:space=\"preserve\".\n"});
    auto format = std::make_shared<FormatCommandOptions>();
    command.add_option("FILE", format->files,
                       "XML files, or programs named *.kova; - or none for XML from standard input");
    CLI::Option* indent = command.add_option("--indent", format->indent, "Blanks for each level")
                              ->type_name("N")
                              ->capture_default_str()
                              ->check(CLI::Range(0, 64));
    command.add_flag("--canonical", format->canonical, "Canonical XML 1.0, with comments")->excludes(indent);
    command.add_flag("-i,--in-place", format->inPlace, "Rewrite the files, each whole or not at all");
    command.add_flag("--check", format->check, "Only tell which files would change; exit code 1 if any would")
        ->excludes("--in-place");
    command.callback([=, &line] { line.action = [=] { return Format(*format); }; });
}

// Where the value begins in XPATH=VALUE: the first "=" that is not inside brackets or quotes.
size_t FindEquals(const std::string& text) {
    int depth = 0;
    char quote = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        char c = text[i];
        if (quote != 0) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '[' || c == '(') {
            ++depth;
        } else if (c == ']' || c == ')') {
            --depth;
        } else if (c == '=' && depth == 0) {
            return i;
        }
    }
    return std::string::npos;
}

Edit MakeEdit(Edit::Kind kind, const std::string& name, const std::string& text) {
    if (kind == Edit::Kind::DELETE) return {kind, text, ""};
    size_t equals = FindEquals(text);
    if (equals == std::string::npos || equals == 0)
        throw CLI::ValidationError(name, "an XPath expression, = and a value are expected, not " + text);
    return {kind, text.substr(0, equals), text.substr(equals + 1)};
}

void AddEdit(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"edit", "[OPTIONS] [FILE...]", "Change what XPath expressions find in XML files",
                         "  kova edit books.xml --set '//book[@id=\"b7\"]/@price=9.50'\n"
                         "  kova edit books.xml --delete '//comment()' --append '/books=<book id=\"b9\"/>'\n"
                         "  kova edit settings.xml --set /settings/debug=off --output -\n"
                         "  curl -s https://example.com/feed | kova edit --delete //description\n"
                         "\n"
                         "Changes are made in the order given. A file is saved when all of them found something,\n"
                         "whole or not at all; standard input goes to standard output.\n"});
    auto edit = std::make_shared<EditCommandOptions>();
    auto changes = std::make_shared<std::array<std::vector<std::string>, 3>>();
    auto bindings = std::make_shared<std::vector<std::string>>();
    command.add_option("FILE", edit->files, "XML files; - or none for standard input");
    const std::array<CLI::Option*, 3> options = {
        AddRepeatable(command, "--set", changes->at(0), "Give nodes a text; PATH/@NAME adds the attribute if need be")
            ->type_name("XPATH=VALUE"),
        AddRepeatable(command, "--delete", changes->at(1), "Remove nodes")->type_name("XPATH"),
        AddRepeatable(command, "--append", changes->at(2), "Add markup or text at the end of elements")
            ->type_name("XPATH=XML"),
    };
    AddRepeatable(command, "--namespace", *bindings, "Bind a prefix for the expressions (may be repeated)")
        ->type_name("PREFIX=URI");
    command.add_option("-o,--output", edit->output, "Write to this file (- for standard output) instead")
        ->type_name("FILE");
    command.callback([=, &command, &line] {
        // Changes in the order of the command line, whatever their kinds.
        std::array<size_t, 3> next{};
        for (const CLI::Option* option : command.parse_order()) {
            auto kind = static_cast<size_t>(std::find(options.begin(), options.end(), option) - options.begin());
            if (kind == options.size()) continue;
            edit->edits.push_back(
                MakeEdit(static_cast<Edit::Kind>(kind), option->get_name(), changes->at(kind)[next.at(kind)++]));
        }
        if (edit->edits.empty()) throw CLI::RequiredError("a change: --set, --delete or --append");
        if (edit->files.size() > 1 && !edit->output.empty() && edit->output != "-")
            throw CLI::ValidationError("--output", "one file cannot take the results of many");
        edit->namespaces = SplitPairs("--namespace", "PREFIX=URI", *bindings);
        line.action = [=] { return EditFiles(*edit); };
    });
}

void AddView(CLI::App& app, CommandLine& line) {
    CLI::App& command =
        AddCommand(app, {"view", "[OPTIONS] FILE", "Make an HTML page that shows an XML file as a tree",
                         "  kova view books.xml --output books.html\n"
                         "  kova view books.xml --query '//book[price > 15]' --output books.html\n"
                         "\n"
                         "The page needs nothing else: it folds, searches, and steps through what the query found.\n"});
    auto view = std::make_shared<ViewCommandOptions>();
    auto bindings = std::make_shared<std::vector<std::string>>();
    command.add_option("FILE", view->file, "An XML file; - for standard input")->required();
    command.add_option("--query", view->query, "Mark what this XPath expression finds")->type_name("XPATH");
    AddRepeatable(command, "--namespace", *bindings, "Bind a prefix for the query (may be repeated)")
        ->type_name("PREFIX=URI");
    command.add_option("-o,--output", view->output, "Write the page to this file")->type_name("FILE");
    command.callback([=, &line] {
        view->namespaces = SplitPairs("--namespace", "PREFIX=URI", *bindings);
        line.action = [=] { return View(*view); };
    });
}

} // namespace

void AddDocumentCommands(CLI::App& app, CommandLine& line) {
    AddDescribe(app, line);
    AddEvents(app, line);
    AddXql(app, line);
    AddTransform(app, line);
    AddFormat(app, line);
    AddEdit(app, line);
    AddView(app, line);
}

} // namespace host
