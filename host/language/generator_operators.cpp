// The part of the generator that computes binary operators and branches on conditions.
#include "host/language/generator.h"

#include <algorithm>

namespace host::language {

using ast::Operation;

namespace {

// The comparison that holds exactly when the other does not; for Integers only.
Operation Negated(Operation operation) {
    switch (operation) {
    case Operation::EQUAL: return Operation::NOT_EQUAL;
    case Operation::NOT_EQUAL: return Operation::EQUAL;
    case Operation::LESS: return Operation::GREATER_EQUAL;
    case Operation::LESS_EQUAL: return Operation::GREATER;
    case Operation::GREATER: return Operation::LESS_EQUAL;
    default: return Operation::LESS;
    }
}

// Comparisons as equal, unequal, less and less-or-equal; the others exchange their sides.
struct Comparison {
    int index;
    bool isExchanged;
};

Comparison ComparisonOf(Operation operation) {
    switch (operation) {
    case Operation::EQUAL: return {0, false};
    case Operation::NOT_EQUAL: return {1, false};
    case Operation::LESS: return {2, false};
    case Operation::LESS_EQUAL: return {3, false};
    case Operation::GREATER: return {2, true};
    default: return {3, true};
    }
}

bool IsIntegerComparison(const Node& node) {
    return node.kind == NodeKind::BINARY && IsComparison(node.operation) && node.left->type.Is(TypeKind::INTEGER);
}

bool IsSmallConstant(const Node& node) {
    if (!node.IsConstant() || !node.type.Is(TypeKind::INTEGER)) return false;
    int32_t value = std::get<int32_t>(node.constant);
    return value >= INT16_MIN && value <= INT16_MAX;
}

bool IsVariantPlusInteger(const Node& node) {
    const Node& right = *node.right;
    return node.operation == Operation::ADD && right.kind == NodeKind::CONVERT && right.conversion == Conversion::BOX
           && right.left->type.Is(TypeKind::INTEGER);
}

struct Arithmetic {
    Operation operation;
    Opcode opcode;
};

constexpr Arithmetic INTEGERS[] = {
    {Operation::ADD, Opcode::ADD_INTEGER},
    {Operation::SUBTRACT, Opcode::SUBTRACT_INTEGER},
    {Operation::MULTIPLY, Opcode::MULTIPLY_INTEGER},
    {Operation::INTEGER_DIVIDE, Opcode::DIVIDE_INTEGER},
    {Operation::MODULO, Opcode::MODULO_INTEGER},
    {Operation::AND, Opcode::AND_INTEGER},
    {Operation::OR, Opcode::OR_INTEGER},
    {Operation::XOR, Opcode::XOR_INTEGER},
};
constexpr Arithmetic DOUBLES[] = {
    {Operation::ADD, Opcode::ADD_DOUBLE},           {Operation::SUBTRACT, Opcode::SUBTRACT_DOUBLE},
    {Operation::MULTIPLY, Opcode::MULTIPLY_DOUBLE}, {Operation::DIVIDE, Opcode::DIVIDE_DOUBLE},
    {Operation::MODULO, Opcode::MODULO_DOUBLE},     {Operation::POWER, Opcode::POWER_DOUBLE},
};
constexpr Arithmetic INT64S[] = {
    {Operation::ADD, Opcode::ADD_WIDE},
    {Operation::SUBTRACT, Opcode::SUBTRACT_WIDE},
    {Operation::MULTIPLY, Opcode::MULTIPLY_INT64},
    {Operation::INTEGER_DIVIDE, Opcode::DIVIDE_INT64},
    {Operation::MODULO, Opcode::MODULO_WIDE},
    {Operation::AND, Opcode::AND_INT64},
    {Operation::OR, Opcode::OR_INT64},
    {Operation::XOR, Opcode::XOR_INT64},
};
constexpr Arithmetic CURRENCIES[] = {
    {Operation::ADD, Opcode::ADD_WIDE},
    {Operation::SUBTRACT, Opcode::SUBTRACT_WIDE},
    {Operation::MULTIPLY, Opcode::MULTIPLY_CURRENCY},
    {Operation::DIVIDE, Opcode::DIVIDE_CURRENCY},
    {Operation::MODULO, Opcode::MODULO_WIDE},
};
constexpr Arithmetic VARIANTS[] = {
    {Operation::ADD, Opcode::VARIANT_ADD},
    {Operation::SUBTRACT, Opcode::VARIANT_SUBTRACT},
    {Operation::MULTIPLY, Opcode::VARIANT_MULTIPLY},
    {Operation::DIVIDE, Opcode::VARIANT_DIVIDE},
    {Operation::INTEGER_DIVIDE, Opcode::VARIANT_INTEGER_DIVIDE},
    {Operation::MODULO, Opcode::VARIANT_MODULO},
    {Operation::POWER, Opcode::VARIANT_POWER},
};

// The checker lets only those pass that the type has.
Opcode ArithmeticOpcode(Operation operation, const ValueType& type) {
    auto find = [operation](const auto& rows) {
        return std::find_if(std::begin(rows), std::end(rows),
                            [operation](const Arithmetic& row) { return row.operation == operation; })
            ->opcode;
    };
    switch (type.kind) {
    case TypeKind::INTEGER: return find(INTEGERS);
    case TypeKind::INT64: return find(INT64S);
    case TypeKind::CURRENCY: return find(CURRENCIES);
    case TypeKind::VARIANT: return find(VARIANTS);
    default: return find(DOUBLES);
    }
}

// equal, unequal, less, less or equal
constexpr Opcode COMPARISONS[][4] = {
    {Opcode::EQUAL_INTEGER, Opcode::UNEQUAL_INTEGER, Opcode::LESS_INTEGER, Opcode::LESS_EQUAL_INTEGER},
    {Opcode::EQUAL_DOUBLE, Opcode::UNEQUAL_DOUBLE, Opcode::LESS_DOUBLE, Opcode::LESS_EQUAL_DOUBLE},
    {Opcode::EQUAL_WIDE, Opcode::UNEQUAL_WIDE, Opcode::LESS_WIDE, Opcode::LESS_EQUAL_WIDE},
    {Opcode::EQUAL_STRING, Opcode::UNEQUAL_STRING, Opcode::LESS_STRING, Opcode::LESS_EQUAL_STRING},
    // An unequal Variant is one that is not equal.
    {Opcode::VARIANT_EQUAL, Opcode::VARIANT_EQUAL, Opcode::VARIANT_LESS, Opcode::VARIANT_LESS_EQUAL},
};

// Booleans and references are compared for equality only.
Opcode ComparisonOpcode(const Node& node, int index) {
    const ValueType& type = node.left->type;
    bool isNilTest = type.Is(TypeKind::NIL) || node.right->type.Is(TypeKind::NIL);
    bool isIdentity = type.IsReference() && (!type.Is(TypeKind::VARIANT) || isNilTest);
    if (isIdentity) return index == 0 ? Opcode::EQUAL_OBJECT : Opcode::UNEQUAL_OBJECT;
    if (type.Is(TypeKind::BOOLEAN)) return index == 0 ? Opcode::EQUAL_BOOLEAN : Opcode::UNEQUAL_BOOLEAN;
    size_t row = type.Is(TypeKind::INTEGER)  ? 0
                 : type.Is(TypeKind::DOUBLE) ? 1
                 : type.IsWide()             ? 2
                 : type.Is(TypeKind::STRING) ? 3
                                             : 4;
    return COMPARISONS[row][index];
}

} // namespace

Value Generator::ProduceConcatenation(const Node& node, uint16_t reg) {
    uint16_t place = 0;
    bool isSimple = InPlace(*node.left, place) || node.left->IsConstant();
    if (isSimple) {
        Value left = Generate(*node.left);
        Value right = Generate(*node.right);
        SetPlace(node.span);
        Emit(Opcode::ADD_STRING, reg, left.reg, right.reg);
        Value value = Owned(reg, node.type);
        Release(right, node.type);
        return value;
    }
    // What was just made is held by nobody else and grows in place.
    Value value = GenerateInto(*node.left, reg);
    Value right = Generate(*node.right);
    SetPlace(node.span);
    Emit(Opcode::APPEND_STRING, reg, right.reg);
    Release(right, node.type);
    return value;
}

Value Generator::ProduceBinary(const Node& node, uint16_t reg) {
    const ValueType& type = node.left->type;
    if (type.Is(TypeKind::STRING) && node.operation == Operation::ADD) return ProduceConcatenation(node, reg);
    if (OperateWithConstant(node, reg)) return {reg, -1};
    if (IsVariantPlusInteger(node)) {
        Value sum = Generate(*node.left);
        Value added = Generate(*node.right->left);
        SetPlace(node.span);
        Emit(Opcode::VARIANT_ADD_INTEGER, reg, sum.reg, added.reg);
        Value value = Owned(reg, node.type);
        Release(sum, node.left->type);
        return value;
    }

    const bool compares = IsComparison(node.operation);
    Value left = Borrow(*node.left, compares && IsAtHand(*node.right));
    Value right = Borrow(*node.right, compares);
    SetPlace(node.span);
    Value value{reg, -1};
    if (compares) {
        Comparison comparison = ComparisonOf(node.operation);
        Opcode opcode = ComparisonOpcode(node, comparison.index);
        if (comparison.isExchanged)
            Emit(opcode, reg, right.reg, left.reg);
        else
            Emit(opcode, reg, left.reg, right.reg);
        bool isNegated = opcode == Opcode::VARIANT_EQUAL && node.operation == Operation::NOT_EQUAL;
        if (isNegated) Emit(Opcode::NOT_BOOLEAN, reg, reg);
    } else {
        Emit(ArithmeticOpcode(node.operation, type), reg, left.reg, right.reg);
        value = Owned(reg, node.type);
    }
    Release(right, node.right->type);
    Release(left, node.left->type);
    return value;
}

// Takes a small Integer from the instruction, without loading it first; false when the node is something else.
bool Generator::OperateWithConstant(const Node& node, uint16_t reg) {
    if (!node.left->type.Is(TypeKind::INTEGER) || !IsSmallConstant(*node.right)) return false;
    int32_t constant = std::get<int32_t>(node.right->constant);
    const bool isDivisor = constant != 0 && constant != -1;
    Opcode opcode = Opcode::ADD_CONSTANT;
    switch (node.operation) {
    case Operation::ADD: break;
    case Operation::SUBTRACT: constant = -constant; break;
    case Operation::MULTIPLY: opcode = Opcode::MULTIPLY_CONSTANT; break;
    case Operation::INTEGER_DIVIDE: opcode = Opcode::DIVIDE_CONSTANT; break;
    case Operation::MODULO: opcode = Opcode::MODULO_CONSTANT; break;
    default: return false;
    }
    bool divides = opcode == Opcode::DIVIDE_CONSTANT || opcode == Opcode::MODULO_CONSTANT;
    if (constant > INT16_MAX || (divides && !isDivisor)) return false;
    Value left = Generate(*node.left);
    Emit(opcode, reg, left.reg, static_cast<uint16_t>(constant));
    return true;
}

void Generator::Branch(const Node& condition, Label& label, bool when) {
    uint16_t top = next_;
    if (condition.IsConstant()) {
        if (std::get<bool>(condition.constant) == when) Jump(Opcode::JUMP, 0, label);
    } else if (condition.kind == NodeKind::NOT) {
        Branch(*condition.left, label, !when);
    } else if (condition.kind == NodeKind::AND || condition.kind == NodeKind::OR) {
        // The left side alone decides when it is False of an And, True of an Or.
        bool deciding = condition.kind == NodeKind::OR;
        Label behind;
        Branch(*condition.left, when == deciding ? label : behind, deciding);
        Branch(*condition.right, label, when);
        Bind(behind);
    } else if (IsIntegerComparison(condition)) {
        BranchOnComparison(condition, label, when);
    } else {
        Value value = Generate(condition);
        Jump(when ? Opcode::JUMP_IF : Opcode::JUMP_UNLESS, value.reg, label);
    }
    next_ = top;
}

// As BranchOnComparison, with a small constant on the right.
bool Generator::BranchOnConstant(const Node& condition, Operation operation, Label& label) {
    if (!IsSmallConstant(*condition.right)) return false;
    int32_t constant = std::get<int32_t>(condition.right->constant);
    Opcode test = Opcode::TEST_EQUAL_CONSTANT;
    switch (operation) {
    case Operation::EQUAL: break;
    case Operation::NOT_EQUAL: test = Opcode::TEST_UNEQUAL_CONSTANT; break;
    case Operation::LESS_EQUAL: constant++; [[fallthrough]];
    case Operation::LESS: test = Opcode::TEST_LESS_CONSTANT; break;
    case Operation::GREATER_EQUAL: constant--; [[fallthrough]];
    default: test = Opcode::TEST_GREATER_CONSTANT; break;
    }
    if (constant < INT16_MIN || constant > INT16_MAX) return false;
    Emit(test, Generate(*condition.left).reg, static_cast<uint16_t>(constant));
    Jump(Opcode::JUMP, 0, label);
    return true;
}

// A test that holds skips the jump behind it.
void Generator::BranchOnComparison(const Node& condition, Label& label, bool when) {
    static constexpr Opcode TESTS[] = {Opcode::TEST_EQUAL, Opcode::TEST_UNEQUAL, Opcode::TEST_LESS,
                                       Opcode::TEST_LESS_EQUAL};
    const Operation operation = when ? Negated(condition.operation) : condition.operation;
    if (BranchOnConstant(condition, operation, label)) return;
    Value left = Generate(*condition.left);
    Value right = Generate(*condition.right);
    Comparison comparison = ComparisonOf(operation);
    Opcode test = TESTS[comparison.index];
    if (comparison.isExchanged)
        Emit(test, right.reg, left.reg);
    else
        Emit(test, left.reg, right.reg);
    Jump(Opcode::JUMP, 0, label);
}

} // namespace host::language
