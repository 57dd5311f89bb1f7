// Functions of numbers, and between numbers and text.
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/framework/text.h"
#include "host/runtime/class.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/number_text.h"
#include "host/runtime/numbers.h"
#include "host/runtime/string.h"
#include "host/runtime/variant.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <random>
#include <type_traits>

namespace host {

namespace {

String* BuildUtf8(std::string_view text) { return BuildString(text, ENCODING_UTF8); }

template <typename Number>
String* StrWhole(Number value) {
    std::array<char, 24> text;
    auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    return BuildUtf8({text.data(), end});
}

String* StrDouble(double value) { return BuildUtf8(NumberText(value)); }

// Amounts are passed as their ten-thousandths.
String* StrCurrency(int64_t units) { return BuildUtf8(CurrencyText({units})); }

String* StrBoolean(int32_t value) { return BuildUtf8(value ? "True" : "False"); }

String* StrVariant(Object* value) {
    switch (VariantKind(value)) {
    case Kind::NOTHING: return nullptr;
    case Kind::BOOLEAN: return StrBoolean(UnboxInteger(value));
    case Kind::STRING: return StringRef::Share(UnboxString(value)).Detach();
    default:
        if (IsNumber(VariantKind(value))) return BuildUtf8(NumberText(VariantKind(value), Unbox(value)));
        RaiseNew("TypeMismatchException", 0, "Str: a " + value->cls->name + " has no text");
        return nullptr;
    }
}

double Val(String* text) { return NumberValue(StringView(text)); }

// White space around a number does not count.
std::string_view NumberPart(String* text) {
    return TrimLeft(TrimRight(StringView(text), Characters::BYTES), Characters::BYTES);
}

// Whether the whole text is a number as programs and data write it, with blanks around it or without.
int32_t IsNumeric(String* text) {
    std::string_view number = NumberPart(text);
    bool hasSign = number.starts_with('+') || number.starts_with('-');
    std::string_view digits = number.substr(hasSign ? 1 : 0);
    bool isStart = !digits.empty() && ((digits[0] >= '0' && digits[0] <= '9') || digits[0] == '.');
    double value = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return isStart && error == std::errc() && end == digits.data() + digits.size() ? 1 : 0;
}

void RaiseArgument(const std::string& message) { RaiseNew("IllegalArgumentException", 0, message); }

int64_t ParseInt64(String* text) {
    std::string_view number = NumberPart(text);
    bool hasSign = number.starts_with('+') && !number.starts_with("+-");
    if (hasSign) number.remove_prefix(1);
    int64_t value = 0;
    auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error == std::errc() && end == number.data() + number.size()) return value;
    RaiseArgument("ParseInt64: \"" + std::string(StringView(text)) + "\" is no Int64");
    return 0;
}

int64_t ParseCurrencyText(String* text) {
    if (std::optional<Currency> amount = ParseCurrency(NumberPart(text))) return amount->units;
    RaiseArgument("ParseCurrency: \"" + std::string(StringView(text)) + "\" is no Currency");
    return 0;
}

int64_t RoundTo(int64_t units, int32_t decimals) {
    int64_t step = Currency::SCALE;
    for (int32_t i = 0; i < decimals && step > 1; ++i) step /= 10;
    const int64_t rest = units % step;
    const bool goesUp = 2 * std::abs(rest) >= step && step > 1;
    int64_t rounded = units - rest;
    if (goesUp && __builtin_add_overflow(rounded, units < 0 ? -step : step, &rounded)) {
        RaiseNew("OverflowException", 0, "RoundTo: the result is too large");
    }
    return rounded;
}

String* Formatted(const std::optional<std::string>& text, String* pattern) {
    if (text) return BuildUtf8(*text);
    RaiseNew("IllegalArgumentException", 0, "Format: malformed pattern \"" + std::string(StringView(pattern)) + "\"");
    return nullptr;
}

String* FormatDouble(double number, String* pattern) {
    return Formatted(FormatNumber(number, StringView(pattern)), pattern);
}

String* FormatInt64(int64_t number, String* pattern) {
    return Formatted(FormatDecimal(std::to_string(number), StringView(pattern)), pattern);
}

String* FormatCurrency(int64_t units, String* pattern) {
    return Formatted(FormatDecimal(CurrencyText({units}), StringView(pattern)), pattern);
}

String* FormatVariant(Object* value, String* pattern) {
    const Kind kind = VariantKind(value);
    if (kind == Kind::DOUBLE) return FormatDouble(UnboxDouble(value), pattern);
    if (IsNumber(kind)) return Formatted(FormatDecimal(NumberText(kind, Unbox(value)), StringView(pattern)), pattern);
    RaiseNew("TypeMismatchException", 0, "Format: the Variant holds no number");
    return nullptr;
}

template <typename Number>
String* Hex(Number value) {
    std::array<char, 16> text;
    auto bits = static_cast<std::make_unsigned_t<Number>>(value);
    auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), bits, 16);
    return BuildUtf8(ToUppercase({text.data(), end}, Characters::BYTES));
}

