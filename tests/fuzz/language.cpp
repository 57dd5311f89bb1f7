// The language's lexer, parser and checker: whatever the text, compiling ends with a program or with errors.
#include "host/language/program.h"
#include "tests/fuzz/input.h"
#include "tests/host/host_fixture.h"

#include <algorithm>

using namespace host;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    PrepareHost();
    const Input input(data, size);
    std::vector<Source> sources;
    for (const std::string& text : input.texts)
        sources.push_back({"fuzz" + std::to_string(sources.size()) + ".kova", text});
    const Compilation compilation = Compile(sources);
    const bool hasErrors = std::any_of(compilation.diagnostics.begin(), compilation.diagnostics.end(),
                                       [](const Diagnostic& each) { return each.severity == Severity::ERROR; });
    Require((compilation.program == nullptr) == hasErrors, "no program, an error");
    for (const Diagnostic& diagnostic : compilation.diagnostics) FormatDiagnostic(diagnostic, true);
    if (compilation.program != nullptr) compilation.program->Disassemble();
    return 0;
}
