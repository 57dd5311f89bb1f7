// Products and quotients of 64 bits.
#include "host/language/wide_arithmetic.h"

#include "host/syntax/currency.h"

namespace host::language {

namespace {

// Its 113 bits hold what an amount can be computed from: whatever they do not hold does not fit an amount either.
using Quadruple = __float128;

bool RoundToWide(Quadruple number, int64_t& result) {
    constexpr Quadruple LIMIT = 0x1p63;
    constexpr Quadruple HALF = 0.5;
    const Quadruple rounded = number < 0 ? number - HALF : number + HALF;
    if (!(rounded > -LIMIT - 1 && rounded < LIMIT)) return false;
    result = static_cast<int64_t>(rounded);
    return true;
}

} // namespace

bool DivideInt64(int64_t left, int64_t right, int64_t& result) {
    if (right == -1) return SubtractWide(0, left, result);
    result = left / right;
    return true;
}

int64_t ModuloWide(int64_t left, int64_t right) { return right == -1 ? 0 : left % right; }

bool MultiplyCurrency(int64_t left, int64_t right, int64_t& result) {
    return RoundToWide(static_cast<Quadruple>(left) * right / Currency::SCALE, result);
}

bool DivideCurrency(int64_t left, int64_t right, int64_t& result) {
    return RoundToWide(static_cast<Quadruple>(left) * Currency::SCALE / right, result);
}

} // namespace host::language
