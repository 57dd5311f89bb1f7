// Compiles sources into a program and runs it.
#include "host/language/program.h"

#include "host/language/importer.h"
#include "host/language/machine.h"
#include "host/language/program_compiler.h"

namespace host {

using language::Environment;
using language::Machine;

Program::Program(std::unique_ptr<Environment> environment) : environment_(std::move(environment)) {}

Program::~Program() = default;

std::string Program::Disassemble() const {
    std::string text;
    for (const auto& code : environment_->tables.codes) text += language::Disassemble(*code, environment_->tables);
    return text;
}

Compilation Compile(const std::vector<Source>& sources, EditorView editor) {
    auto environment = std::make_unique<Environment>();
    environment->editor = std::move(editor);
    DiagnosticList diagnostics(environment->files);
    std::vector<const ast::Unit*> units;
    language::Importer importer(*environment, diagnostics);
    for (const Source& source : sources) {
        environment->files.push_back(std::make_shared<SourceFile>(source.name, source.text, source.path));
        importer.Add(static_cast<uint32_t>(environment->files.size() - 1), units);
    }
    bool isCompiled = language::ProgramCompiler(*environment, diagnostics, {}).Compile(units);
    Compilation result;
    result.diagnostics = diagnostics.Sorted();
    if (isCompiled) result.program = std::make_unique<Program>(std::move(environment));
    return result;
}

RunResult Run(Program& program, const RunOptions& options) {
    Machine machine(program.GetEnvironment(), options);
    RunResult result = machine.Run(program.GetEnvironment().mainCodes);
    machine.ReleaseGlobals(result);
    return result;
}

void RequestInterrupt() { Watchdog::NoteInterrupt(); }

void ForgetInterrupt() { Watchdog::ForgetInterrupt(); }

} // namespace host
