// Types, and what names stand for: those of the program and those registered with the runtime, in one form.
#pragma once

#include "host/language/storage.h"
#include "host/runtime/class.h"
#include "host/syntax/ast.h"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace host::language {

struct Code;
struct ClassSymbol;
struct FunctionSymbol;
struct ModuleSymbol;

enum class TypeKind : uint8_t {
    INVALID, // of what was reported already: fits everywhere, so that nothing is reported twice
    NOTHING, // the result of a Sub
    NIL,
    INTEGER,
    BOOLEAN,
    DOUBLE,
    STRING,
    VARIANT,
    OBJECT,
    ARRAY,
    INT64,
    CURRENCY,
    ADDRESS, // of a function, until it is known what it is wanted for
};

struct ValueType {
    TypeKind kind = TypeKind::INVALID;
    TypeKind element = TypeKind::INVALID; // of an ARRAY
    ClassSymbol* cls = nullptr;           // of an OBJECT or of an array's elements

    bool operator==(const ValueType&) const = default;
    bool Is(TypeKind other) const { return kind == other; }
    bool IsNumber() const { return kind == TypeKind::INTEGER || IsWide(); }
    // Takes 64 bits, without being a reference.
    bool IsWide() const { return kind == TypeKind::DOUBLE || kind == TypeKind::INT64 || kind == TypeKind::CURRENCY; }
    // Held as a pointer to an object: can be Nil.
    bool IsReference() const {
        return kind == TypeKind::OBJECT || kind == TypeKind::VARIANT || kind == TypeKind::ARRAY
               || kind == TypeKind::NIL;
    }
    ValueType Element() const { return {element, TypeKind::INVALID, cls}; }
    ValueType ArrayOf() const { return {TypeKind::ARRAY, kind, cls}; }
    std::string Text() const; // as programs write it
};

inline constexpr ValueType INVALID_TYPE{};
inline constexpr ValueType NO_TYPE{TypeKind::NOTHING};
inline constexpr ValueType NIL_TYPE{TypeKind::NIL};
inline constexpr ValueType INTEGER_TYPE{TypeKind::INTEGER};
inline constexpr ValueType BOOLEAN_TYPE{TypeKind::BOOLEAN};
inline constexpr ValueType DOUBLE_TYPE{TypeKind::DOUBLE};
inline constexpr ValueType STRING_TYPE{TypeKind::STRING};
inline constexpr ValueType VARIANT_TYPE{TypeKind::VARIANT};
inline constexpr ValueType INT64_TYPE{TypeKind::INT64};
inline constexpr ValueType CURRENCY_TYPE{TypeKind::CURRENCY};

Storage StorageOf(const ValueType& type);

// The type at the boundary to native code.
Kind KindOf(TypeKind kind);
Type RuntimeType(const ValueType& type);

// What arithmetic on two numbers is done in; INVALID for a Double and a Currency.
ValueType CommonNumber(const ValueType& left, const ValueType& right);

// The type of a constant of a record or program.
ValueType TypeOf(const ConstantValue& value);

struct VariableSymbol {
    std::string name;
    Span span;
    ValueType type;
    bool isGlobal = false; // in the globals, at `slot`; otherwise in a register
    bool isParameter = false;
    bool isByRef = false;    // the register holds the variable's address
    bool isTopLevel = false; // declared by a statement outside of functions
    bool isDeclared = true;  // its Dim was passed, in the order of the text
    bool isUsed = false;     // read or assigned by a statement after its declaration
    bool isShared = false;   // used by a function other than the one that declares it
    bool isLoopVariable = false;
    const ModuleSymbol* module = nullptr;
    ast::Visibility visibility = ast::Visibility::PUBLIC;
    uint32_t slot = 0; // global or register
    int32_t live = -1; // the generator's mark of the time it holds a value
};

struct ConstantSymbol {
    std::string name;
    ValueType type;
    ConstantValue value;
    const ast::Expression* expression = nullptr; // of a program's constant not yet evaluated
    Span span;
    ClassSymbol* owner = nullptr; // of a program's constant: what is visible to its expression
    ModuleSymbol* module = nullptr;
    ast::Visibility visibility = ast::Visibility::PUBLIC;
    bool isBeingEvaluated = false;
};

struct ParameterSymbol {
    std::string name;
    ValueType type;
    bool isByRef = false;
    std::optional<ConstantValue> defaultValue;
    Span span;
    bool isExtended = false;
};

