// Interactive sessions and their completions.
#include "host/language/importer.h"
#include "host/language/inspector.h"
#include "host/language/machine.h"
#include "host/language/program.h"
#include "host/language/program_compiler.h"
#include "host/syntax/lexer.h"
#include "host/syntax/parser.h"

#include <algorithm>

namespace host {

using language::Environment;
using language::Machine;

Session::Session(RunOptions options) : environment_(std::make_unique<Environment>()), options_(std::move(options)) {}

Session::~Session() {
    Machine machine(*environment_, options_);
    RunResult ignored;
    machine.ReleaseGlobals(ignored);
}

Session::Result Session::Enter(const std::string& text) {
    Result result;
    Environment& environment = *environment_;
    auto file = static_cast<uint32_t>(environment.files.size());
    std::string name = "entry " + std::to_string(entryCount_ + 1);
    environment.files.push_back(std::make_shared<SourceFile>(name, text));
    DiagnosticList diagnostics(environment.files);
    auto unit = Parse(environment.files, file, diagnostics, {.allowExpressions = true});
    if (unit->isIncomplete) {
        environment.files.pop_back();
        result.incomplete = true;
        return result;
    }
    entryCount_++;
    std::vector<const ast::Unit*> units;
    std::set<std::string> importedBefore = environment.importedPaths;
    language::Importer(environment, diagnostics).AddImports(*unit, units);
    units.push_back(unit.get());
    environment.units.push_back(std::move(unit));
    language::CompileOptions options{.printsExpressions = true, .keepsVariables = true};
    bool isCompiled = language::ProgramCompiler(environment, diagnostics, options).Compile(units);
    result.diagnostics = diagnostics.Sorted();
    if (!isCompiled) {
        environment.importedPaths = std::move(importedBefore);
        return result;
    }

    Machine machine(environment, options_);
    // What an entry's variables of the same names held is not reachable any more.
    for (const auto& variable : environment.replacedVariables) environment.ReleaseGlobal(variable->slot);
    environment.replacedVariables.clear();
    result.run = machine.Run(environment.mainCodes);
    return result;
}

namespace {

std::vector<std::string> Matching(std::vector<std::string> names, std::string_view prefix) {
    std::erase_if(names, [prefix](const std::string& name) {
        return name.size() < prefix.size() || !SameName(std::string_view(name).substr(0, prefix.size()), prefix);
    });
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

} // namespace

Session::Completions Session::Complete(std::string_view line) {
    Completions result;
    size_t word = line.find_last_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_");
    word = word == std::string_view::npos ? 0 : word + 1;
    std::string_view prefix = line.substr(word);
    result.wordLength = prefix.size();
    Environment& environment = *environment_;
    bool isMember = word > 0 && line[word - 1] == '.';
    if (!isMember) {
        std::vector<std::string> names = environment.GlobalNames();
        for (std::string& cls : environment.ClassNames()) names.push_back(std::move(cls));
        for (std::string_view keyword : KeywordNames()) names.emplace_back(keyword);
        result.words = Matching(std::move(names), prefix);
        return result;
    }
    std::string_view before = line.substr(0, word - 1);
    std::string object(before.substr(StartOfExpression(before)));
    if (language::ModuleSymbol* module = environment.FindModule(object)) {
        result.words = Matching(environment.MemberNames(*module), prefix);
        return result;
    }
    SourceFiles files{std::make_shared<const SourceFile>("", object)};
    DiagnosticList diagnostics(files);
    ast::ExpressionPtr expression = ParseExpression(files, 0, diagnostics);
    if (expression == nullptr) return result;
    language::FunctionContext context;
    context.isTopLevel = true;
    language::NodePtr node = language::ExpressionChecker(environment, diagnostics, context).Check(*expression);
    if (node->type.Is(language::TypeKind::OBJECT)) {
        result.words = Matching(environment.MemberNames(node->type.cls), prefix);
    } else if (node->type.Is(language::TypeKind::ARRAY)) {
        result.words = Matching({"Append", "IndexOf", "Insert", "Pop", "Remove", "Sort", "Ubound"}, prefix);
    } else if (language::ClassSymbol* cls = environment.FindClass(object)) {
        std::vector<std::string> names;
        for (; cls != nullptr; cls = cls->super) {
            for (const auto& [key, constant] : cls->constants) names.push_back(constant->name);
        }
        result.words = Matching(std::move(names), prefix);
    }
    return result;
}

} // namespace host
