// Tokens and keywords.
#pragma once

#include "host/syntax/declaration.h"
#include "host/syntax/names.h"
#include "host/syntax/source.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// Words with a meaning of their own. They are recognised wherever they stand, but the parsers take them as names where
// only a name can follow: after a dot, for a parameter, for a member.
enum class Keyword : uint8_t {
    NONE,
    ADDHANDLER,
    ADDRESSOF,
    AND,
    AS,
    BYREF,
    BYVAL,
    CASE,
    CATCH,
    CLASS,
    CONST,
    CONTINUE,
    DECLARE,
    DELEGATE,
    DIM,
    DO,
    DOWNTO,
    EACH,
    ELSE,
    ELSEIF,
    END,
    ENUM,
    EVENT,
    EXIT,
    EXTENDS,
    FALSE,
    FINALLY,
    FOR,
    FUNCTION,
    GET,
    IF,
    IMPORT,
    IN,
    INHERITS,
    IS,
    ISA,
    LOOP,
    MOD,
    MODULE,
    NEW,
    NEXT,
    NIL,
    NOT,
    OR,
    PRINT,
    PRIVATE,
    PROPERTY,
    PROTECTED,
    RAISE,
    RAISEEVENT,
    REDIM,
    REMOVEHANDLER,
    RETURN,
    SELECT,
    SELF,
    SET,
    SHARED,
    STATIC,
    STEP,
    SUB,
    SUPER,
    THEN,
    TO,
    TRUE,
    TRY,
    UNTIL,
    WEND,
    WHILE,
    WITH,
    XOR,
};

enum class TokenKind : uint8_t {
    END_OF_FILE,
    END_OF_LINE,
    INVALID, // what was reported by the lexer
    NAME,    // a name or a keyword; Token::keyword tells
    INTEGER,
    DOUBLE,
    STRING,
    PLUS,
    MINUS,
    STAR,
    SLASH,
    BACKSLASH,
    CARET,
    EQUAL,
    NOT_EQUAL,
    LESS,
    LESS_EQUAL,
    GREATER,
    GREATER_EQUAL,
    LEFT_PARENTHESIS,
    RIGHT_PARENTHESIS,
    LEFT_BRACKET,
    RIGHT_BRACKET,
    PLUS_EQUAL,
    MINUS_EQUAL,
    STAR_EQUAL,
    SLASH_EQUAL,
    COMMA,
    DOT,
};

struct Token {
    TokenKind kind = TokenKind::END_OF_FILE;
    Keyword keyword = Keyword::NONE;
    Span span;
    std::string_view text; // as written, in the source file
    uint64_t integer = 0;  // of an INTEGER; from 2^31 on an Int64
    double number = 0;     // of a DOUBLE
};

inline constexpr const char* NUMBER_TOO_LARGE = "number too large for an Int64; write it with \".0\" for a Double";
// The value of an INTEGER or DOUBLE token, with a minus before it or without; nothing if it is too large.
std::optional<ConstantValue> NumberValue(const Token& token, bool isNegated);

// The value of a STRING token: without its quotes, doubled quotes made single; of `&u41` the character's UTF-8.
std::string StringValue(const Token& token);

// The keyword as the documentation writes it, e.g. "ElseIf".
std::string_view KeywordName(Keyword keyword);
std::vector<std::string_view> KeywordNames();
// Whether a variable, parameter or type can have the word's name: it starts no expression and no statement in one.
bool CanBeName(Keyword keyword);

} // namespace host
