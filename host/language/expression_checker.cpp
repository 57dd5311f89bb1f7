// Checks operators, conversions and casts.
#include "host/language/expression_checker.h"

#include "host/language/folding.h"
#include "host/language/hints.h"
#include "host/runtime/numbers.h"

namespace host::language {

using ast::Expression;
using ast::ExpressionKind;
using ast::Operation;

NodePtr ExpressionChecker::Check(const Expression& expression, Use use) {
    NodePtr node;
    switch (expression.kind) {
    case ExpressionKind::INVALID: return InvalidNode(expression.span);
    case ExpressionKind::CONSTANT: node = ConstantNode(expression.constant, expression.span); break;
    case ExpressionKind::NAME: node = CheckName(expression, use); break;
    case ExpressionKind::MEMBER: node = CheckMemberCall(expression, nullptr, use); break;
    case ExpressionKind::CALL: node = CheckCall(expression, use); break;
    case ExpressionKind::NEW: node = CheckNew(expression); break;
    case ExpressionKind::NEGATE:
    case ExpressionKind::NOT: node = CheckUnary(expression); break;
    case ExpressionKind::BINARY:
        node = Check(*expression.left);
        node = Binary(expression.operation, std::move(node), Check(*expression.right), expression.nameSpan);
        node->span = expression.span;
        break;
    case ExpressionKind::IS_A: node = CheckIsA(expression); break;
    case ExpressionKind::SELF: node = CheckSelf(expression); break;
    case ExpressionKind::WITH_OBJECT:
        if (context_.withObjects.empty()) {
            Error({expression.span.file, expression.span.offset, 1},
                  "a name after a dot alone stands in a block of \"With object … End With\"");
            return InvalidNode(expression.span);
        }
        return RegisterNode(context_.withObjects.back().first, context_.withObjects.back().second, expression.span);
    case ExpressionKind::RAISE_EVENT: node = CheckRaise(expression, use); break;
    case ExpressionKind::ADDRESS_OF: node = CheckAddress(expression); break;
    case ExpressionKind::CONDITIONAL: node = CheckConditional(expression); break;
    case ExpressionKind::ARRAY: node = ArrayOf(CheckArguments(expression), expression.span); break;
    case ExpressionKind::SUPER:
        Error(expression.span, "\"Super\" must be followed by a member");
        return InvalidNode(expression.span);
    }
    if (use == Use::VALUE && node->type.Is(TypeKind::NOTHING)) {
        Error(expression.span,
              (node->function != nullptr ? node->function->QualifiedName() : "this call") + " has no result");
        return InvalidNode(expression.span);
    }
    return node;
}

NodePtr ExpressionChecker::CheckAs(const Expression& expression, const ValueType& type) {
    return Convert(Check(expression), type);
}

NodePtr ExpressionChecker::CheckCondition(const Expression& expression) { return CheckAs(expression, BOOLEAN_TYPE); }

namespace {

// What is lost on the way shows when the program runs. A Currency and a Double become each other only by a cast.
int NumberCost(const ValueType& from, const ValueType& type) {
    if (from.Is(TypeKind::DOUBLE) || from.Is(TypeKind::CURRENCY)) return -1;
    switch (type.kind) {
    case TypeKind::INT64: return 20;
    case TypeKind::DOUBLE: return 50;
    case TypeKind::CURRENCY: return 55;
    default: return 60;
    }
}

Slot SlotOf(const ConstantValue& number) {
    if (const auto* integer = std::get_if<int32_t>(&number)) return {.integer = *integer};
    if (const auto* value = std::get_if<double>(&number)) return {.number = *value};
    if (const auto* amount = std::get_if<Currency>(&number)) return {.wide = amount->units};
    return {.wide = std::get<int64_t>(number)};
}

// A constant number as one of another type; nothing when it does not fit.
std::optional<ConstantValue> ConvertConstant(const Node& node, const ValueType& type) {
    Slot result{};
    const Kind to = KindOf(type.kind);
    if (!ConvertNumber(KindOf(node.type.kind), SlotOf(node.constant), to, result)) return std::nullopt;
    switch (to) {
    case Kind::INTEGER: return result.integer;
    case Kind::DOUBLE: return result.number;
    case Kind::INT64: return result.wide;
    default: return Currency{result.wide};
    }
}

bool IsExactAmount(const Node& node) {
    const auto* number = std::get_if<double>(&node.constant);
    return node.IsConstant() && number != nullptr && ExactCurrencyOf(*number).has_value();
}

} // namespace

int ExpressionChecker::ConversionCost(const Node& value, const ValueType& type) {
    if (type.Is(TypeKind::CURRENCY) && IsExactAmount(value)) return NumberCost(INTEGER_TYPE, type);
    return ConversionCost(value.type, type);
}

ValueType ExpressionChecker::CommonType(const Node& left, const Node& right) {
    if (left.type.IsNumber() && right.type.IsNumber()) {
        const ValueType common = CommonNumber(left.type, right.type);
        if (!common.Is(TypeKind::INVALID)) return common;
        if (ConversionCost(left, CURRENCY_TYPE) >= 0 && ConversionCost(right, CURRENCY_TYPE) >= 0) return CURRENCY_TYPE;
    }
    return ConversionCost(right, left.type) >= 0 ? left.type : right.type;
}

NodePtr ExpressionChecker::NumberNode(NodePtr node, const ValueType& type) {
    if (node->IsConstant()) {
        if (auto constant = ConvertConstant(*node, type)) return ConstantNode(std::move(*constant), node->span);
        const char* article = type.Is(TypeKind::INTEGER) || type.Is(TypeKind::INT64) ? "an " : "a ";
        Error(node->span, FormatConstant(node->constant) + " does not fit " + article + type.Text());
        return InvalidNode(node->span);
    }
    auto conversion = MakeNode(NodeKind::CONVERT, type, node->span);
    conversion->conversion = Conversion::NUMBER;
    conversion->left = std::move(node);
    return conversion;
}

int ExpressionChecker::ConversionCost(const ValueType& from, const ValueType& type) {
    if (from == type || from.Is(TypeKind::INVALID) || type.Is(TypeKind::INVALID)) return 0;
    if (from.Is(TypeKind::NOTHING) || type.Is(TypeKind::NOTHING)) return -1;
    if (from.Is(TypeKind::NIL)) {
        if (type.Is(TypeKind::OBJECT) || type.Is(TypeKind::ARRAY)) return 1;
        return type.Is(TypeKind::VARIANT) ? 2 : -1;
    }
    if (from.Is(TypeKind::ADDRESS)) return type.Is(TypeKind::OBJECT) && type.cls->delegate != nullptr ? 1 : -1;
    // An empty array that is being made.
    if (from.Is(TypeKind::ARRAY) && type.Is(TypeKind::ARRAY) && from.element == TypeKind::NIL) return 1;
    if (type.Is(TypeKind::VARIANT)) return 100;
    if (from.Is(TypeKind::VARIANT)) return 120;
    if (from.IsNumber() && type.IsNumber()) return NumberCost(from, type);
    if (from.Is(TypeKind::OBJECT) && type.Is(TypeKind::OBJECT)) return from.cls->DistanceTo(type.cls);
    return -1;
}

NodePtr ExpressionChecker::Convert(NodePtr node, const ValueType& type) {
    if (node->IsInvalid() || type.Is(TypeKind::INVALID)) return InvalidNode(node->span);
    const ValueType from = node->type;
    if (from == type) return node;
    if (from.Is(TypeKind::ADDRESS)) return BindAddress(std::move(node), type);
    if (node->kind == NodeKind::ARRAY && type.Is(TypeKind::ARRAY)) return ConvertElements(std::move(node), type);
    if (ConversionCost(*node, type) < 0) {
        Error(node->span, "expected " + type.Text() + ", not " + from.Text() + ConversionHint(from, type));
        return InvalidNode(node->span);
    }
    if (from.Is(TypeKind::NIL)) {
        node->type = type;
        return node;
    }
    if (from.IsNumber() && type.IsNumber()) return NumberNode(std::move(node), type);
    auto conversion = MakeNode(NodeKind::CONVERT, type, node->span);
    if (type.Is(TypeKind::VARIANT)) {
        conversion->conversion = from.IsReference() ? Conversion::NONE : Conversion::BOX;
    } else if (from.Is(TypeKind::VARIANT)) {
        conversion->conversion = Conversion::UNBOX;
    }
    conversion->left = std::move(node);
    return conversion;
}

// An array that is being made takes the element type that is wanted.
NodePtr ExpressionChecker::ConvertElements(NodePtr array, const ValueType& type) {
    for (NodePtr& element : array->arguments) {
        element = Convert(std::move(element), type.Element());
        if (element->IsInvalid()) return InvalidNode(array->span);
    }
    array->type = type;
    return array;
}

NodePtr ExpressionChecker::CheckCast(const ValueType& type, const Expression& call) {
    if (call.arguments.size() != 1) {
        Error(call.span, "a conversion to " + type.Text() + " takes one value");
        return InvalidNode(call.span);
    }
    NodePtr node = Check(*call.arguments[0]);
    if (node->IsInvalid()) return InvalidNode(call.span);
    const ValueType from = node->type;
    node->span = call.span;
    if (from.IsNumber() && type.IsNumber() && !(from == type)) return NumberNode(std::move(node), type);
    Conversion conversion = Conversion::NONE;
    if (from.Is(TypeKind::OBJECT) && type.Is(TypeKind::OBJECT) && !from.cls->IsA(type.cls)) {
        if (!type.cls->IsA(from.cls)) {
            Error(call.span, "a value of class " + from.Text() + " is never a " + type.Text());
            return InvalidNode(call.span);
        }
        conversion = Conversion::CHECK_CLASS;
    } else if (!(type.Is(TypeKind::INTEGER) && from.Is(TypeKind::BOOLEAN))
               && !(type.Is(TypeKind::BOOLEAN) && from.Is(TypeKind::INTEGER))) {
        return Convert(std::move(node), type);
    }
    auto cast = MakeNode(NodeKind::CONVERT, type, call.span);
    cast->conversion = conversion;
    cast->left = std::move(node);
    return cast;
}

NodePtr ExpressionChecker::CheckUnary(const Expression& expression) {
    NodePtr operand = Check(*expression.left);
    if (operand->IsInvalid()) return operand;
    ValueType type = operand->type;
    bool isNot = expression.kind == ExpressionKind::NOT;
    if (type.Is(TypeKind::VARIANT)) {
        if (!isNot)
            return Binary(Operation::SUBTRACT, ConstantNode(0, expression.span), std::move(operand), expression.span);
        operand = Convert(std::move(operand), BOOLEAN_TYPE);
        type = BOOLEAN_TYPE;
    }
    bool isWhole = type.Is(TypeKind::INTEGER) || type.Is(TypeKind::INT64);
    bool fits = isNot ? type.Is(TypeKind::BOOLEAN) || isWhole : type.IsNumber();
    if (!fits) {
        Error(expression.nameSpan,
              std::string("\"") + (isNot ? "Not" : "-") + "\" cannot be applied to " + operand->type.Text());
        return InvalidNode(expression.span);
    }
    if (operand->IsConstant()) {
        auto folded = isNot ? FoldNot(operand->constant) : FoldMinus(operand->constant);
        if (folded) return ConstantNode(std::move(*folded), expression.span);
    }
    auto node = MakeNode(isNot ? NodeKind::NOT : NodeKind::NEGATE, type, expression.span);
    node->left = std::move(operand);
    return node;
}

NodePtr ExpressionChecker::CheckIsA(const Expression& expression) {
    NodePtr object = Check(*expression.left);
    ClassSymbol* cls = environment_.FindClass(expression.name);
    if (cls == nullptr) {
        Error(expression.nameSpan,
              "there is no class \"" + expression.name + "\"" + Suggestion(expression.name, environment_.ClassNames()));
    }
    if (object->IsInvalid() || cls == nullptr) return InvalidNode(expression.span);
    NoteType(expression.name, expression.nameSpan);
    bool isObject = object->type.Is(TypeKind::OBJECT) || object->type.Is(TypeKind::VARIANT);
    if (!isObject) {
        Error(object->span, "\"IsA\" needs an object, not " + object->type.Text());
        return InvalidNode(expression.span);
    }
    if (object->type.Is(TypeKind::OBJECT) && !object->type.cls->IsA(cls) && !cls->IsA(object->type.cls)) {
        Error(expression.span, "a value of class " + object->type.Text() + " is never a " + cls->name);
        return InvalidNode(expression.span);
    }
    auto node = MakeNode(NodeKind::IS_A, BOOLEAN_TYPE, expression.span);
    node->cls = cls;
    node->left = std::move(object);
    return node;
}

NodePtr ExpressionChecker::CheckConditional(const Expression& expression) {
    if (expression.arguments.size() != 3) {
        Error(expression.nameSpan, "\"If\" in an expression takes a condition and two values");
        return InvalidNode(expression.span);
    }
    auto node = MakeNode(NodeKind::CONDITIONAL, INVALID_TYPE, expression.span);
    node->left = CheckCondition(*expression.arguments[0]);
    for (size_t i = 1; i <= 2; ++i) node->arguments.push_back(Check(*expression.arguments[i]));
    NodePtr& first = node->arguments[0];
    NodePtr& second = node->arguments[1];
    if (node->left->IsInvalid() || first->IsInvalid() || second->IsInvalid()) return InvalidNode(expression.span);
    // The two become the more general of their types.
    node->type = CommonType(*first, *second);
    first = Convert(std::move(first), node->type);
    second = Convert(std::move(second), node->type);
    if (first->IsInvalid() || second->IsInvalid()) return InvalidNode(expression.span);
    return node;
}

NodePtr ExpressionChecker::SelfNode(const Span& span) {
    return MakeNode(NodeKind::SELF, {TypeKind::OBJECT, TypeKind::INVALID, context_.cls}, span);
}

NodePtr ExpressionChecker::CheckSelf(const Expression& expression) {
    if (context_.cls != nullptr) return SelfNode(expression.span);
    Error(expression.span, "\"Self\" has a meaning only in a method");
    return InvalidNode(expression.span);
}

} // namespace host::language
