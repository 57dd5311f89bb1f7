// `kova format`: XML files, indented or in canonical form; programs, in one style.
#include "host/cli/commands.h"
#include "host/cli/libxml2/save.h"
#include "host/cli/terminal.h"
#include "host/cli/xml_input.h"
#include "host/syntax/formatter.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>

namespace host {

namespace {

std::string FormattedProgram(const Input& input) {
    SourceFiles files{std::make_shared<const SourceFile>(input.name, input.text)};
    DiagnosticList diagnostics(files);
    std::string text = FormatProgram(files, 0, diagnostics);
    if (diagnostics.HasErrors()) throw xml::TextError(diagnostics.Sorted());
    return text;
}

std::string FormattedXml(const Input& input, const FormatCommandOptions& options) {
    xml::Document document = ParseInput(input, options.canonical ? xml::References::REPLACE : xml::References::KEEP);
    if (!options.canonical) xml::Indent(document.get(), static_cast<size_t>(options.indent));
    return options.canonical ? xml::Canonical(document.get(), input) : xml::FileText(document.get(), input);
}

void FormatFile(const std::string& file, const FormatCommandOptions& options) {
    Progress progress(file);
    Input input = ReadInput(file);
    bool isProgram = std::filesystem::path(file).extension() == ".kova";
    std::string text = isProgram ? FormattedProgram(input) : FormattedXml(input, options);
    if (options.check) {
        if (text != input.text) throw std::runtime_error(file + ": is laid out in another way");
        return;
    }
    if (!options.inPlace || file == "-")
        std::fwrite(text.data(), 1, text.size(), stdout);
    else if (text != input.text)
        ReplaceFile(file, text);
}

} // namespace

int Format(const FormatCommandOptions& options) {
    bool isGood = ForEachFile(FilesOrInput(options.files), [&](const std::string& file) { FormatFile(file, options); });
    return isGood ? EXIT_OK : EXIT_FAILED;
}

} // namespace host
