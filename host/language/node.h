// Expressions after checking: every name is resolved, every conversion stands for itself, every node has its type.
#pragma once

#include "host/language/symbols.h"

#include <memory>
#include <vector>

namespace host::language {

enum class NodeKind : uint8_t {
    INVALID,
    CONSTANT, // constant
    VARIABLE, // variable
    REGISTER, // reg: a value the statement holds already
    SELF,
    FIELD,      // left.property, in place
    PROPERTY,   // left.property, by its functions; left is null for a module's
    ELEMENT,    // left(right)
    CALL,       // function(arguments); left is the object or null
    ARRAY_CALL, // left.operation(arguments)
    ARRAY,      // Array(arguments)
    NEW,        // New cls: function is the constructor or null
    CONVERT,    // left, by `conversion`
    NEGATE,
    NOT,
    BINARY, // left `operation` right, both of type operandType
    AND,    // of Booleans, the right side only if needed
    OR,
    IS_A,          // left IsA cls
    RAISE_EVENT,   // Self raises event(arguments)
    ADDRESS_OF,    // of one of `overloads`, of the object `left` or of none
    DELEGATE,      // function, of the object `left` or of none, as an object of cls
    DELEGATE_CALL, // left(arguments); function is its signature
    HANDLER,       // right handles the event of left from now on, or no longer (isRemoval)
    CONDITIONAL,   // If(left, arguments[0], arguments[1])
};

enum class Conversion : uint8_t {
    NONE,        // the same bits
    NUMBER,      // of one kind to another
    BOX,         // to Variant
    UNBOX,       // from Variant, checked
    CHECK_CLASS, // to a subclass, checked
};

enum class ArrayOperation : uint8_t { APPEND, INSERT, REMOVE, UBOUND, SORT, POP, INDEX_OF };

struct Node;
using NodePtr = std::unique_ptr<Node>;

struct Node {
    NodeKind kind = NodeKind::INVALID;
    Conversion conversion = Conversion::NONE;
    ArrayOperation arrayOperation = ArrayOperation::APPEND;
    ast::Operation operation = ast::Operation::ADD;
    bool isRemoval = false;
    bool isSuper = false; // CALL: exactly this method, whatever the object's class
    uint16_t reg = 0;
    ValueType type;
    Span span;
    ConstantValue constant;
    VariableSymbol* variable = nullptr;
    PropertySymbol* property = nullptr;
    FunctionSymbol* function = nullptr;
    EventSymbol* event = nullptr;
    ClassSymbol* cls = nullptr;
    std::vector<FunctionSymbol*> overloads;
    NodePtr left;
    NodePtr right;
    std::vector<NodePtr> arguments;

    bool IsInvalid() const { return kind == NodeKind::INVALID || type.Is(TypeKind::INVALID); }
    bool IsConstant() const { return kind == NodeKind::CONSTANT; }
};

NodePtr MakeNode(NodeKind kind, const ValueType& type, const Span& span);
// Stands for what was reported.
NodePtr InvalidNode(const Span& span);
NodePtr ConstantNode(ConstantValue value, const Span& span);
// What a statement holds in a register already.
NodePtr RegisterNode(uint16_t reg, const ValueType& type, const Span& span);
NodePtr VariableNode(VariableSymbol& variable, const Span& span);
// The same once more, with all below it.
NodePtr CopyNode(const Node& node);
// Whether computing it can run code of the program or of a class, which may change anything.
bool CallsCode(const Node& node);

} // namespace host::language
