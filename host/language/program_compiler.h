// Compiles whole sources into an environment: declares what they define, then compiles the bodies.
#pragma once

#include "host/language/statement_compiler.h"

#include <functional>
#include <set>

namespace host::language {

class ProgramCompiler {
public:
    ProgramCompiler(Environment& environment, DiagnosticList& diagnostics, CompileOptions options)
        : environment_(environment), diagnostics_(diagnostics), options_(options) {}

    // Adds the units, whose statements run in this order. After errors the environment is as before,
    // except that classes which were to be replaced are gone.
    bool Compile(const std::vector<const ast::Unit*>& units);

private:
    void DeclareClass(const ast::ClassDefinition& definition, uint32_t file);
    void DeclareModule(const ast::ModuleDefinition& definition, uint32_t file);
    void DeclareDelegate(const ast::DelegateDefinition& definition);
    void ResolveDelegate(ClassSymbol& cls, const Declaration& declaration);
    void DeclareFunction(const ast::Function& definition, uint32_t file);
    void DeclareVariables(const ast::Unit& unit, bool isImported);
    std::vector<uint32_t> CompileStatements(const std::vector<const ast::Unit*>& units);
    void DeclareConstants(const ast::Unit& unit);
    void ResolveSuperclasses();
    void OrderClasses();
    void DeclareClassMembers(ClassSymbol& cls);
    void DeclareModuleMembers(ModuleSymbol& module);
    void DeclareModuleVariable(ModuleSymbol& module, const ast::Variable& definition);
    void DeclareModuleFunction(ModuleSymbol& module, const ast::Function& definition, bool isTaken);
    ModuleSymbol& SharedPart(ClassSymbol& cls);
    void DeclareShared(ClassSymbol& cls, const ast::Variable& definition);
    std::unique_ptr<PropertySymbol> MakeComputed(const ast::ComputedProperty& definition, ClassSymbol* cls,
                                                 ModuleSymbol* module);
    void DeclareComputed(ClassSymbol& cls, const ast::ComputedProperty& definition);
    bool CheckPropertyName(ClassSymbol& cls, const ast::Variable& definition);
    void DeclareProperty(ClassSymbol& cls, const ast::Variable& definition);
    void DeclareMethod(ClassSymbol& cls, const ast::Function& definition);
    void DeclareEvent(ClassSymbol& cls, const Declaration& declaration);
    std::string EventHint(ClassSymbol& cls, const std::string& name);
    void DeclareHandler(ClassSymbol& cls, const ast::Function& definition);
    void AssignVirtualSlots(ClassSymbol& cls);
    std::unique_ptr<ConstantSymbol> MakeConstant(const std::string& name, const Span& span,
                                                 const ast::Expression* expression);
    std::unique_ptr<FunctionSymbol> MakeFunction(const ast::Function& definition, uint32_t file, bool isMethod = false);
    void EvaluateConstants();
    void DefineClasses();
    void DefineClass(ClassSymbol& cls);
    void CompileFunctions();
    void CompileFunction(FunctionSymbol& function);
    void CompleteClasses();
    ValueType ResolveType(const TypeName& type);
    ValueType ResolveType(const ast::Variable& definition);
    bool CheckFree(const std::string& name, const Span& span, bool isTaken);

    Environment& environment_;
    DiagnosticList& diagnostics_;
    CompileOptions options_;
    std::vector<ClassSymbol*> classes_; // of these units; superclasses first after ResolveSuperclasses
    std::vector<ModuleSymbol*> modules_;
    std::set<std::string> ownNames_;     // of these classes and modules
    std::set<std::string> ownConstants_; // outside of classes and modules
    std::vector<std::pair<ClassSymbol*, const Declaration*>> delegates_;
    std::vector<FunctionSymbol*> functions_;
    std::vector<ConstantSymbol*> constants_;
    std::vector<std::function<void()>> undo_; // what takes back the declarations after errors
};

} // namespace host::language
