// `kova view`: a document as one HTML page that needs nothing else.
#include "host/cli/commands.h"
#include "host/cli/libxml2/outline.h"
#include "host/cli/libxml2/query.h"
#include "host/cli/terminal.h"
#include "host/cli/xml_input.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string_view>

namespace host {

namespace {

// Markup with places like @TITLE@.
constexpr std::string_view PAGE =
#include "host/cli/view_page.inc"
    ;

std::string EscapeHtml(std::string_view text) {
    std::string result;
    for (char c : text) {
        switch (c) {
        case '&': result += "&amp;"; break;
        case '<': result += "&lt;"; break;
        case '"': result += "&quot;"; break;
        default: result += c;
        }
    }
    return result;
}

struct Filling {
    std::string_view place;
    std::string text;
};

// Each place is filled wherever it stands; what is filled in is not looked at again.
std::string Fill(std::string_view page, const std::vector<Filling>& fillings) {
    std::string result;
    for (size_t at = 0; at < page.size();) {
        const Filling* found = nullptr;
        for (const Filling& filling : fillings)
            if (page.substr(at).starts_with(filling.place)) found = &filling;
        if (found != nullptr) {
            result += found->text;
            at += found->place.size();
        } else {
            result += page[at++];
        }
    }
    return result;
}

struct Hits {
    std::vector<_xmlNode*> nodes;
    std::string text; // of the query, and of its value if that is no list
};

Hits FindHits(_xmlDoc* document, const ViewCommandOptions& options) {
    if (options.query.empty()) return {};
    xml::Namespaces namespaces = xml::DeclaredNamespaces(document);
    namespaces.insert(namespaces.end(), options.namespaces.begin(), options.namespaces.end());
    xml::QueryResult result = xml::Evaluate(document, options.query, namespaces);
    bool isList = result.GetKind() == xml::QueryResult::Kind::NODES;
    Hits hits{isList ? result.Nodes() : std::vector<_xmlNode*>(), options.query};
    if (!isList) hits.text += " = " + result.String();
    // Namespace nodes are no part of the tree, and gone with the result.
    std::erase_if(hits.nodes, [](const _xmlNode* node) { return xml::DescribeNode(node).type == "namespace"; });
    return hits;
}

std::string MakePage(const ViewCommandOptions& options) {
    Progress progress(options.file);
    Input input = ReadInput(options.file);
    xml::Document document = ParseInput(input, xml::References::REPLACE);
    Hits hits = FindHits(document.get(), options);
    xml::Outline outline = xml::MakeOutline(document.get(), hits.nodes);
    std::string numbers;
    for (size_t hit : outline.hits) numbers += (numbers.empty() ? "" : ",") + std::to_string(hit);
    std::string title = options.file == "-" ? "XML" : std::filesystem::path(options.file).filename().native();
    return Fill(PAGE, {{"@TITLE@", EscapeHtml(title)},
                       {"@QUERY@", EscapeHtml(hits.text)},
                       {"@DATA@", std::move(outline.lines)},
                       {"@COUNT@", std::to_string(outline.count)},
                       {"@HITS@", numbers}});
}

} // namespace

int View(const ViewCommandOptions& options) {
    if (options.output.empty() && isatty(STDOUT_FILENO) != 0)
        throw UsageError("say where the page goes, as in --output page.html");
    auto write = [&](const std::string&) {
        std::string page = MakePage(options);
        if (options.output.empty())
            std::fwrite(page.data(), 1, page.size(), stdout);
        else
            ReplaceFile(options.output, page);
    };
    try {
        return ForEachFile({options.file}, write) ? EXIT_OK : EXIT_FAILED;
    } catch (const xml::QueryError& error) {
        ShowDiagnostic(error.fault);
        return EXIT_FAILED;
    }
}

} // namespace host
