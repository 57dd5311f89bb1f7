// Reading of XML files, many at a time.
#include "host/cli/xml_input.h"

#include "host/cli/terminal.h"

#include <cstdio>
#include <stdexcept>

namespace host {

xml::Document ParseInput(const Input& input, xml::References references) {
    std::vector<Diagnostic> warnings;
    xml::Document document = xml::Parse(input, references, warnings);
    for (const Diagnostic& warning : warnings) ShowDiagnostic(warning);
    return document;
}

bool ForEachFile(const std::vector<std::string>& files, const std::function<void(const std::string& file)>& action) {
    bool isGood = true;
    for (const std::string& file : files) {
        try {
            action(file);
            continue;
        } catch (const xml::TextError& error) {
            for (const Diagnostic& fault : error.faults) ShowDiagnostic(fault);
        } catch (const std::runtime_error& error) {
            std::fflush(stdout);
            std::fprintf(stderr, "kova: %s\n", error.what());
        }
        isGood = false;
    }
    return isGood;
}

} // namespace host
