// `kova edit`: changes to what XPath expressions find, saved whole or not at all.
#include "host/cli/libxml2/edit.h"

#include "host/cli/commands.h"
#include "host/cli/libxml2/save.h"
#include "host/cli/terminal.h"
#include "host/cli/xml_input.h"

#include <cstdio>

namespace host {

namespace {

size_t Apply(const Edit& edit, const xml::Editor& editor) {
    switch (edit.kind) {
    case Edit::Kind::SET: return editor.Set(edit.query, edit.value);
    case Edit::Kind::DELETE: return editor.Delete(edit.query);
    case Edit::Kind::APPEND: return editor.Append(edit.query, edit.value);
    }
    return 0;
}

std::string Edited(const Input& input, const EditCommandOptions& options) {
    xml::Document document = ParseInput(input, xml::References::KEEP);
    xml::Namespaces namespaces = xml::DeclaredNamespaces(document.get());
    namespaces.insert(namespaces.end(), options.namespaces.begin(), options.namespaces.end());
    for (const Edit& edit : options.edits)
        if (Apply(edit, {document.get(), namespaces}) == 0)
            throw std::runtime_error(input.name + ": nothing is changed: there is no " + edit.query);
    Input result{input.name + " (edited)", xml::FileText(document.get(), input)};
    // A text can break a comment, or name what is no character: such a document is not saved.
    std::vector<Diagnostic> warnings;
    xml::Parse(result, xml::References::KEEP, warnings);
    return result.text;
}

} // namespace

int EditFiles(const EditCommandOptions& options) {
    auto edit = [&](const std::string& file) {
        Progress progress(file);
        std::string text = Edited(ReadInput(file), options);
        std::string output = options.output.empty() ? file : options.output;
        if (output == "-")
            std::fwrite(text.data(), 1, text.size(), stdout);
        else
            ReplaceFile(output, text);
    };
    try {
        return ForEachFile(FilesOrInput(options.files), edit) ? EXIT_OK : EXIT_FAILED;
    } catch (const xml::QueryError& error) {
        ShowDiagnostic(error.fault);
        return EXIT_FAILED;
    }
}

} // namespace host
