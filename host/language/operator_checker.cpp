// Types binary operators.
#include "host/language/expression_checker.h"
#include "host/language/folding.h"

namespace host::language {

using ast::Operation;

namespace {

const char* SymbolOf(Operation operation) {
    switch (operation) {
    case Operation::ADD: return "+";
    case Operation::SUBTRACT: return "-";
    case Operation::MULTIPLY: return "*";
    case Operation::DIVIDE: return "/";
    case Operation::INTEGER_DIVIDE: return "\\";
    case Operation::MODULO: return "Mod";
    case Operation::POWER: return "^";
    case Operation::EQUAL: return "=";
    case Operation::NOT_EQUAL: return "<>";
    case Operation::LESS: return "<";
    case Operation::LESS_EQUAL: return "<=";
    case Operation::GREATER: return ">";
    case Operation::GREATER_EQUAL: return ">=";
    case Operation::IS: return "Is";
    case Operation::AND: return "And";
    case Operation::OR: return "Or";
    case Operation::XOR: return "Xor";
    }
    return "";
}

bool IsEquality(Operation operation) { return operation == Operation::EQUAL || operation == Operation::NOT_EQUAL; }

bool IsLogical(Operation operation) {
    return operation == Operation::AND || operation == Operation::OR || operation == Operation::XOR;
}

bool IsWhole(const ValueType& type) { return type.Is(TypeKind::INTEGER) || type.Is(TypeKind::INT64); }

// Where the other side is a Currency, a Double as it is written is one too.
void TakeAsCurrency(Node& node, const Node& other) {
    const auto* number = std::get_if<double>(&node.constant);
    if (!node.IsConstant() || number == nullptr || !other.type.Is(TypeKind::CURRENCY)) return;
    std::optional<Currency> amount = ExactCurrencyOf(*number);
    if (!amount) return;
    node.constant = *amount;
    node.type = CURRENCY_TYPE;
}

bool CanBeUnboxed(const ValueType& type) {
    return type.IsNumber() || type.Is(TypeKind::STRING) || type.Is(TypeKind::BOOLEAN);
}

// The type both operands are converted to; INVALID when the operation does not have them.
ValueType OperandType(Operation operation, const ValueType& left, const ValueType& right) {
    bool hasVariant = left.Is(TypeKind::VARIANT) || right.Is(TypeKind::VARIANT);
    if (operation == Operation::IS || (IsEquality(operation) && left.IsReference() && right.IsReference())) {
        if (!left.IsReference() || !right.IsReference()) return INVALID_TYPE;
        bool hasNil = left.Is(TypeKind::NIL) || right.Is(TypeKind::NIL);
        if (hasVariant && !hasNil && operation != Operation::IS) return VARIANT_TYPE;
        if (left.Is(TypeKind::OBJECT) && right.Is(TypeKind::OBJECT)) {
            bool related = left.cls->IsA(right.cls) || right.cls->IsA(left.cls);
            return related ? NIL_TYPE : INVALID_TYPE;
        }
        bool isArrayPair = left.Is(TypeKind::ARRAY) && right.Is(TypeKind::ARRAY);
        if (isArrayPair && !(left == right)) return INVALID_TYPE;
        return NIL_TYPE;
    }
    if (IsLogical(operation)) {
        if (IsWhole(left) && IsWhole(right)) return CommonNumber(left, right);
        if (hasVariant) {
            const ValueType& other = left.Is(TypeKind::VARIANT) ? right : left;
            return IsWhole(other)                                               ? other
                   : other.Is(TypeKind::BOOLEAN) || other.Is(TypeKind::VARIANT) ? BOOLEAN_TYPE
                                                                                : INVALID_TYPE;
        }
        return left == right && left.Is(TypeKind::BOOLEAN) ? left : INVALID_TYPE;
    }
    if (hasVariant) {
        const ValueType& other = left.Is(TypeKind::VARIANT) ? right : left;
        return CanBeUnboxed(other) || other.Is(TypeKind::VARIANT) ? VARIANT_TYPE : INVALID_TYPE;
    }
    if (left.IsNumber() && right.IsNumber()) {
        const ValueType common = CommonNumber(left, right);
        if (operation == Operation::POWER) return common.Is(TypeKind::CURRENCY) ? INVALID_TYPE : DOUBLE_TYPE;
        if (operation == Operation::INTEGER_DIVIDE) return IsWhole(common) ? common : INVALID_TYPE;
        return operation == Operation::DIVIDE && IsWhole(common) ? DOUBLE_TYPE : common;
    }
    if (!(left == right)) return INVALID_TYPE;
    if (left.Is(TypeKind::STRING)) {
        return operation == Operation::ADD || IsComparison(operation) ? STRING_TYPE : INVALID_TYPE;
    }
    return left.Is(TypeKind::BOOLEAN) && IsEquality(operation) ? BOOLEAN_TYPE : INVALID_TYPE;
}

} // namespace

NodePtr ExpressionChecker::Binary(Operation operation, NodePtr left, NodePtr right, const Span& span) {
    if (left->IsInvalid() || right->IsInvalid()) return InvalidNode(span);
    TakeAsCurrency(*left, *right);
    TakeAsCurrency(*right, *left);
    ValueType type = OperandType(operation, left->type, right->type);
    if (type.Is(TypeKind::INVALID)) {
        std::string hint;
        bool hasString = left->type.Is(TypeKind::STRING) || right->type.Is(TypeKind::STRING);
        if (operation == Operation::ADD && hasString) hint = " (convert the other side with Str(…))";
        if (operation == Operation::INTEGER_DIVIDE) hint = " (use \"/\")";
        bool areDates =
            left->type.Is(TypeKind::OBJECT) && left->type == right->type && SameName(left->type.cls->name, "DateTime");
        if (areDates) hint = operation == Operation::SUBTRACT ? " (use Since)" : " (compare their SecondsSince1970)";
        bool isMoney = left->type.IsNumber() && right->type.IsNumber() && operation != Operation::INTEGER_DIVIDE;
        if (isMoney) hint = " (convert one side with Currency(…) or Double(…))";
        Error(span, std::string("\"") + SymbolOf(operation) + "\" cannot be applied to " + left->type.Text() + " and "
                        + right->type.Text() + hint);
        return InvalidNode(span);
    }
    // References are compared as they are.
    if (!type.Is(TypeKind::NIL)) {
        left = Convert(std::move(left), type);
        right = Convert(std::move(right), type);
        if (left->IsInvalid() || right->IsInvalid()) return InvalidNode(span);
    }
    Span whole = Join(left->span, right->span);
    if (left->IsConstant() && right->IsConstant()) {
        if (auto folded = Fold(operation, left->constant, right->constant)) return ConstantNode(*folded, whole);
    }

    bool isShortCircuit = type.Is(TypeKind::BOOLEAN) && (operation == Operation::AND || operation == Operation::OR);
    NodeKind kind = !isShortCircuit ? NodeKind::BINARY : operation == Operation::AND ? NodeKind::AND : NodeKind::OR;
    if (type.Is(TypeKind::BOOLEAN) && operation == Operation::XOR) operation = Operation::NOT_EQUAL;
    if (operation == Operation::IS) operation = Operation::EQUAL;
    bool givesBoolean = IsComparison(operation) || isShortCircuit;
    auto node = MakeNode(kind, givesBoolean ? BOOLEAN_TYPE : type, whole);
    node->operation = operation;
    node->left = std::move(left);
    node->right = std::move(right);
    return node;
}

} // namespace host::language
