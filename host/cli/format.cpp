// `kova format`: XML files, indented or in canonical form.
#include "host/cli/commands.h"
#include "host/cli/libxml2/save.h"
#include "host/cli/terminal.h"
#include "host/cli/xml_input.h"

#include <cstdio>

namespace host {

namespace {

void FormatFile(const std::string& file, const FormatCommandOptions& options) {
    Progress progress(file);
    Input input = ReadInput(file);
    xml::Document document = ParseInput(input, options.canonical ? xml::References::REPLACE : xml::References::KEEP);
    if (!options.canonical) xml::Indent(document.get(), static_cast<size_t>(options.indent));
    std::string text = options.canonical ? xml::Canonical(document.get(), input) : xml::FileText(document.get(), input);
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
