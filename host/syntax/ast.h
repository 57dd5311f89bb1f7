// The syntax tree of a program, as it is written: nothing is resolved, every part knows its place.
#pragma once

#include "host/syntax/declaration.h"
#include "host/syntax/source.h"
#include "host/syntax/token.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host::ast {

enum class ExpressionKind : uint8_t {
    INVALID, // stands for what could not be parsed; reported already
    CONSTANT,
    NAME,
    MEMBER, // left.name
    CALL,   // left(arguments): a call, an element, a cast
    NEW,    // New name(arguments)
    NEGATE, // -left
    NOT,    // Not left
    BINARY, // left `operation` right
    IS_A,   // left IsA name
    SELF,
    SUPER,
    CONDITIONAL, // If(condition, value, value): the arguments
    ARRAY,       // [arguments]
    RAISE_EVENT, // RaiseEvent name(arguments)
    WITH_OBJECT, // what the With around it names, before a dot
    ADDRESS_OF,  // AddressOf left: the name of a function, or object.method
};

enum class Operation : uint8_t {
    ADD,
    SUBTRACT,
    MULTIPLY,
    DIVIDE,
    INTEGER_DIVIDE,
    MODULO,
    POWER,
    EQUAL,
    NOT_EQUAL,
    LESS,
    LESS_EQUAL,
    GREATER,
    GREATER_EQUAL,
    IS,
    AND,
    OR,
    XOR,
};
inline bool IsComparison(Operation operation) {
    return operation >= Operation::EQUAL && operation <= Operation::GREATER_EQUAL;
}

struct Expression;
using ExpressionPtr = std::unique_ptr<Expression>;

struct Expression {
    ExpressionKind kind = ExpressionKind::INVALID;
    Operation operation = Operation::ADD;
    bool hasParentheses = false; // CALL and NEW: an argument list is written
    uint16_t depth = 1;          // height of this tree, bounded by the parser
    Span span;
    Span nameSpan; // of `name`, or of the operator of a BINARY
    std::string name;
    ConstantValue constant;
    ExpressionPtr left;
    ExpressionPtr right;
    std::vector<ExpressionPtr> arguments;
};

struct Statement;
using Block = std::vector<std::unique_ptr<Statement>>;

enum class StatementKind : uint8_t {
    DIM,      // variables
    CONST,    // name = value
    ASSIGN,   // target = value
    CALL,     // value
    IF,       // branches, elseBody
    SELECT,   // value, branches, elseBody
    FOR,      // name = value To limit Step step; body
    FOR_EACH, // name In value; body
    WHILE,    // value, body
    DO,       // value (may be missing), body
    WITH,     // value, body
    EXIT,     // loop
    CONTINUE, // loop
    RETURN,   // value (may be missing)
    TRY,      // body, branches, elseBody as Finally
    RAISE,    // value
    PRINT,    // value (may be missing)
    REDIM,    // target(value)
    HANDLER,  // AddHandler target, value; or RemoveHandler
};

// Who may use a member: everyone, its class and the classes below, or its class or module alone.
enum class Visibility : uint8_t { PUBLIC, PROTECTED, PRIVATE };

// What stands before the definition of a member.
struct Modifiers {
    Visibility visibility = Visibility::PUBLIC;
    bool isShared = false; // of the class, not of each object
    Span span;             // of the last word, empty without any
};

// One variable of a Dim or a property of a class or module.
struct Variable {
    std::string name;
    Span span;
    TypeName type;
    ExpressionPtr bound; // upper bound of an array: Dim a(9) As Integer
    // The initial value; for `As New C(…)` the NEW expression. Shared by the names of one group.
    std::shared_ptr<Expression> value;
    Modifiers modifiers; // of a property
};

// A test of a Case: a value, `from To to`, or `Is < value`.
struct CaseTest {
    ExpressionPtr value;
    ExpressionPtr upper;                    // of a range
    Operation operation = Operation::EQUAL; // of `Is`
};

struct Branch {
    Span span;                   // of the line that starts it
    ExpressionPtr condition;     // If
    std::vector<CaseTest> tests; // Select
    std::string name;            // Catch: the variable, may be empty
    Span nameSpan;
    TypeName type; // Catch: the class, empty for all
    Block body;
};

enum class LoopKind : uint8_t { ANY, FOR, WHILE, DO, FUNCTION };

struct Statement {
    StatementKind kind = StatementKind::CALL;
    LoopKind loop = LoopKind::ANY;      // EXIT, CONTINUE; FUNCTION for `Exit Sub`
    bool isUntil = false;               // DO
    bool isRemoval = false;             // HANDLER
    bool isStatic = false;              // DIM
    bool testsAtEnd = false;            // DO
    bool isDescending = false;          // FOR … DownTo
    std::optional<Operation> operation; // ASSIGN: += and the like
    Span operationSpan;
    bool hasElse = false; // IF, SELECT, TRY: elseBody is written
    Span span;            // of the statement, without the blocks in it
    Span endSpan;         // of what closes it
    std::string name;
    Span nameSpan;
    Span nextSpan; // FOR, FOR_EACH: of the name behind Next, if there is one
    TypeName type; // FOR, FOR_EACH: of a variable declared there, else empty
    std::vector<Variable> variables;
    ExpressionPtr target;
    ExpressionPtr value;
    ExpressionPtr limit;
    ExpressionPtr step;
    std::vector<Branch> branches;
    Block body;
    Block elseBody;
};

struct ConstantDefinition {
    std::string name;
    Span span;
    ExpressionPtr value;
    Modifiers modifiers;
};

enum class FunctionKind : uint8_t { SUB, FUNCTION, EVENT };

struct Function {
    FunctionKind kind = FunctionKind::SUB;
    Declaration declaration;
    Span span;    // of the first line
    Span endSpan; // of the line that ends it
    Block body;
    Modifiers modifiers;
};

// Property name As Type, with a block that gets and one that sets it.
struct ComputedProperty {
    Variable property; // without a value
    std::unique_ptr<Function> getter;
    std::unique_ptr<Function> setter;
};

struct ClassDefinition {
    std::string name;
    Span span; // of the name
    TypeName super;
    std::vector<Variable> properties;
    std::vector<ConstantDefinition> constants;
    std::vector<std::unique_ptr<Function>> functions; // methods and event handlers
    std::vector<Declaration> events;                  // that it declares
    std::vector<std::unique_ptr<ComputedProperty>> computed;
};

struct ModuleDefinition {
    std::string name;
    Span span;
    bool isEnum = false; // Enum: constants that number themselves
    std::vector<Variable> properties;
    std::vector<ConstantDefinition> constants;
    std::vector<std::unique_ptr<Function>> functions;
    std::vector<std::unique_ptr<ComputedProperty>> computed;
};

// Delegate Sub Name(parameters), or Delegate Function
struct DelegateDefinition {
    Declaration declaration;
};

// Import "name" or Import <name>
struct Import {
    std::string name;
    bool isLibrary = false;
    Span span;
};

// One source.
struct Unit {
    uint32_t file = 0;
    std::vector<Import> imports;
    Block statements;
    std::vector<std::unique_ptr<Function>> functions;
    std::vector<std::unique_ptr<ClassDefinition>> classes;
    std::vector<std::unique_ptr<ModuleDefinition>> modules;
    std::vector<std::unique_ptr<DelegateDefinition>> delegates;
    bool isIncomplete = false; // the text ends within a block or a continued line
};

} // namespace host::ast
