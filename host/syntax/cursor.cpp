// The grammar of declarations.
#include "host/syntax/cursor.h"

namespace host {

namespace {

// What stands there, for "expected …, found …".
std::string Describe(const Token& token) {
    if (token.kind == TokenKind::END_OF_LINE || token.kind == TokenKind::END_OF_FILE) return "the end of the line";
    if (token.kind == TokenKind::STRING) return "a string";
    return "\"" + std::string(token.text) + "\"";
}

} // namespace

const Token& TokenCursor::Peek(size_t ahead) const {
    size_t index = at_ + ahead;
    return tokens_[index < tokens_.size() ? index : tokens_.size() - 1];
}

const Token& TokenCursor::Next() {
    const Token& token = Peek();
    if (at_ + 1 < tokens_.size()) at_++;
    return token;
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
    Fail(Peek().span, "expected " + what + ", found " + Describe(Peek()));
}

void TokenCursor::Fail(const Span& span, std::string message) {
    bool isReported = hasFailed_ || At(TokenKind::INVALID);
    if (!isReported) diagnostics_.Error(span, std::move(message));
    hasFailed_ = true;
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
    if (token.kind == TokenKind::INTEGER) {
        value = negative ? static_cast<int32_t>(0U - static_cast<uint32_t>(token.integer)) : token.integer;
        if (!negative && token.number > 2147483647.0) {
            diagnostics_.Error(token.span, "number too large for an Integer");
        }
    } else if (token.kind == TokenKind::DOUBLE) {
        value = negative ? -token.number : token.number;
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
    if (Accept(TokenKind::LEFT_PARENTHESIS)) {
        declaration.hasParameterList = true;
        if (!At(TokenKind::RIGHT_PARENTHESIS)) {
            do {
                if (!ReadParameter(declaration.parameters.emplace_back())) return false;
            } while (Accept(TokenKind::COMMA));
        }
        if (!Expect(TokenKind::RIGHT_PARENTHESIS, "\",\" or \")\"")) return false;
    }
    if (Accept(Keyword::AS)) return ReadTypeName(declaration.result);
    return true;
}

} // namespace host
