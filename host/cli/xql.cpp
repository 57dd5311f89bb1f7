// `kova xql`: what an XPath expression finds in files, as markup, text, JSON or a number.
#include "host/cli/commands.h"
#include "host/cli/files.h"
#include "host/cli/json.h"
#include "host/cli/libxml2/node_path.h"
#include "host/cli/libxml2/query.h"
#include "host/cli/terminal.h"
#include "host/cli/xml_input.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace host {

namespace {

constexpr int EXIT_FOUND = 0; // as grep(1)
constexpr int EXIT_NOT_FOUND = 1;
constexpr int EXIT_ERROR = 2;

void Print(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    if (!text.ends_with('\n')) std::fputc('\n', stdout);
}

std::string JsonMember(std::string_view name, std::string_view value) {
    return ", " + JsonString(name) + ": " + JsonString(value);
}

std::string NodeAsJson(const std::string& file, const _xmlNode* node, const std::string& path) {
    xml::NodeDescription description = xml::DescribeNode(node);
    std::string text = "{\"file\": " + JsonString(file) + ", \"line\": " + std::to_string(description.line);
    text += JsonMember("path", path) + JsonMember("type", description.type);
    if (!description.name.empty()) text += JsonMember("name", description.name);
    if (description.type == "element") {
        std::string attributes;
        for (const auto& [name, value] : description.attributes) attributes += JsonMember(name, value);
        text += ", \"attributes\": {" + (attributes.empty() ? "" : attributes.substr(2)) + "}";
    }
    return text + JsonMember("text", xml::StringValue(node)) + "}";
}

class XqlReport {
public:
    XqlReport(const XqlCommandOptions& options, bool manyFiles) : options_(options), manyFiles_(manyFiles) {}

    bool hasFound = false;

    void Add(const std::string& file, const xml::QueryResult& result) {
        if (result.GetKind() != xml::QueryResult::Kind::NODES) return AddValue(result);
        std::vector<_xmlNode*> nodes = result.Nodes();
        hasFound = hasFound || !nodes.empty();
        if (options_.count) return Print((manyFiles_ ? file + ": " : "") + std::to_string(nodes.size()));
        xml::NodePaths paths;
        for (const _xmlNode* node : nodes) {
            if (options_.json)
                AddJson(NodeAsJson(file, node, paths.Of(node)));
            else
                Print(options_.text ? xml::StringValue(node) : xml::Markup(node));
        }
    }

    void End() const {
        if (options_.json) Print(isEmpty_ ? "[]" : "\n]");
    }

private:
    void AddValue(const xml::QueryResult& result) {
        using Kind = xml::QueryResult::Kind;
        std::string text = result.String();
        hasFound = hasFound || result.GetKind() != Kind::BOOLEAN || result.Boolean();
        if (!options_.json) return Print(text);
        bool isNumber = result.GetKind() == Kind::NUMBER && text != "NaN" && !text.ends_with("Infinity");
        AddJson(isNumber || result.GetKind() == Kind::BOOLEAN ? text : JsonString(text));
    }

    void AddJson(const std::string& item) {
        std::fputs(isEmpty_ ? "[\n  " : ",\n  ", stdout);
        std::fputs(item.c_str(), stdout);
        isEmpty_ = false;
    }

    const XqlCommandOptions& options_;
    bool manyFiles_;
    bool isEmpty_ = true;
};

// A name without prefix means no namespace, which surprises whoever sees names without prefix in the document.
void ExplainDefaultNamespace(const std::string& file, const xml::Namespaces& declared) {
    for (const auto& [prefix, uri] : declared)
        if (prefix == "_")
            std::fprintf(stderr, "%s: nothing found; names are in the default namespace %s: write _:name for them\n",
                         file.c_str(), uri.c_str());
}

void QueryFile(const std::string& path, const XqlCommandOptions& options, XqlReport& report) {
    Progress progress(path);
    Input input = ReadInput(path);
    xml::Document document = ParseInput(input, xml::References::REPLACE);
    xml::Namespaces declared = xml::DeclaredNamespaces(document.get());
    xml::Namespaces namespaces = declared;
    namespaces.insert(namespaces.end(), options.namespaces.begin(), options.namespaces.end());
    xml::QueryResult result = xml::Evaluate(document.get(), options.query, namespaces);
    report.Add(input.name, result);
    bool isEmpty = result.GetKind() == xml::QueryResult::Kind::NODES && result.Nodes().empty();
    if (isEmpty && options.query.find("_:") == std::string::npos) ExplainDefaultNamespace(input.name, declared);
}

bool IsNoInput(const std::string& argument) {
    std::error_code error;
    return argument != "-" && !std::filesystem::is_regular_file(argument, error);
}

} // namespace

int Query(XqlCommandOptions options) {
    TakeFirstForLast(options.files, options.query, IsNoInput); // as with grep
    std::vector<std::string> files = FilesOrInput(options.files);
    XqlReport report(options, files.size() > 1);
    try {
        bool isGood = ForEachFile(files, [&](const std::string& file) { QueryFile(file, options, report); });
        report.End();
        return !isGood ? EXIT_ERROR : report.hasFound ? EXIT_FOUND : EXIT_NOT_FOUND;
    } catch (const xml::QueryError& error) {
        ShowDiagnostic(error.fault);
        return EXIT_ERROR;
    }
}

} // namespace host