// A property with storage or accessors of its own.
struct PropertySymbol {
    std::string name;
    ValueType type;
    ClassSymbol* owner = nullptr;
    const ModuleSymbol* module = nullptr;      // of a computed one of a module, or of a class itself
    const Property* native = nullptr;          // of a registered class or module
    const ast::Variable* definition = nullptr; // of a program class
    uint32_t offset = 0;                       // of a field, from the object's address
    bool isReadable = true;
    bool isWritable = true;
    bool isField = false;             // read and written in place
    FunctionSymbol* getter = nullptr; // of a computed property
    FunctionSymbol* setter = nullptr;
    ast::Visibility visibility = ast::Visibility::PUBLIC;
};

struct FunctionSymbol {
    std::string name;
    std::vector<ParameterSymbol> parameters;
    ValueType result = NO_TYPE;
    ClassSymbol* owner = nullptr; // of a method or event handler
    ModuleSymbol* module = nullptr;
    Method* native = nullptr; // of a registered class, module or function
    const ast::Function* definition = nullptr;
    uint32_t file = 0;
    uint32_t index = 0;                 // of a program's function: of its code
    std::optional<uint32_t> plainEntry; // of its code for delegates, which pass an object
    int32_t virtualSlot = -1;           // of a program's method: in the class's table
    ast::Visibility visibility = ast::Visibility::PUBLIC;

    bool IsAssignable() const { return native != nullptr && native->setter != nullptr; }
    bool IsExtension() const { return !parameters.empty() && parameters[0].isExtended; }
    bool HasResult() const { return !result.Is(TypeKind::NOTHING); }
    size_t RequiredArguments() const;
    std::string Text() const;          // "Parse(s As String) As Boolean"
    std::string QualifiedName() const; // "Counter.Add"
};

// Constructor and Destructor, which programs do not call by name.
bool IsReserved(std::string_view member);

struct EventSymbol {
    std::string name;
    const Event* native = nullptr; // null until a program's class is defined in the runtime
    FunctionSymbol signature;      // owner: the class that declares it

    std::string Text() const { return signature.Text(); }
};

// Keys are names in lower case.
template <typename Symbol>
using Names = std::unordered_map<std::string, Symbol>;

struct ModuleSymbol {
    std::string name;
    const ast::ModuleDefinition* definition = nullptr; // null for what a class shares
    ClassSymbol* home = nullptr;                       // the class whose shared members these are
    std::vector<const ast::Variable*> initialValues;   // of the variables, in order
    uint32_t file = 0;
    Span span;
    Names<std::unique_ptr<PropertySymbol>> properties; // of registered modules, and computed ones
    Names<std::unique_ptr<VariableSymbol>> variables;  // of the program's modules
    Names<std::vector<std::unique_ptr<FunctionSymbol>>> functions;
    Names<std::unique_ptr<ConstantSymbol>> constants;
    std::vector<std::unique_ptr<FunctionSymbol>> accessors; // of computed properties
};

struct ClassSymbol {
    std::string name;
    ClassSymbol* super = nullptr;
    Class* native = nullptr; // null until a program's class is defined in the runtime
    const ast::ClassDefinition* definition = nullptr;
    uint32_t file = 0;
    uint32_t index = 0;      // in the table that instructions refer to
    bool isImported = false; // members of a registered class are there

    Names<std::unique_ptr<PropertySymbol>> properties;
    Names<std::vector<std::unique_ptr<FunctionSymbol>>> methods;
    Names<std::unique_ptr<EventSymbol>> events;
    Names<std::unique_ptr<ConstantSymbol>> constants;
    std::vector<PropertySymbol*> fields;                    // of a program class, in order
    std::vector<std::unique_ptr<FunctionSymbol>> handlers;  // of a program class
    std::vector<EventSymbol*> handledEvents;                // by handler
    std::vector<FunctionSymbol*> virtualMethods;            // with the inherited ones
    std::vector<std::unique_ptr<FunctionSymbol>> accessors; // of computed properties
    std::unique_ptr<ModuleSymbol> shared;                   // members of the class itself; may be null
    FunctionSymbol* destructor = nullptr;
    std::unique_ptr<FunctionSymbol> delegate;    // of a type of delegates: what it calls
    std::unique_ptr<FunctionSymbol> initializer; // sets the fields' initial values

    bool IsProgram() const { return definition != nullptr; }
    bool IsA(const ClassSymbol* other) const;
    // 0 for the class itself, 1 for a direct superclass …; -1 if it is no superclass.
    int DistanceTo(const ClassSymbol* other) const;
};

// The method that this one overrides, through all superclasses; itself if there is none.
const FunctionSymbol& FirstDeclared(const FunctionSymbol& function);

// Whether the two can stand for each other as far as their parameters go.
bool SameParameters(const FunctionSymbol& left, const FunctionSymbol& right);

std::string FormatParameters(const std::vector<ParameterSymbol>& parameters);

} // namespace host::language
