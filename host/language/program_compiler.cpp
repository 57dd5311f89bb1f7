// Declares what sources define and compiles it.
#include "host/language/program_compiler.h"

#include "host/language/hints.h"
#include "host/runtime/class.h"
#include "host/runtime/module.h"

#include <algorithm>

namespace host::language {

bool ProgramCompiler::Compile(const std::vector<const ast::Unit*>& units) {
    for (const ast::Unit* unit : units) {
        for (const auto& cls : unit->classes) DeclareClass(*cls, unit->file);
        for (const auto& module : unit->modules) DeclareModule(*module, unit->file);
        for (const auto& delegate : unit->delegates) DeclareDelegate(*delegate);
    }
    for (auto& [cls, declaration] : delegates_) ResolveDelegate(*cls, *declaration);
    ResolveSuperclasses();
    for (ClassSymbol* cls : classes_) DeclareClassMembers(*cls);
    for (ClassSymbol* cls : classes_) AssignVirtualSlots(*cls);
    for (ModuleSymbol* module : modules_) {
        if (module->home == nullptr) DeclareModuleMembers(*module);
    }
    for (const ast::Unit* unit : units) {
        for (const auto& function : unit->functions) DeclareFunction(*function, unit->file);
        DeclareConstants(*unit);
        DeclareVariables(*unit, unit != units.back());
    }
    EvaluateConstants();
    if (!diagnostics_.HasErrors()) DefineClasses();
    CompileFunctions();

    std::vector<uint32_t> mains = CompileStatements(units);
    if (environment_.globalStorages.size() > Environment::MAX_GLOBALS) {
        diagnostics_.Error({units.back()->file, 0, 1}, "the program has too many variables");
    }
    if (diagnostics_.HasErrors()) {
        for (auto step = undo_.rbegin(); step != undo_.rend(); ++step) (*step)();
        return false;
    }
    CompleteClasses();
    environment_.mainCodes = std::move(mains);
    return true;
}

std::vector<uint32_t> ProgramCompiler::CompileStatements(const std::vector<const ast::Unit*>& units) {
    std::vector<uint32_t> mains;
    for (ModuleSymbol* module : modules_) {
        if (module->initialValues.empty()) continue;
        mains.push_back(environment_.NewCode());
        FunctionContext context;
        context.module = module;
        StatementCompiler(environment_, diagnostics_, context, *environment_.tables.codes[mains.back()])
            .CompileModuleVariables(*module);
    }
    for (const ast::Unit* unit : units) {
        mains.push_back(environment_.NewCode());
        FunctionContext context;
        StatementCompiler(environment_, diagnostics_, context, *environment_.tables.codes[mains.back()], options_)
            .CompileProgram(*unit);
    }
    return mains;
}

ValueType ProgramCompiler::ResolveType(const TypeName& type) {
    FunctionContext context;
    return type.name.empty() ? NO_TYPE : ExpressionChecker(environment_, diagnostics_, context).ResolveType(type);
}

ValueType ProgramCompiler::ResolveType(const ast::Variable& definition) {
    FunctionContext context;
    return ExpressionChecker(environment_, diagnostics_, context).ResolveType(definition);
}

bool ProgramCompiler::CheckFree(const std::string& name, const Span& span, bool isTaken) {
    if (isTaken) diagnostics_.Error(span, "\"" + name + "\" is declared already");
    return !isTaken;
}

// Declarations

void ProgramCompiler::DeclareClass(const ast::ClassDefinition& definition, uint32_t file) {
    if (definition.name.empty()) return;
    std::string key = FoldName(definition.name);
    bool isTaken = ownNames_.contains(key) || environment_.modules.contains(key);
    if (!CheckFree(definition.name, definition.span, isTaken)) return;
    if (environment_.classes.contains(key) && !environment_.RemoveProgramClass(key)) {
        diagnostics_.Error(definition.span,
                           "class \"" + definition.name + "\" cannot be replaced while it has objects or subclasses");
        return;
    }
    bool isBasic = !environment_.TypeNamed(definition.name, false).Is(TypeKind::INVALID);
    if (isBasic || host::FindClass(definition.name) != nullptr) {
        diagnostics_.Error(definition.span, "there is a class \"" + definition.name + "\" already");
        return;
    }
    environment_.NoteUse(definition.span, definition.name, definition.span);
    auto cls = std::make_unique<ClassSymbol>();
    cls->name = definition.name;
    cls->definition = &definition;
    cls->file = file;
    classes_.push_back(cls.get());
    ownNames_.insert(key);
    environment_.classes.emplace(key, std::move(cls));
    undo_.push_back([this, key] { environment_.RemoveProgramClass(key); });
}

void ProgramCompiler::DeclareDelegate(const ast::DelegateDefinition& definition) {
    const Declaration& declaration = definition.declaration;
    if (declaration.name.empty()) return;
    std::string key = FoldName(declaration.name);
    bool isTaken = !environment_.TypeNamed(declaration.name, false).Is(TypeKind::INVALID)
                   || environment_.modules.contains(key) || host::FindModule(declaration.name) != nullptr;
    if (!CheckFree(declaration.name, declaration.span, isTaken)) return;
    auto cls = std::make_unique<ClassSymbol>();
    cls->name = declaration.name;
    environment_.DefineDelegate(*cls, std::make_unique<FunctionSymbol>());
    delegates_.emplace_back(cls.get(), &declaration);
    environment_.classes.emplace(key, std::move(cls));
    undo_.push_back([this, key] { environment_.RemoveProgramClass(key); });
}

void ProgramCompiler::ResolveDelegate(ClassSymbol& cls, const Declaration& declaration) {
    FunctionSymbol& signature = *cls.delegate;
    signature.name = declaration.name;
    signature.result = ResolveType(declaration.result);
    for (const Parameter& parameter : declaration.parameters) {
        if (parameter.isExtended || parameter.defaultValue) {
            diagnostics_.Error(parameter.span, "the parameters of a delegate have a name and a type only");
        }
        signature.parameters.push_back(
            {parameter.name, ResolveType(parameter.type), parameter.isByRef, {}, parameter.span});
    }
    signature.index = environment_.NewCode();
    DescribeParameters(signature, *environment_.tables.codes[signature.index]);
}

void ProgramCompiler::DeclareModule(const ast::ModuleDefinition& definition, uint32_t file) {
    if (definition.name.empty()) return;
    std::string key = FoldName(definition.name);
    bool isTaken = ownNames_.contains(key) || environment_.classes.contains(key)
                   || host::FindModule(definition.name) != nullptr || host::FindClass(definition.name) != nullptr;
    if (!CheckFree(definition.name, definition.span, isTaken)) return;
    environment_.NoteUse(definition.span, definition.name, definition.span);
    auto module = std::make_unique<ModuleSymbol>();
    module->name = definition.name;
    module->definition = &definition;
    module->file = file;
    module->span = definition.span;
    modules_.push_back(module.get());
    ownNames_.insert(key);
    auto& entry = environment_.modules[key];
    ModuleSymbol* replaced = entry.get();
    if (entry != nullptr) environment_.replacedModules.push_back(std::move(entry));
    entry = std::move(module);
    undo_.push_back([this, key, replaced] {
        auto& modules = environment_.modules;
        environment_.replacedModules.push_back(std::move(modules[key]));
        modules.erase(key);
        if (replaced == nullptr) return;
        for (auto& kept : environment_.replacedModules) {
            if (kept.get() == replaced) modules[key] = std::move(kept);
        }
        std::erase(environment_.replacedModules, nullptr);
    });
}

std::unique_ptr<FunctionSymbol> ProgramCompiler::MakeFunction(const ast::Function& definition, uint32_t file,
                                                              bool isMethod) {
    auto function = std::make_unique<FunctionSymbol>();
    function->name = definition.declaration.name;
    function->definition = &definition;
    function->file = file;
    function->result = ResolveType(definition.declaration.result);
    function->visibility = definition.modifiers.visibility;
    bool hasDefault = false;
    for (const Parameter& parameter : definition.declaration.parameters) {
        ParameterSymbol symbol{parameter.name, ResolveType(parameter.type), parameter.isByRef, parameter.defaultValue,
                               parameter.span, parameter.isExtended};
        bool isFirst = function->parameters.empty();
        if (parameter.isExtended && (!isFirst || isMethod)) {
            diagnostics_.Error(parameter.span, isFirst
                                                   ? "a method cannot extend another type (use a function of a module)"
                                                   : "only the first parameter can be that of \"Extends\"");
        }
        if (hasDefault && !parameter.defaultValue) {
            diagnostics_.Error(parameter.span, "\"" + parameter.name + "\" needs a default value like those before it");
            symbol.defaultValue = ConstantValue();
        }
        hasDefault |= parameter.defaultValue.has_value();
        if (parameter.defaultValue && !symbol.type.Is(TypeKind::INVALID)) {
            FunctionContext context;
            ExpressionChecker checker(environment_, diagnostics_, context);
            checker.Convert(ConstantNode(*parameter.defaultValue, parameter.span), symbol.type);
            if (parameter.isByRef) diagnostics_.Error(parameter.span, "a ByRef parameter has no default value");
        }
        function->parameters.push_back(std::move(symbol));
    }
    function->index = environment_.NewCode();
    functions_.push_back(function.get());
    return function;
}

void ProgramCompiler::DeclareFunction(const ast::Function& definition, uint32_t file) {
    if (definition.declaration.name.empty()) return;
    auto function = MakeFunction(definition, file);
    auto& overloads = environment_.functions[FoldName(function->name)];
    for (auto& other : overloads) {
        if (!SameParameters(*other, *function)) continue;
        bool isOwn = std::find(functions_.begin(), functions_.end(), other.get()) != functions_.end();
        if (isOwn) {
            CheckFree(function->name, definition.declaration.span, true);
            functions_.pop_back();
            return;
        }
        // A later entry of a session replaces a function.
        FunctionSymbol* replaced = other.get();
        environment_.replacedFunctions.push_back(std::move(other));
        other = std::move(function);
        undo_.push_back([this, replaced, name = FoldName(replaced->name)] {
            for (auto& kept : environment_.replacedFunctions) {
                if (kept.get() != replaced) continue;
                for (auto& current : environment_.functions[name]) {
                    if (SameParameters(*current, *kept)) std::swap(current, kept);
                }
                return;
            }
        });
        return;
    }
    FunctionSymbol* added = function.get();
    overloads.push_back(std::move(function));
    undo_.push_back([this, added, name = FoldName(added->name)] {
        auto& known = environment_.functions[name];
        for (auto& other : known) {
            if (other.get() == added) environment_.replacedFunctions.push_back(std::move(other));
        }
        std::erase(known, nullptr);
        if (known.empty()) environment_.functions.erase(name);
    });
}

std::unique_ptr<ConstantSymbol> ProgramCompiler::MakeConstant(const std::string& name, const Span& span,
                                                              const ast::Expression* expression) {
    environment_.NoteUse(span, name, span);
    auto constant = std::make_unique<ConstantSymbol>();
    constant->name = name;
    constant->span = span;
    constant->expression = expression;
    constants_.push_back(constant.get());
    return constant;
}

void ProgramCompiler::DeclareConstants(const ast::Unit& unit) {
    for (const auto& statement : unit.statements) {
        if (statement->kind != ast::StatementKind::CONST) continue;
        std::string key = FoldName(statement->name);
        if (!CheckFree(statement->name, statement->nameSpan, !ownConstants_.insert(key).second)) continue;
        environment_.constants[key] = MakeConstant(statement->name, statement->nameSpan, statement->value.get());
        undo_.push_back([this, key] { environment_.constants.erase(key); });
    }
}

void ProgramCompiler::DeclareVariables(const ast::Unit& unit, bool isImported) {
    Names<bool> seen;
    for (const auto& statement : unit.statements) {
        if (statement->kind != ast::StatementKind::DIM) continue;
        for (const ast::Variable& definition : statement->variables) {
            std::string key = FoldName(definition.name);
            auto& entry = environment_.variables[key];
            bool isTaken = seen.contains(key) || (entry != nullptr && !options_.keepsVariables);
            if (!CheckFree(definition.name, definition.span, isTaken)) continue;
            seen.emplace(key, true);
            auto variable = std::make_unique<VariableSymbol>();
            variable->name = definition.name;
            variable->span = definition.span;
            variable->type = ResolveType(definition);
            environment_.NoteUse(definition.span, definition.name, definition.span);
            variable->isTopLevel = true;
            variable->isDeclared = false;
            if (options_.keepsVariables || isImported) {
                variable->isGlobal = true;
                variable->slot = environment_.NewGlobal(StorageOf(variable->type));
            }
            VariableSymbol* replaced = entry.get();
            if (entry != nullptr) environment_.replacedVariables.push_back(std::move(entry));
            entry = std::move(variable);
            undo_.push_back([this, key, replaced] {
                auto& variables = environment_.variables;
                environment_.replacedVariables.push_back(std::move(variables[key]));
                variables.erase(key);
                if (replaced == nullptr) return;
                for (auto& kept : environment_.replacedVariables) {
                    if (kept.get() == replaced) variables[key] = std::move(kept);
                }
                std::erase(environment_.replacedVariables, nullptr);
            });
        }
    }
}

void ProgramCompiler::ResolveSuperclasses() {
    for (ClassSymbol* cls : classes_) {
        const TypeName& super = cls->definition->super;
        if (super.name.empty()) continue;
        ValueType type = ResolveType(super);
        if (type.Is(TypeKind::OBJECT))
            cls->super = type.cls;
        else if (!type.Is(TypeKind::INVALID))
            diagnostics_.Error(super.span, type.Text() + " is no class");
    }
    OrderClasses();
    for (ClassSymbol* cls : classes_) {
        size_t depth = 0;
        for (const ClassSymbol* level = cls; level != nullptr; level = level->super) depth++;
        if (depth <= 100) continue;
        diagnostics_.Error(cls->definition->span, "too many superclasses");
        cls->super = nullptr;
    }
}

// Puts superclasses first.
void ProgramCompiler::OrderClasses() {
    enum class State { WAITING, OPEN, DONE };
    std::unordered_map<ClassSymbol*, State> states;
    for (ClassSymbol* cls : classes_) states.emplace(cls, State::WAITING);
    std::vector<ClassSymbol*> ordered;
    for (ClassSymbol* cls : classes_) {
        std::vector<ClassSymbol*> path;
        auto state = states.find(cls);
        while (state != states.end() && state->second == State::WAITING) {
            state->second = State::OPEN;
            path.push_back(state->first);
            state = states.find(state->first->super);
        }
        if (state != states.end() && state->second == State::OPEN) {
            ClassSymbol& last = *path.back();
            diagnostics_.Error(last.definition->super.span, "class \"" + last.name + "\" inherits from itself");
            last.super = nullptr;
        }
        for (auto open = path.rbegin(); open != path.rend(); ++open) {
            states[*open] = State::DONE;
            ordered.push_back(*open);
        }
    }
    classes_ = std::move(ordered);
}

void ProgramCompiler::DeclareModuleMembers(ModuleSymbol& module) {
    const ast::ModuleDefinition& definition = *module.definition;
    auto isTaken = [&module](const std::string& key) {
        return module.constants.contains(key) || module.variables.contains(key) || module.properties.contains(key);
    };
    for (const ast::ConstantDefinition& constant : definition.constants) {
        std::string key = FoldName(constant.name);
        if (!CheckFree(constant.name, constant.span, isTaken(key))) continue;
        auto symbol = MakeConstant(constant.name, constant.span, constant.value.get());
        symbol->module = &module;
        symbol->visibility = constant.modifiers.visibility;
        module.constants.emplace(key, std::move(symbol));
    }
    for (const ast::Variable& property : definition.properties) {
        std::string key = FoldName(property.name);
        if (CheckFree(property.name, property.span, isTaken(key))) DeclareModuleVariable(module, property);
    }
    for (const auto& computed : definition.computed) {
        const ast::Variable& property = computed->property;
        const std::string key = FoldName(property.name);
        auto symbol = MakeComputed(*computed, nullptr, &module);
        if (CheckFree(property.name, property.span, isTaken(key))) module.properties.emplace(key, std::move(symbol));
    }
    for (const auto& function : definition.functions) DeclareModuleFunction(module, *function, false);
}

void ProgramCompiler::DeclareModuleVariable(ModuleSymbol& module, const ast::Variable& definition) {
    auto variable = std::make_unique<VariableSymbol>();
    variable->name = definition.name;
    variable->span = definition.span;
    variable->type = ResolveType(definition);
    variable->isGlobal = true;
    variable->slot = environment_.NewGlobal(StorageOf(variable->type));
    environment_.NoteUse(definition.span, definition.name, definition.span);
    variable->module = &module;
    variable->visibility = definition.modifiers.visibility;
    module.variables.emplace(FoldName(definition.name), std::move(variable));
    module.initialValues.push_back(&definition);
}

void ProgramCompiler::DeclareModuleFunction(ModuleSymbol& module, const ast::Function& definition, bool isTaken) {
    if (definition.declaration.name.empty()) return;
    auto symbol = MakeFunction(definition, module.file, module.home != nullptr);
    symbol->module = &module;
    std::string key = FoldName(symbol->name);
    isTaken =
        isTaken || module.constants.contains(key) || module.variables.contains(key) || module.properties.contains(key);
    for (const auto& other : module.functions[key]) isTaken |= SameParameters(*other, *symbol);
    CheckFree(symbol->name, definition.declaration.span, isTaken);
    module.functions[key].push_back(std::move(symbol));
}

void ProgramCompiler::EvaluateConstants() {
    FunctionContext context;
    ExpressionChecker checker(environment_, diagnostics_, context);
    for (ConstantSymbol* constant : constants_) {
        if (constant->expression != nullptr) checker.Evaluate(*constant);
        const ModuleSymbol* module = constant->module;
        bool isEnum = module != nullptr && module->definition != nullptr && module->definition->isEnum;
        if (isEnum && !constant->type.Is(TypeKind::INTEGER) && !constant->type.Is(TypeKind::INVALID)) {
            diagnostics_.Error(constant->span, "the values of an Enum are Integers");
        }
    }
}

void ProgramCompiler::CompileFunction(FunctionSymbol& function) {
    const Span& name = function.definition->declaration.span;
    if (function.definition->kind != ast::FunctionKind::EVENT && !IsReserved(function.name))
        environment_.NoteUse(name, function.name, FirstDeclared(function).definition->declaration.span);
    FunctionContext context;
    context.cls = function.owner;
    context.module = function.module;
    context.function = &function;
    StatementCompiler(environment_, diagnostics_, context, *environment_.tables.codes[function.index])
        .CompileFunction(function);
}

void ProgramCompiler::CompileFunctions() {
    for (ClassSymbol* cls : classes_) {
        if (cls->initializer == nullptr) continue;
        FunctionContext context;
        context.cls = cls;
        context.function = cls->initializer.get();
        StatementCompiler(environment_, diagnostics_, context, *environment_.tables.codes[cls->initializer->index])
            .CompileInitializer(*cls);
    }
    for (FunctionSymbol* function : functions_) CompileFunction(*function);
}

} // namespace host::language
