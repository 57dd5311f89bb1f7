// Computes constant expressions.
#include "host/language/folding.h"

#include "host/language/wide_arithmetic.h"

#include <cmath>

namespace host::language {

using ast::Operation;

namespace {

using Folded = std::optional<ConstantValue>;

template <typename Value>
std::optional<ConstantValue> Compare(Operation operation, const Value& left, const Value& right) {
    switch (operation) {
    case Operation::EQUAL: return left == right;
    case Operation::NOT_EQUAL: return left != right;
    case Operation::LESS: return left < right;
    case Operation::LESS_EQUAL: return left <= right;
    case Operation::GREATER: return left > right;
    case Operation::GREATER_EQUAL: return left >= right;
    default: return std::nullopt;
    }
}

Folded FoldIntegers(Operation operation, int32_t left, int32_t right) {
    switch (operation) {
    case Operation::ADD: return WrappingAdd(left, right);
    case Operation::SUBTRACT: return WrappingSubtract(left, right);
    case Operation::MULTIPLY: return WrappingMultiply(left, right);
    case Operation::INTEGER_DIVIDE: return right == 0 ? Folded() : WrappingDivide(left, right);
    case Operation::MODULO: return right == 0 ? Folded() : WrappingModulo(left, right);
    case Operation::AND: return left & right;
    case Operation::OR: return left | right;
    case Operation::XOR: return left ^ right;
    default: return Compare(operation, left, right);
    }
}

Folded FoldDoubles(Operation operation, double left, double right) {
    switch (operation) {
    case Operation::ADD: return left + right;
    case Operation::SUBTRACT: return left - right;
    case Operation::MULTIPLY: return left * right;
    case Operation::DIVIDE: return right == 0 ? Folded() : left / right;
    case Operation::MODULO: return right == 0 ? Folded() : std::fmod(left, right);
    case Operation::POWER: return std::pow(left, right);
    default: return Compare(operation, left, right);
    }
}

Folded FoldInt64(Operation operation, int64_t left, int64_t right) {
    int64_t result = 0;
    switch (operation) {
    case Operation::ADD: return AddWide(left, right, result) ? Folded(result) : Folded();
    case Operation::SUBTRACT: return SubtractWide(left, right, result) ? Folded(result) : Folded();
    case Operation::MULTIPLY: return MultiplyInt64(left, right, result) ? Folded(result) : Folded();
    case Operation::INTEGER_DIVIDE: return right != 0 && DivideInt64(left, right, result) ? Folded(result) : Folded();
    case Operation::MODULO: return right == 0 ? Folded() : ModuloWide(left, right);
    case Operation::AND: return left & right;
    case Operation::OR: return left | right;
    case Operation::XOR: return left ^ right;
    default: return Compare(operation, left, right);
    }
}

Folded FoldCurrencies(Operation operation, int64_t left, int64_t right) {
    Currency result;
    bool isComputed = false;
    switch (operation) {
    case Operation::ADD: isComputed = AddWide(left, right, result.units); break;
    case Operation::SUBTRACT: isComputed = SubtractWide(left, right, result.units); break;
    case Operation::MULTIPLY: isComputed = MultiplyCurrency(left, right, result.units); break;
    case Operation::DIVIDE: isComputed = right != 0 && DivideCurrency(left, right, result.units); break;
    case Operation::MODULO:
        isComputed = right != 0;
        if (isComputed) result.units = ModuloWide(left, right);
        break;
    default: return Compare(operation, left, right);
    }
    return isComputed ? Folded(result) : Folded();
}

Folded FoldBooleans(Operation operation, bool left, bool right) {
    switch (operation) {
    case Operation::AND: return left && right;
    case Operation::OR: return left || right;
    case Operation::XOR: return left != right;
    case Operation::EQUAL: return left == right;
    case Operation::NOT_EQUAL: return left != right;
    default: return std::nullopt;
    }
}

} // namespace

Folded Fold(Operation operation, const ConstantValue& left, const ConstantValue& right) {
    if (left.index() != right.index()) return std::nullopt;
    if (const auto* integer = std::get_if<int32_t>(&left)) {
        return FoldIntegers(operation, *integer, std::get<int32_t>(right));
    }
    if (const auto* number = std::get_if<double>(&left)) {
        return FoldDoubles(operation, *number, std::get<double>(right));
    }
    if (const auto* wide = std::get_if<int64_t>(&left)) return FoldInt64(operation, *wide, std::get<int64_t>(right));
    if (const auto* amount = std::get_if<Currency>(&left)) {
        return FoldCurrencies(operation, amount->units, std::get<Currency>(right).units);
    }
    if (const auto* boolean = std::get_if<bool>(&left)) {
        return FoldBooleans(operation, *boolean, std::get<bool>(right));
    }
    if (const auto* string = std::get_if<ConstantText>(&left)) {
        const auto& other = std::get<ConstantText>(right);
        if (operation == Operation::ADD) return *string + other;
        return Compare(operation, *string, other);
    }
    return std::nullopt;
}

Folded FoldMinus(const ConstantValue& value) {
    int64_t result = 0;
    if (const auto* integer = std::get_if<int32_t>(&value)) return WrappingSubtract(0, *integer);
    if (const auto* number = std::get_if<double>(&value)) return -*number;
    if (const auto* wide = std::get_if<int64_t>(&value)) {
        return SubtractWide(0, *wide, result) ? Folded(result) : Folded();
    }
    const auto* amount = std::get_if<Currency>(&value);
    return amount != nullptr && SubtractWide(0, amount->units, result) ? Folded(Currency{result}) : Folded();
}

Folded FoldNot(const ConstantValue& value) {
    if (const auto* boolean = std::get_if<bool>(&value)) return !*boolean;
    if (const auto* integer = std::get_if<int32_t>(&value)) return ~*integer;
    return ~std::get<int64_t>(value);
}

} // namespace host::language
