// What numbers of different kinds have to do with each other.
#include "host/runtime/numbers.h"

#include "host/runtime/number_text.h"

#include <bit>
#include <cmath>

namespace host {

namespace {

// Holds every Int64 and every Double as it is.
using Exact = long double;

Exact ExactOf(Kind kind, Slot value) {
    if (kind == Kind::INTEGER) return value.integer;
    return kind == Kind::DOUBLE ? Exact{value.number} : static_cast<Exact>(value.wide);
}

int64_t WholeOf(Kind kind, Slot value) { return kind == Kind::INTEGER ? value.integer : value.wide; }

// Whether a Double is the same number: it has 53 bits.
bool IsDouble(int64_t whole) {
    const auto bits = static_cast<uint64_t>(whole);
    const uint64_t magnitude = whole < 0 ? 0 - bits : bits;
    return magnitude == 0 || magnitude >> std::countr_zero(magnitude) <= uint64_t{1} << 53;
}

bool ScaledOf(int64_t whole, int64_t& units) { return !__builtin_mul_overflow(whole, Currency::SCALE, &units); }

// An amount beside an Integer or Int64.
std::strong_ordering CompareAmount(Currency amount, int64_t whole) {
    int64_t units = 0;
    if (!ScaledOf(whole, units)) return whole < 0 ? std::strong_ordering::greater : std::strong_ordering::less;
    return amount.units <=> units;
}

bool FitWhole(Exact number, Kind to, Slot& result) {
    const Exact limit = to == Kind::INTEGER ? 0x1p31L : 0x1p63L;
    const Exact whole = std::trunc(number);
    if (!(whole >= -limit && whole < limit)) return false;
    if (to == Kind::INTEGER)
        result.integer = static_cast<int32_t>(whole);
    else
        result.wide = static_cast<int64_t>(whole);
    return true;
}

} // namespace

Kind CommonNumber(Kind left, Kind right) {
    if (left == right) return left;
    const bool hasDouble = left == Kind::DOUBLE || right == Kind::DOUBLE;
    const bool hasCurrency = left == Kind::CURRENCY || right == Kind::CURRENCY;
    if (hasDouble) return hasCurrency ? Kind::NOTHING : Kind::DOUBLE;
    return hasCurrency ? Kind::CURRENCY : Kind::INT64;
}

std::partial_ordering CompareNumbers(Kind leftKind, Slot left, Kind rightKind, Slot right) {
    const bool isLeftAmount = leftKind == Kind::CURRENCY;
    const bool isRightAmount = rightKind == Kind::CURRENCY;
    if (isLeftAmount == isRightAmount) return ExactOf(leftKind, left) <=> ExactOf(rightKind, right);
    if (isRightAmount) {
        const std::partial_ordering reversed = CompareNumbers(rightKind, right, leftKind, left);
        if (std::is_lt(reversed)) return std::partial_ordering::greater;
        return std::is_gt(reversed) ? std::partial_ordering::less : reversed;
    }
    if (rightKind == Kind::DOUBLE) return NumberOf(Currency{left.wide}) <=> right.number;
    return CompareAmount({left.wide}, WholeOf(rightKind, right));
}

bool ConvertNumber(Kind from, Slot value, Kind to, Slot& result) {
    Slot converted = value;
    bool fits = true;
    if (from != to && to == Kind::DOUBLE) {
        converted.number =
            from == Kind::CURRENCY ? NumberOf(Currency{value.wide}) : static_cast<double>(WholeOf(from, value));
        fits = from == Kind::CURRENCY || IsDouble(WholeOf(from, value));
    } else if (from != to && to == Kind::CURRENCY) {
        std::optional<Currency> amount = from == Kind::DOUBLE ? CurrencyOf(value.number) : std::nullopt;
        fits = from == Kind::DOUBLE ? amount.has_value() : ScaledOf(WholeOf(from, value), converted.wide);
        if (amount) converted.wide = amount->units;
    } else if (from == Kind::CURRENCY && from != to) {
        const int64_t whole = value.wide / Currency::SCALE;
        fits = FitWhole(static_cast<Exact>(whole), to, converted);
    } else if (from != to) {
        fits = FitWhole(ExactOf(from, value), to, converted);
    }
    if (fits) result = converted;
    return fits;
}

std::string NumberText(Kind kind, Slot value) {
    switch (kind) {
    case Kind::INTEGER: return std::to_string(value.integer);
    case Kind::INT64: return std::to_string(value.wide);
    case Kind::CURRENCY: return CurrencyText({value.wide});
    default: return NumberText(value.number);
    }
}

} // namespace host
