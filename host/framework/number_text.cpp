// Numbers as text and text as numbers.
#include "host/framework/text.h"
#include "host/framework/utf16.h"

#include <unicode/unum.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <memory>

namespace host {

namespace {

// Patterns quote with a backslash where ICU quotes with apostrophes; an apostrophe itself is plain text.
std::string IcuPattern(std::string_view pattern) {
    std::string result;
    for (size_t i = 0; i < pattern.size(); ++i) {
        bool quoted = pattern[i] == '\\' && i + 1 < pattern.size();
        if (quoted) ++i;
        if (pattern[i] == '\'')
            result += "''";
        else if (quoted)
            result.append("'").append(1, pattern[i]).append("'");
        else
            result += pattern[i];
    }
    return result;
}

double DigitsValue(std::string_view digits, int base) {
    const char* end = digits.data() + digits.size();
    uint64_t value = 0;
    auto [stop, error] = std::from_chars(digits.data(), end, value, base);
    return error == std::errc() ? static_cast<double>(value) : 0;
}

// `write` puts the number into a buffer, as ICU's functions do.
template <typename Write>
std::optional<std::string> FormatBy(std::string_view pattern, Write write) {
    std::u16string wide = ToUtf16(IcuPattern(pattern));
    UErrorCode status = U_ZERO_ERROR;
    UParseError place;
    std::unique_ptr<UNumberFormat, decltype(&unum_close)> format(
        unum_open(UNUM_PATTERN_DECIMAL, wide.data(), static_cast<int32_t>(wide.size()), "en", &place, &status),
        unum_close);
    if (U_FAILURE(status)) return std::nullopt;
    unum_setAttribute(format.get(), UNUM_ROUNDING_MODE, UNUM_ROUND_HALFUP);
    std::u16string result(64, u'\0');
    for (int attempt = 0; attempt < 2; ++attempt) {
        status = U_ZERO_ERROR;
        int32_t length = write(format.get(), result.data(), static_cast<int32_t>(result.size()), &status);
        result.resize(static_cast<size_t>(length));
        if (status != U_BUFFER_OVERFLOW_ERROR) break;
    }
    if (U_FAILURE(status)) return std::nullopt;
    return ToUtf8(result);
}

} // namespace

double NumberValue(std::string_view text) {
    text = TrimLeft(text, Characters::BYTES);
    if (text.size() > 2 && text[0] == '&') {
        switch (text[1] | 0x20) {
        case 'h': return DigitsValue(text.substr(2), 16);
        case 'o': return DigitsValue(text.substr(2), 8);
        case 'b': return DigitsValue(text.substr(2), 2);
        default: return 0;
        }
    }
    // from_chars takes no plus sign, and would take "inf" and "nan".
    bool plus = text.starts_with('+');
    if (plus) text.remove_prefix(1);
    size_t first = !plus && text.starts_with('-') ? 1 : 0;
    if (first >= text.size() || !(text[first] == '.' || (text[first] >= '0' && text[first] <= '9'))) return 0;
    double number = 0;
    auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc::result_out_of_range) return error == std::errc() ? number : 0;
    // Out of range: too large or too small, as the sign of the exponent says.
    size_t exponent = text.substr(0, static_cast<size_t>(stop - text.data())).find_first_of("eE");
    bool tiny = exponent != std::string_view::npos && text[exponent + 1] == '-';
    double magnitude = tiny ? 0 : std::numeric_limits<double>::infinity();
    return first ? -magnitude : magnitude;
}

std::optional<std::string> FormatNumber(double number, std::string_view pattern) {
    return FormatBy(pattern, [number](UNumberFormat* format, char16_t* text, int32_t size, UErrorCode* status) {
        return unum_formatDouble(format, number, text, size, nullptr, status);
    });
}

std::optional<std::string> FormatDecimal(std::string_view number, std::string_view pattern) {
    return FormatBy(pattern, [number](UNumberFormat* format, char16_t* text, int32_t size, UErrorCode* status) {
        return unum_formatDecimal(format, number.data(), static_cast<int32_t>(number.size()), text, size, nullptr,
                                  status);
    });
}

} // namespace host
