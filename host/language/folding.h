// Operations on constants, and the arithmetic of Integers.
#pragma once

#include "host/syntax/ast.h"

#include <optional>

namespace host::language {

// The constant that an operation on two constants of one type gives; nothing for a division by zero, for a result that
// does not fit, and for operations the type does not have.
std::optional<ConstantValue> Fold(ast::Operation operation, const ConstantValue& left, const ConstantValue& right);

// The constant with its sign changed, or with its bits; nothing where the result does not fit.
std::optional<ConstantValue> FoldMinus(const ConstantValue& value);
std::optional<ConstantValue> FoldNot(const ConstantValue& value);

// 32-bit arithmetic that wraps around.
inline int32_t WrappingAdd(int32_t left, int32_t right) {
    return static_cast<int32_t>(static_cast<uint32_t>(left) + static_cast<uint32_t>(right));
}
inline int32_t WrappingSubtract(int32_t left, int32_t right) {
    return static_cast<int32_t>(static_cast<uint32_t>(left) - static_cast<uint32_t>(right));
}
inline int32_t WrappingMultiply(int32_t left, int32_t right) {
    return static_cast<int32_t>(static_cast<uint32_t>(left) * static_cast<uint32_t>(right));
}
// The divisor must not be 0. The least Integer divided by -1 wraps around to itself.
inline int32_t WrappingDivide(int32_t left, int32_t right) {
    return right == -1 ? WrappingSubtract(0, left) : left / right;
}
inline int32_t WrappingModulo(int32_t left, int32_t right) { return right == -1 ? 0 : left % right; }

} // namespace host::language
