// Amounts of money: whole ten-thousandths.
#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace host {

struct Currency {
    static constexpr int64_t SCALE = 10000;

    int64_t units = 0;

    auto operator<=>(const Currency&) const = default;
};

// "12.5", "-0.0001", "7"
std::string CurrencyText(Currency value);

// A decimal number, with an exponent or without. What is beyond four decimals is rounded, halves away from zero.
// Nothing if it is no number or too large.
std::optional<Currency> ParseCurrency(std::string_view text);

// By the digits that a Double is shown with: 1.00005 is rounded up. Nothing if it is no number or too large.
std::optional<Currency> CurrencyOf(double number);
// Nothing if there are more than four decimals too.
std::optional<Currency> ExactCurrencyOf(double number);
double NumberOf(Currency value);

} // namespace host
