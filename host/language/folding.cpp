// Computes constant expressions.
#include "host/language/folding.h"

#include <cmath>
#include <limits>

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

int32_t ToInteger(double value) {
    if (std::isnan(value)) return 0;
    if (value >= 2147483647.0) return std::numeric_limits<int32_t>::max();
    if (value <= -2147483648.0) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

} // namespace host::language
