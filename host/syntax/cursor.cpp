// The grammar of declarations.
#include "host/syntax/cursor.h"

#include <algorithm>

namespace host {

namespace {

// What stands there, for "expected …, found …".
std::string Describe(const Token& token) {
    if (token.kind == TokenKind::END_OF_LINE || token.kind == TokenKind::END_OF_FILE) return "the end of the line";
    if (token.kind == TokenKind::STRING) return "a string";
    return "\"" + std::string(token.text) + "\"";
}

// Whether a line begins here with a word that no expression goes on with: then a parenthesis before it was left open.
bool StartsStatement(const Token& token, const Token* next) {
    switch (token.keyword) {
    case Keyword::IF: return next == nullptr || next->kind != TokenKind::LEFT_PARENTHESIS;
    case Keyword::CASE:
    case Keyword::CATCH:
    case Keyword::CLASS:
    case Keyword::CONST:
    case Keyword::CONTINUE:
    case Keyword::DIM:
    case Keyword::DO:
    case Keyword::ELSE:
    case Keyword::ELSEIF:
    case Keyword::END:
    case Keyword::EXIT:
    case Keyword::FINALLY:
    case Keyword::FOR:
    case Keyword::FUNCTION:
    case Keyword::LOOP:
    case Keyword::MODULE:
    case Keyword::NEXT:
    case Keyword::PRINT:
    case Keyword::RAISE:
    case Keyword::REDIM:
    case Keyword::RETURN:
    case Keyword::SELECT:
    case Keyword::SUB:
    case Keyword::TRY:
    case Keyword::WEND:
    case Keyword::WHILE: return true;
    default: return false;
    }
}

} // namespace

size_t TokenCursor::Index(size_t ahead) const {
    size_t index = at_;
    for (;; ++index) {
        bool isJoined =
            parentheses_ > 0 && index + 1 < tokens_.size() && tokens_[index].kind == TokenKind::END_OF_LINE
            && !StartsStatement(tokens_[index + 1], index + 2 < tokens_.size() ? &tokens_[index + 2] : nullptr);
        if (isJoined) continue;
        if (ahead-- == 0) break;
    }
    return std::min(index, tokens_.size() - 1);
}

const Token& TokenCursor::Peek(size_t ahead) const { return tokens_[Index(ahead)]; }

const Token& TokenCursor::Next() {
    at_ = Index(0);
    const Token& token = tokens_[at_];
    if (at_ + 1 < tokens_.size()) at_++;
    return token;
}

void TokenCursor::OpenParenthesis() {
    Next();
    ++parentheses_;
}

bool TokenCursor::CloseParenthesis(TokenKind closer, const std::string& what) {
    bool isClosed = At(closer);
    // What is missing is missing at the end of its line, wherever the next one goes on.
    endsInParentheses_ |= At(TokenKind::END_OF_FILE);
    if (isClosed) at_ = Index(0);
    parentheses_ = isClosed ? parentheses_ - 1 : 0;
    return Expect(closer, what);
}

bool TokenCursor::Accept(TokenKind kind) {
    if (!At(kind)) return false;
    Next();
    return true;
}

bool TokenCursor::Accept(Keyword keyword) {
    if (!At(keyword)) return false;
    Next();
    return true;
}

void TokenCursor::Expected(const std::string& what) {
    if (At(TokenKind::END_OF_FILE)) {
        endsInParentheses_ |= parentheses_ > 0;
        parentheses_ = 0;
    }
    Fail(Peek().span, "expected " + what + ", found " + Describe(Peek()) + Hint());
}

bool TokenCursor::IsClose() const {
    const Span& before = Previous().span;
    return before.offset + before.length == Peek().span.offset;
}

// What people write who come from other languages.
std::string TokenCursor::Hint() const {
    const Token& token = Peek();
    const Token& before = Previous();
    if (IsClose() && before.kind == TokenKind::STRING && before.text.ends_with("\\\""))
        return " (in a text, a quotation mark is written twice)";
    if (IsClose() && token.kind == TokenKind::LEFT_BRACKET) return " (arrays have parentheses)";
    if (token.kind == TokenKind::NAME
        && (SameName(token.text, "Extends") || SameName(token.text, "Implements")
            || (token.keyword == Keyword::INHERITS)))
        return " (\"Inherits …\" is a line of its own)";
    const bool startsLine = at_ == 0 || before.kind == TokenKind::END_OF_LINE;
    if (startsLine && token.kind == TokenKind::INTEGER && Peek(1).kind == TokenKind::NAME)
        return " (lines have no numbers)";
    bool isOptional = token.kind == TokenKind::NAME && SameName(before.text, "Optional");
    return isOptional ? " (a parameter with \"= …\" behind its type may be left out)" : "";
}

void TokenCursor::Fail(const Span& span, std::string message) {
    bool isReported = hasFailed_ || At(TokenKind::INVALID);
    if (!isReported) diagnostics_.Error(span, std::move(message));
    hasFailed_ = true;
    parentheses_ = 0;
}

bool TokenCursor::Expect(TokenKind kind, const std::string& what) {
    if (Accept(kind)) return true;
    Expected(what);
    return false;
}

bool TokenCursor::Expect(Keyword keyword) {
    if (Accept(keyword)) return true;
    Expected("\"" + std::string(KeywordName(keyword)) + "\"");
    return false;
}

const Token* TokenCursor::ReadName(const std::string& what) {
    if (At(TokenKind::NAME)) return &Next();
    Expected(what);
    return nullptr;
}

bool TokenCursor::ReadTypeName(TypeName& type) {
    const Token* name = ReadName("a type");
    if (name == nullptr) return false;
    type.name = name->text;
    type.span = name->span;
    if (At(TokenKind::LEFT_PARENTHESIS) && Peek(1).kind == TokenKind::RIGHT_PARENTHESIS) {
        Next();
        Next();
        type.isArray = true;
    }
    return true;
}

std::optional<ConstantValue> TokenCursor::ReadConstant() {
    const Token& first = Peek();
    bool negative = Accept(TokenKind::MINUS);
    const Token& token = Peek();
    ConstantValue value;
    if (token.kind == TokenKind::INTEGER || token.kind == TokenKind::DOUBLE) {
        std::optional<ConstantValue> number = NumberValue(token, negative);
        if (!number) diagnostics_.Error(token.span, NUMBER_TOO_LARGE);
        value = number.value_or(0);
    } else if (!negative && token.kind == TokenKind::STRING) {
        value = StringValue(token);
    } else if (!negative && (token.keyword == Keyword::TRUE || token.keyword == Keyword::FALSE)) {
        value = token.keyword == Keyword::TRUE;
    } else if (negative || token.keyword != Keyword::NIL) {
        Fail(Join(first.span, token.span), "expected a constant, found " + Describe(token));
        return std::nullopt;
    }
    Next();
    return value;
}

bool TokenCursor::ReadParameter(Parameter& parameter) {
    bool nameFollows = Peek(1).kind == TokenKind::NAME && Peek(1).keyword != Keyword::AS;
    if (nameFollows && Accept(Keyword::BYREF))
        parameter.isByRef = true;
    else if (nameFollows && Accept(Keyword::EXTENDS))
        parameter.isExtended = true;
    else if (nameFollows)
        Accept(Keyword::BYVAL);

    const Token* name = ReadName("a parameter");
    if (name == nullptr) return false;
    parameter.name = name->text;
    parameter.span = name->span;
    bool isArray = false;
    if (Accept(TokenKind::LEFT_PARENTHESIS)) {
        if (!Expect(TokenKind::RIGHT_PARENTHESIS, "\")\"")) return false;
        isArray = true;
    }
    if (!Expect(Keyword::AS) || !ReadTypeName(parameter.type)) return false;
    parameter.type.isArray |= isArray;
    if (Accept(TokenKind::EQUAL)) {
        parameter.defaultValue = ReadConstant();
        if (!parameter.defaultValue) return false;
    }
    return true;
}

bool TokenCursor::ReadDeclaration(Declaration& declaration) {
    const Token* name = ReadName("a name");
    if (name == nullptr) return false;
    declaration.name = name->text;
    declaration.span = name->span;
    if (At(TokenKind::LEFT_PARENTHESIS)) {
        OpenParenthesis();
        declaration.hasParameterList = true;
        if (!At(TokenKind::RIGHT_PARENTHESIS)) {
            do {
                if (!ReadParameter(declaration.parameters.emplace_back())) return false;
            } while (Accept(TokenKind::COMMA));
        }
        if (!CloseParenthesis(TokenKind::RIGHT_PARENTHESIS, "\",\" or \")\"")) return false;
    }
    if (Accept(Keyword::AS)) return ReadTypeName(declaration.result);
    return true;
}

} // namespace host
