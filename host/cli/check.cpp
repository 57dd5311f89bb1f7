// `kova check`: programs are compiled, XML files parsed and validated.
#include "host/cli/libxml2/validation.h"
#include "host/cli/program_session.h"
#include "host/cli/session.h"
#include "host/cli/terminal.h"
#include "host/cli/xml_input.h"

#include <algorithm>
#include <filesystem>

namespace host {

namespace {

bool IsXml(const std::string& file, const CheckCommandOptions& options) {
    std::filesystem::path extension = std::filesystem::path(file).extension();
    return options.xml || file == "-" || !(extension.empty() || extension == ".kova");
}

Input RulesFrom(const std::string& file) { return file.empty() ? Input() : ReadInput(file); }

xml::Rules ReadRules(const CheckCommandOptions& options) {
    return {options.ownDocumentType, RulesFrom(options.dtd), RulesFrom(options.schema), RulesFrom(options.relaxNg)};
}

void CheckXml(const std::string& file, const xml::Validator& validator) {
    Progress progress(file);
    std::vector<Diagnostic> found = validator.Check(ReadInput(file));
    auto isError = [](const Diagnostic& fault) { return fault.severity == Severity::ERROR; };
    if (std::any_of(found.begin(), found.end(), isError)) throw xml::TextError(std::move(found));
    for (const Diagnostic& warning : found) ShowDiagnostic(warning);
}

} // namespace

int Check(const HostOptions& host, const CheckCommandOptions& options) {
    std::vector<std::string> files = FilesOrInput(options.files);
    bool isGood = true;
    auto isXml = [&](const std::string& file) { return IsXml(file, options); };
    auto programs = std::stable_partition(files.begin(), files.end(), isXml);
    if (programs != files.begin()) {
        isGood = ForEachFile({""},
                             [&](const std::string&) {
                                 xml::Validator validator(ReadRules(options));
                                 isGood = ForEachFile({files.begin(), programs},
                                                      [&](const std::string& file) { CheckXml(file, validator); });
                             })
                 && isGood;
    }
    if (programs == files.end()) return isGood ? EXIT_OK : EXIT_FAILED;
    StartHost(host);
    for (auto program = programs; program != files.end(); ++program)
        if (!CompileFile(*program, true).program) isGood = false;
    return isGood ? EXIT_OK : EXIT_FAILED;
}

} // namespace host