template <typename Number>
Number Min(Number left, Number right) {
    return std::min(left, right);
}
template <typename Number>
Number Max(Number left, Number right) {
    return std::max(left, right);
}
// The least Integer has no positive counterpart and stays as it is.
int32_t AbsInteger(int32_t value) {
    return value < 0 ? static_cast<int32_t>(0U - static_cast<uint32_t>(value)) : value;
}
int64_t AbsWide(int64_t value) {
    if (value == INT64_MIN) RaiseNew("OverflowException", 0, "Abs: the result is too large");
    return value < 0 && value != INT64_MIN ? -value : value;
}
double AbsDouble(double value) { return std::fabs(value); }
template <typename Number>
int32_t Sign(Number value) {
    return static_cast<int32_t>(value > 0) - static_cast<int32_t>(value < 0);
}
double Floor(double value) { return std::floor(value); }
double Ceil(double value) { return std::ceil(value); }
double Round(double value) { return std::round(value); }
double Sqrt(double value) { return std::sqrt(value); }
double Sin(double value) { return std::sin(value); }
double Cos(double value) { return std::cos(value); }
double Tan(double value) { return std::tan(value); }
double Atan(double value) { return std::atan(value); }
double Atan2(double y, double x) { return std::atan2(y, x); }
double Log(double value) { return std::log(value); }
double Exp(double value) { return std::exp(value); }

// From 0 up to 1, another row of numbers in each run.
double Rnd() {
    static std::mt19937 generator{std::random_device()()};
    return std::generate_canonical<double, 53>(generator);
}

const GlobalFunction FUNCTIONS[] = {
    {"Str(value as Integer) as String", Native<StrWhole<int32_t>>()},
    {"Str(value as Int64) as String", Native<StrWhole<int64_t>>()},
    {"Str(value as Currency) as String", Native<StrCurrency>()},
    {"Str(value as Double) as String", Native<StrDouble>()},
    {"Str(value as Boolean) as String", Native<StrBoolean>()},
    {"Str(value as Variant) as String", Native<StrVariant>()},
    {"Val(text as String) as Double", Native<Val>()},
    {"ParseInt64(text as String) as Int64", Native<ParseInt64>()},
    {"ParseCurrency(text as String) as Currency", Native<ParseCurrencyText>()},
    {"RoundTo(amount as Currency, decimals as Integer) as Currency", Native<RoundTo>()},
    {"IsNumeric(text as String) as Boolean", Native<IsNumeric>()},
    {"Format(number as Double, pattern as String) as String", Native<FormatDouble>()},
    {"Format(number as Int64, pattern as String) as String", Native<FormatInt64>()},
    {"Format(number as Currency, pattern as String) as String", Native<FormatCurrency>()},
    {"Format(number as Variant, pattern as String) as String", Native<FormatVariant>()},
    {"Hex(value as Integer) as String", Native<Hex<int32_t>>()},
    {"Hex(value as Int64) as String", Native<Hex<int64_t>>()},
    {"Min(left as Integer, right as Integer) as Integer", Native<Min<int32_t>>()},
    {"Min(left as Int64, right as Int64) as Int64", Native<Min<int64_t>>()},
    {"Min(left as Currency, right as Currency) as Currency", Native<Min<int64_t>>()},
    {"Min(left as Double, right as Double) as Double", Native<Min<double>>()},
    {"Max(left as Integer, right as Integer) as Integer", Native<Max<int32_t>>()},
    {"Max(left as Int64, right as Int64) as Int64", Native<Max<int64_t>>()},
    {"Max(left as Currency, right as Currency) as Currency", Native<Max<int64_t>>()},
    {"Max(left as Double, right as Double) as Double", Native<Max<double>>()},
    {"Abs(value as Integer) as Integer", Native<AbsInteger>()},
    {"Abs(value as Int64) as Int64", Native<AbsWide>()},
    {"Abs(value as Currency) as Currency", Native<AbsWide>()},
    {"Abs(value as Double) as Double", Native<AbsDouble>()},
    {"Sign(value as Integer) as Integer", Native<Sign<int32_t>>()},
    {"Sign(value as Int64) as Integer", Native<Sign<int64_t>>()},
    {"Sign(value as Currency) as Integer", Native<Sign<int64_t>>()},
    {"Sign(value as Double) as Integer", Native<Sign<double>>()},
    {"Floor(value as Double) as Double", Native<Floor>()},
    {"Ceil(value as Double) as Double", Native<Ceil>()},
    {"Round(value as Double) as Double", Native<Round>()},
    {"Sqrt(value as Double) as Double", Native<Sqrt>()},
    {"Sin(radians as Double) as Double", Native<Sin>()},
    {"Cos(radians as Double) as Double", Native<Cos>()},
    {"Tan(radians as Double) as Double", Native<Tan>()},
    {"Atan(value as Double) as Double", Native<Atan>()},
    {"Atan2(y as Double, x as Double) as Double", Native<Atan2>()},
    {"Log(value as Double) as Double", Native<Log>()},
    {"Exp(value as Double) as Double", Native<Exp>()},
    {"Rnd() as Double", Native<Rnd>()},
};

} // namespace

std::span<const GlobalFunction> NumberFunctions() { return FUNCTIONS; }

} // namespace host
