// Text operations below the string functions of the language: plain bytes in, plain bytes out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// What one character is: a byte, or a code point of UTF-8.
enum class Characters { BYTES, UTF8 };

std::string ReplaceText(std::string_view text, std::string_view wanted, std::string_view replacement, bool all);

// Removes white space (Unicode White_Space and control characters below the space).
std::string_view TrimLeft(std::string_view text, Characters characters);
std::string_view TrimRight(std::string_view text, Characters characters);

// An empty delimiter splits into characters.
std::vector<std::string_view> SplitText(std::string_view text, std::string_view delimiter, Characters characters);

// Full case mapping of Unicode (ICU, root locale); BYTES maps ASCII letters only.
std::string ToUppercase(std::string_view text, Characters characters);
std::string ToLowercase(std::string_view text, Characters characters);
// What texts that differ in case only have in common.
std::string FoldCase(std::string_view text, Characters characters);

// The UTF-8 bytes of a code point; nothing for a surrogate or a value above U+10FFFF.
std::optional<std::string> EncodeCodePoint(uint32_t codePoint);
// The code point of the first character, U+FFFD when it is ill-formed, -1 for empty text.
int32_t FirstCodePoint(std::string_view text, Characters characters);

// The number at the start of `text` (also &h, &o and &b forms), 0 when there is none.
double NumberValue(std::string_view text);

// Formats by a pattern such as "#,##0.00", "0.0%", "0.00E+0" or "0;(0)"; `\` quotes the next character.
// Nothing when the pattern is malformed.
std::optional<std::string> FormatNumber(double number, std::string_view pattern);
// The same for a number in decimal digits, of any length.
std::optional<std::string> FormatDecimal(std::string_view number, std::string_view pattern);

} // namespace host
