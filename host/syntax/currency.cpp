// Amounts of money from text and numbers, and back.
#include "host/syntax/currency.h"

#include "host/syntax/names.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace host {

namespace {

constexpr int DECIMALS = 4;

// The digits of a number without its point, and where that was: the value is 0.DIGITS times 10 to the `magnitude`.
struct Decimal {
    bool isNegative = false;
    std::string digits;
    int64_t magnitude = 0;
};

std::optional<Decimal> ReadDecimal(std::string_view text) {
    Decimal decimal;
    decimal.isNegative = text.starts_with('-');
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    size_t end = std::min(text.find_first_of("eE"), text.size());
    size_t point = std::min(text.find('.'), end);
    decimal.digits.assign(text.substr(0, point));
    decimal.magnitude = static_cast<int64_t>(point);
    if (point < end) decimal.digits += text.substr(point + 1, end - point - 1);
    if (decimal.digits.empty() || !std::all_of(decimal.digits.begin(), decimal.digits.end(), IsDigit)) return {};
    if (end < text.size()) {
        std::string_view exponent = text.substr(end + 1);
        if (exponent.starts_with('+')) exponent.remove_prefix(1);
        int32_t value = 0;
        auto [stop, error] = std::from_chars(exponent.data(), exponent.data() + exponent.size(), value);
        if (error != std::errc() || stop != exponent.data() + exponent.size()) return {};
        decimal.magnitude += value;
    }
    size_t zeros = std::min(decimal.digits.find_first_not_of('0'), decimal.digits.size());
    decimal.digits.erase(0, zeros);
    decimal.magnitude -= static_cast<int64_t>(zeros);
    return decimal;
}

// The shortest text that reads back as the number.
std::string_view Shortest(double number, std::array<char, 32>& text) {
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

} // namespace

std::string CurrencyText(Currency value) {
    const bool isNegative = value.units < 0;
    auto units = static_cast<uint64_t>(value.units);
    std::string digits = std::to_string(isNegative ? 0 - units : units);
    if (digits.size() <= DECIMALS) digits.insert(0, DECIMALS + 1 - digits.size(), '0');
    digits.insert(digits.size() - DECIMALS, 1, '.');
    digits.erase(digits.find_last_not_of('0') + 1);
    if (digits.ends_with('.')) digits.pop_back();
    return (isNegative ? "-" : "") + digits;
}

std::optional<Currency> ParseCurrency(std::string_view text) {
    constexpr int64_t MAX_DIGITS = 19;
    std::optional<Decimal> decimal = ReadDecimal(text);
    if (!decimal) return std::nullopt;
    const int64_t count = decimal->digits.empty() ? 0 : decimal->magnitude + DECIMALS;
    if (count > MAX_DIGITS) return std::nullopt;
    if (count < 0) return Currency{};
    auto digitAt = [&](int64_t index) {
        return index < static_cast<int64_t>(decimal->digits.size()) ? decimal->digits[static_cast<size_t>(index)] - '0'
                                                                    : 0;
    };
    uint64_t units = 0; // 19 digits and the rounding fit
    for (int64_t i = 0; i < count; ++i) units = units * 10 + static_cast<uint64_t>(digitAt(i));
    if (digitAt(count) >= 5) ++units;
    const uint64_t greatest = static_cast<uint64_t>(INT64_MAX) + (decimal->isNegative ? 1 : 0);
    if (units > greatest) return std::nullopt;
    return Currency{static_cast<int64_t>(decimal->isNegative ? 0 - units : units)};
}

std::optional<Currency> CurrencyOf(double number) {
    if (!std::isfinite(number)) return std::nullopt;
    std::array<char, 32> text{};
    return ParseCurrency(Shortest(number, text));
}

std::optional<Currency> ExactCurrencyOf(double number) {
    std::optional<Currency> value = CurrencyOf(number);
    return value && NumberOf(*value) == number ? value : std::nullopt;
}

double NumberOf(Currency value) {
    constexpr int64_t EXACT = int64_t{1} << 53; // Doubles hold both sides, so that the quotient is the nearest
    if (value.units > -EXACT && value.units < EXACT) return static_cast<double>(value.units) / Currency::SCALE;
    const std::string text = CurrencyText(value);
    double number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

} // namespace host
