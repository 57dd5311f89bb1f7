// Functions of numbers, and between numbers and text.
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/framework/text.h"
#include "host/runtime/class.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/number_text.h"
#include "host/runtime/string.h"
#include "host/runtime/variant.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <random>

namespace host {

namespace {

String* BuildUtf8(std::string_view text) { return BuildString(text, ENCODING_UTF8); }

String* StrInteger(int32_t value) {
    std::array<char, 16> text;
    auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    return BuildUtf8({text.data(), end});
}

String* StrDouble(double value) { return BuildUtf8(NumberText(value)); }

String* StrBoolean(int32_t value) { return BuildUtf8(value ? "True" : "False"); }

String* StrVariant(Object* value) {
    switch (VariantKind(value)) {
    case Kind::NOTHING: return nullptr;
    case Kind::INTEGER: return StrInteger(UnboxInteger(value));
    case Kind::BOOLEAN: return StrBoolean(UnboxInteger(value));
    case Kind::DOUBLE: return StrDouble(UnboxDouble(value));
    case Kind::STRING: return StringRef::Share(UnboxString(value)).Detach();
    default: RaiseNew("TypeMismatchException", 0, "Str: a " + value->cls->name + " has no text"); return nullptr;
    }
}

double Val(String* text) { return NumberValue(StringView(text)); }

// Whether the whole text is a number as programs and data write it, with blanks around it or without.
int32_t IsNumeric(String* text) {
    std::string_view number = TrimLeft(TrimRight(StringView(text), Characters::BYTES), Characters::BYTES);
    bool hasSign = number.starts_with('+') || number.starts_with('-');
    std::string_view digits = number.substr(hasSign ? 1 : 0);
    bool isStart = !digits.empty() && ((digits[0] >= '0' && digits[0] <= '9') || digits[0] == '.');
    double value = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return isStart && error == std::errc() && end == digits.data() + digits.size() ? 1 : 0;
}

String* Format(double number, String* pattern) {
    std::optional<std::string> text = FormatNumber(number, StringView(pattern));
    if (text) return BuildUtf8(*text);
    RaiseNew("IllegalArgumentException", 0, "Format: malformed pattern \"" + std::string(StringView(pattern)) + "\"");
    return nullptr;
}

String* Hex(int32_t value) {
    std::array<char, 8> text;
    auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), static_cast<uint32_t>(value), 16);
    return BuildUtf8(ToUppercase({text.data(), end}, Characters::BYTES));
}

int32_t MinInteger(int32_t left, int32_t right) { return std::min(left, right); }
int32_t MaxInteger(int32_t left, int32_t right) { return std::max(left, right); }
double MinDouble(double left, double right) { return std::min(left, right); }
double MaxDouble(double left, double right) { return std::max(left, right); }
// The least Integer has no positive counterpart and stays as it is.
int32_t AbsInteger(int32_t value) {
    return value < 0 ? static_cast<int32_t>(0U - static_cast<uint32_t>(value)) : value;
}
double AbsDouble(double value) { return std::fabs(value); }
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
    {"Str(value as Integer) as String", Native<StrInteger>()},
    {"Str(value as Double) as String", Native<StrDouble>()},
    {"Str(value as Boolean) as String", Native<StrBoolean>()},
    {"Str(value as Variant) as String", Native<StrVariant>()},
    {"Val(text as String) as Double", Native<Val>()},
    {"IsNumeric(text as String) as Boolean", Native<IsNumeric>()},
    {"Format(number as Double, pattern as String) as String", Native<Format>()},
    {"Hex(value as Integer) as String", Native<Hex>()},
    {"Min(left as Integer, right as Integer) as Integer", Native<MinInteger>()},
    {"Min(left as Double, right as Double) as Double", Native<MinDouble>()},
    {"Max(left as Integer, right as Integer) as Integer", Native<MaxInteger>()},
    {"Max(left as Double, right as Double) as Double", Native<MaxDouble>()},
    {"Abs(value as Integer) as Integer", Native<AbsInteger>()},
    {"Abs(value as Double) as Double", Native<AbsDouble>()},
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
