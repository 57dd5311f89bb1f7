// The tokens of an XPath expression (XPath 1.0, section 3.7, "Lexical Structure").
#pragma once

#include "sablotron/tree/characters.h"

#include <string_view>
#include <vector>

namespace sablot {

inline bool IsNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (static_cast<unsigned char>(c) & 0x80U) != 0;
}
inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }
inline bool IsNameChar(char c) { return IsNameStart(c) || IsDigit(c) || c == '-' || c == '.'; }

// A piece of an expression; together they are the whole text.
struct Token {
    enum Kind { ELEMENT_NAME, OPERAND, OPERATOR, OPENING, CLOSING, BAR, OTHER };
    Kind kind; // ELEMENT_NAME: an unprefixed name test of elements; OPERATOR: a comma, too, but not a bar
    std::string_view text;
};

// What is no XPath is cut somehow: the parser of expressions reports it. With `prefixes`, adds those of names,
// functions and variables to it, as they come.
std::vector<Token> TokensOf(std::string_view expression, std::vector<std::string_view>* prefixes = nullptr);

} // namespace sablot
