// Everything a program consists of: sources, symbols, code and variables. A session adds to it entry by entry.
#pragma once

#include "host/language/code.h"
#include "host/language/editor_view.h"
#include "host/language/symbols.h"
#include "host/syntax/diagnostic.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace host::language {

class Environment {
public:
    Environment();
    ~Environment(); // releases the variables and removes the classes from the runtime
    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    // Program first, then what is registered with the runtime; null when there is none of the name.
    ClassSymbol* FindClass(std::string_view name);
    ModuleSymbol* FindModule(std::string_view name);
    std::vector<FunctionSymbol*> FindFunctions(std::string_view name);
    // Functions of the program, of modules too, whose first parameter Extends a type.
    std::vector<FunctionSymbol*> FindExtensions(std::string_view name);
    VariableSymbol* FindVariable(std::string_view name);
    ConstantSymbol* FindConstant(std::string_view name);

    // Members of a class or its nearest superclass that has one of the name.
    PropertySymbol* FindProperty(ClassSymbol* cls, std::string_view name);
    ConstantSymbol* FindConstant(ClassSymbol* cls, std::string_view name);
    EventSymbol* FindEvent(ClassSymbol* cls, std::string_view name);
    VariableSymbol* FindShared(const ClassSymbol* cls, std::string_view name);
    static PropertySymbol* FindSharedProperty(const ClassSymbol* cls, std::string_view name);
    std::vector<FunctionSymbol*> FindSharedFunctions(const ClassSymbol* cls, std::string_view name);
    // All overloads; those of superclasses that are hidden by the same parameters are left out.
    std::vector<FunctionSymbol*> FindMethods(ClassSymbol* cls, std::string_view name);
    // Those of the nearest class that has constructors.
    std::vector<FunctionSymbol*> FindConstructors(ClassSymbol* cls);

    // INVALID when a class of the type is unknown.
    ValueType TypeNamed(std::string_view name, bool isArray);
    ValueType FromRuntime(const Type& type);

    std::vector<std::string> MemberNames(ClassSymbol* cls);
    std::vector<std::string> MemberNames(const ModuleSymbol& module);
    std::vector<std::string> ClassNames();
    std::vector<std::string> GlobalNames(); // functions, variables, constants, modules
    std::vector<std::string> EventNames(ClassSymbol* cls);

    // Numbers in the tables.
    uint32_t StringIndex(const std::string& text);
    uint32_t DoubleIndex(double value);
    uint32_t WideIndex(int64_t value);
    uint32_t NativeIndex(const Method& method, bool isSetter, bool hasObject);
    uint32_t PropertyIndex(const Property* property);
    uint32_t EventIndex(const Event* event);
    uint32_t ClassIndex(ClassSymbol* cls);
    uint32_t ArrayClassIndex(const ValueType& elementType);
    uint32_t NewCode(); // an empty function
    // Code that ignores its first argument and calls the function, which has no object.
    uint32_t PlainEntry(FunctionSymbol& function);
    // The type of what can handle an event.
    ClassSymbol* DelegateFor(EventSymbol& event);
    // The type of delegates of this signature.
    ClassSymbol* DelegateOf(const FunctionSymbol& signature);
    // Makes the class a type of delegates.
    void DefineDelegate(ClassSymbol& cls, std::unique_ptr<FunctionSymbol> signature);
    // A variable that lives as long as the environment.
    uint32_t NewGlobal(Storage storage);

    // Remembers, if wanted, that the last word of a place is a name for what is declared elsewhere.
    void NoteUse(const Span& place, std::string_view name, const Span& declaration);

    void ReleaseGlobals();
    void ReleaseGlobal(uint32_t slot);
    // Forgets a program's class; false while objects of it live.
    bool RemoveProgramClass(const std::string& key);

    static constexpr uint32_t MAX_GLOBALS = 65536;

    SourceFiles files;
    std::set<std::string> importedPaths; // of the sources read so far
    std::set<uint32_t> filesOfLibraries; // those of them that come along
    EditorView editor;
    // With editor.notesUses: the name that was declared, for each name by file and offset.
    std::map<std::pair<uint32_t, uint32_t>, Span> uses;
    std::vector<std::unique_ptr<ast::Unit>> units;
    Names<std::unique_ptr<ClassSymbol>> classes; // of the program
    std::vector<ClassSymbol*> classOrder;        // superclasses first, once the classes are defined
    Names<std::unique_ptr<ModuleSymbol>> modules;
    Names<std::vector<std::unique_ptr<FunctionSymbol>>> functions;
    Names<std::unique_ptr<VariableSymbol>> variables;
    Names<std::unique_ptr<ConstantSymbol>> constants;
    std::vector<std::unique_ptr<ClassCode>> classCodes;
    Tables tables;
    std::vector<uint32_t> mainCodes; // of each unit, in order; run one after the other
    Slot* globals = nullptr;         // MAX_GLOBALS slots
    std::vector<Storage> globalStorages;

    // Symbols replaced by later entries of a session; code may still refer to them.
    std::vector<std::unique_ptr<ClassSymbol>> replacedClasses;
    std::vector<std::unique_ptr<FunctionSymbol>> replacedFunctions;
    std::vector<std::unique_ptr<ModuleSymbol>> replacedModules;
    std::vector<std::unique_ptr<VariableSymbol>> replacedVariables;

private:
    ClassSymbol* Import(Class* native);
    void ImportMembers(ClassSymbol& cls);
    std::unique_ptr<FunctionSymbol> ImportMethod(Method& method);
    std::unique_ptr<PropertySymbol> ImportProperty(const Property& property);

    std::unordered_map<Class*, std::unique_ptr<ClassSymbol>> imported_;
    Names<std::unique_ptr<ModuleSymbol>> importedModules_;
    Names<std::vector<std::unique_ptr<FunctionSymbol>>> importedFunctions_;
    std::unordered_map<std::string, uint32_t> stringIndices_;
    // Ordered: a hash of 32 bits may not see the bits in which numbers differ.
    std::map<uint64_t, uint32_t> doubleIndices_;
    std::map<int64_t, uint32_t> wideIndices_;
    std::map<std::pair<const Method*, bool>, uint32_t> nativeIndices_;
    std::unordered_map<const Property*, uint32_t> propertyIndices_;
    std::unordered_map<const Event*, uint32_t> eventIndices_;
    std::unordered_map<EventSymbol*, std::unique_ptr<ClassSymbol>> eventDelegates_;
    std::map<std::string, std::unique_ptr<ClassSymbol>> delegates_; // by signature
    std::unordered_map<ClassSymbol*, uint32_t> classIndices_;
    std::unordered_map<Class*, uint32_t> arrayIndices_;
};

// What the code of a function takes and returns.
void DescribeParameters(const FunctionSymbol& function, Code& code);

} // namespace host::language
