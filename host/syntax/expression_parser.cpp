// Expressions by precedence.
#include "host/syntax/expression_parser.h"

#include <algorithm>

namespace host {

using namespace ast;

namespace {

// As MAX_NESTING, of what the parser has built.
constexpr int MAX_DEPTH = 500;

enum Precedence { OR_LEVEL = 1, AND_LEVEL, COMPARISON_LEVEL, SUM_LEVEL, PRODUCT_LEVEL };

struct Operator {
    TokenKind kind;
    Keyword keyword;
    Operation operation;
    int precedence;
};

constexpr Operator OPERATORS[] = {
    {TokenKind::NAME, Keyword::OR, Operation::OR, OR_LEVEL},
    {TokenKind::NAME, Keyword::XOR, Operation::XOR, OR_LEVEL},
    {TokenKind::NAME, Keyword::AND, Operation::AND, AND_LEVEL},
    {TokenKind::EQUAL, Keyword::NONE, Operation::EQUAL, COMPARISON_LEVEL},
    {TokenKind::NOT_EQUAL, Keyword::NONE, Operation::NOT_EQUAL, COMPARISON_LEVEL},
    {TokenKind::LESS, Keyword::NONE, Operation::LESS, COMPARISON_LEVEL},
    {TokenKind::LESS_EQUAL, Keyword::NONE, Operation::LESS_EQUAL, COMPARISON_LEVEL},
    {TokenKind::GREATER, Keyword::NONE, Operation::GREATER, COMPARISON_LEVEL},
    {TokenKind::GREATER_EQUAL, Keyword::NONE, Operation::GREATER_EQUAL, COMPARISON_LEVEL},
    {TokenKind::NAME, Keyword::IS, Operation::IS, COMPARISON_LEVEL},
    {TokenKind::NAME, Keyword::ISA, Operation::IS, COMPARISON_LEVEL},
    {TokenKind::PLUS, Keyword::NONE, Operation::ADD, SUM_LEVEL},
    {TokenKind::MINUS, Keyword::NONE, Operation::SUBTRACT, SUM_LEVEL},
    {TokenKind::STAR, Keyword::NONE, Operation::MULTIPLY, PRODUCT_LEVEL},
    {TokenKind::SLASH, Keyword::NONE, Operation::DIVIDE, PRODUCT_LEVEL},
    {TokenKind::BACKSLASH, Keyword::NONE, Operation::INTEGER_DIVIDE, PRODUCT_LEVEL},
    {TokenKind::NAME, Keyword::MOD, Operation::MODULO, PRODUCT_LEVEL},
};

constexpr Operator NOT_EQUAL{TokenKind::NOT_EQUAL, Keyword::NONE, Operation::NOT_EQUAL, COMPARISON_LEVEL};

const Operator* FindOperator(const Token& token) {
    for (const Operator& row : OPERATORS) {
        bool isKeyword = row.kind == TokenKind::NAME;
        if (isKeyword ? token.keyword == row.keyword : token.kind == row.kind) return &row;
    }
    return nullptr;
}

// Changes the sign of a number as it is written; false when the constant is none.
bool Negate(ConstantValue& value) {
    if (auto* integer = std::get_if<int32_t>(&value)) {
        *integer = static_cast<int32_t>(0U - static_cast<uint32_t>(*integer));
    } else if (auto* wide = std::get_if<int64_t>(&value)) {
        *wide = static_cast<int64_t>(0U - static_cast<uint64_t>(*wide));
        if (*wide == INT32_MIN) value = INT32_MIN;
    } else if (auto* number = std::get_if<double>(&value)) {
        *number = -*number;
    } else {
        return false;
    }
    return true;
}

ExpressionPtr Make(ExpressionKind kind) {
    auto expression = std::make_unique<Expression>();
    expression->kind = kind;
    return expression;
}

class NestingGuard {
public:
    explicit NestingGuard(int& nesting) : nesting_(nesting) { nesting_++; }
    ~NestingGuard() { nesting_--; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;

private:
    int& nesting_;
};

} // namespace

ExpressionPtr ExpressionParser::Invalid(const Span& span) {
    auto expression = Make(ExpressionKind::INVALID);
    expression->span = span;
    return expression;
}

ExpressionPtr ExpressionParser::Finish(ExpressionPtr expression, const Span& start) {
    expression->span = Join(start, cursor_.Previous().span);
    int depth = 0;
    if (expression->left) depth = expression->left->depth;
    if (expression->right) depth = std::max<int>(depth, expression->right->depth);
    for (const ExpressionPtr& argument : expression->arguments) depth = std::max<int>(depth, argument->depth);
    expression->depth = static_cast<uint16_t>(depth + 1);
    if (depth < MAX_DEPTH) return expression;
    cursor_.Fail(expression->span, "the expression is too complex");
    return Invalid(expression->span);
}

ExpressionPtr ExpressionParser::Parse() { return ParseBinary(OR_LEVEL); }

ExpressionPtr ExpressionParser::ParseRest(ExpressionPtr left) { return ParseOperators(std::move(left), OR_LEVEL); }

ExpressionPtr ExpressionParser::ParseBinary(int minimum) {
    NestingGuard guard(nesting_);
    if (nesting_ > MAX_NESTING) {
        cursor_.Fail(cursor_.Peek().span, "the expression is nested too deeply");
        while (!cursor_.AtLineEnd()) cursor_.Next();
        return Invalid(cursor_.Peek().span);
    }
    return ParseOperators(ParseUnary(), minimum);
}

ExpressionPtr ExpressionParser::ParseOperators(ExpressionPtr left, int minimum) {
    for (;;) {
        const Token& token = cursor_.Peek();
        const Operator* row = FindOperator(token);
        if (row == nullptr && token.kind == TokenKind::NAME && SameName(token.text, "IsNot")) {
            diagnostics_.Error(token.span, "\"is not\" is written \"<>\"");
            row = &NOT_EQUAL;
        }
        if (row == nullptr || row->precedence < minimum) return left;
        cursor_.Next();
        Span start = left->span;
        if (GoesOn()) {
            diagnostics_.Error(token.span, "a line that goes on in the next one ends with \" _\"");
            cursor_.Next();
        }
        if (token.keyword == Keyword::ISA) {
            auto test = Make(ExpressionKind::IS_A);
            if (const Token* name = cursor_.ReadName("a class")) {
                test->name = name->text;
                test->nameSpan = name->span;
            } else {
                test->kind = ExpressionKind::INVALID;
            }
            test->left = std::move(left);
            left = Finish(std::move(test), start);
            continue;
        }
        auto binary = Make(ExpressionKind::BINARY);
        binary->operation = row->operation;
        binary->nameSpan = token.span;
        binary->left = std::move(left);
        binary->right = ParseBinary(row->precedence + 1);
        left = Finish(std::move(binary), start);
    }
}

ExpressionPtr ExpressionParser::ParseUnary() {
    NestingGuard guard(nesting_);
    const Token& token = cursor_.Peek();
    if (nesting_ > MAX_NESTING || (token.kind != TokenKind::MINUS && token.keyword != Keyword::NOT)) {
        return ParsePower();
    }
    cursor_.Next();
    bool isNot = token.keyword == Keyword::NOT;
    minus_ = isNot ? nullptr : &token;
    auto unary = Make(isNot ? ExpressionKind::NOT : ExpressionKind::NEGATE);
    unary->nameSpan = token.span;
    unary->left = isNot ? ParseBinary(COMPARISON_LEVEL) : ParseUnary();

    // A negative number is a constant.
    if (!isNot && unary->left->kind == ExpressionKind::CONSTANT) {
        if (Negate(unary->left->constant)) return Finish(std::move(unary->left), token.span);
    }
    return Finish(std::move(unary), token.span);
}

ExpressionPtr ExpressionParser::ParsePower() {
    ExpressionPtr left = ParsePostfix();
    while (cursor_.At(TokenKind::CARET)) {
        Span start = left->span;
        auto power = Make(ExpressionKind::BINARY);
        power->operation = Operation::POWER;
        power->nameSpan = cursor_.Next().span;
        power->left = std::move(left);
        power->right = cursor_.At(TokenKind::MINUS) ? ParseUnary() : ParsePostfix();
        left = Finish(std::move(power), start);
    }
    return left;
}

ExpressionPtr ExpressionParser::ParsePostfix() {
    ExpressionPtr expression = ParsePrimary();
    for (;;) {
        Span start = expression->span;
        if (cursor_.Accept(TokenKind::DOT)) {
            auto member = Make(ExpressionKind::MEMBER);
            if (const Token* name = cursor_.ReadName("a member")) {
                member->name = name->text;
                member->nameSpan = name->span;
            } else {
                member->kind = ExpressionKind::INVALID;
            }
            member->left = std::move(expression);
            expression = Finish(std::move(member), start);
        } else if (cursor_.At(TokenKind::LEFT_PARENTHESIS)) {
            auto call = Make(ExpressionKind::CALL);
            call->left = std::move(expression);
            if (!ParseArguments(*call)) call->kind = ExpressionKind::INVALID;
            expression = Finish(std::move(call), start);
        } else if (cursor_.At(TokenKind::LEFT_BRACKET) && cursor_.IsClose()) {
            auto element = Make(ExpressionKind::INVALID);
            cursor_.Fail(cursor_.Peek().span, "an element is written \"a(0)\", one of a Dictionary \"d.Value(key)\"");
            ParseArguments(*element);
            expression = Finish(std::move(element), start);
        } else {
            return expression;
        }
    }
}

bool ExpressionParser::ParseArguments(Expression& call) {
    bool isBracket = cursor_.At(TokenKind::LEFT_BRACKET);
    cursor_.OpenParenthesis();
    TokenKind closer = isBracket ? TokenKind::RIGHT_BRACKET : TokenKind::RIGHT_PARENTHESIS;
    call.hasParentheses = true;
    if (!cursor_.At(closer)) {
        do {
            call.arguments.push_back(Parse());
        } while (cursor_.Accept(TokenKind::COMMA));
    }
    return cursor_.CloseParenthesis(closer, isBracket ? "\",\" or \"]\"" : "\",\" or \")\"");
}

// AddressOf name, AddressOf object.name
ExpressionPtr ExpressionParser::ParseAddress() {
    Span start = cursor_.Next().span;
    auto address = Make(ExpressionKind::ADDRESS_OF);
    address->left = ParsePostfix();
    return Finish(std::move(address), start);
}

// RaiseEvent Name(arguments)
ExpressionPtr ExpressionParser::ParseRaise() {
    Span start = cursor_.Next().span;
    auto raise = Make(ExpressionKind::RAISE_EVENT);
    if (const Token* name = cursor_.ReadName("the name of an event")) {
        raise->name = name->text;
        raise->nameSpan = name->span;
        bool hasArguments = cursor_.At(TokenKind::LEFT_PARENTHESIS);
        if (hasArguments && !ParseArguments(*raise)) raise->kind = ExpressionKind::INVALID;
    } else {
        raise->kind = ExpressionKind::INVALID;
    }
    return Finish(std::move(raise), start);
}

// If(condition, value, value) and [value, …]
ExpressionPtr ExpressionParser::ParseList(const Token& token) {
    bool isConditional = token.keyword == Keyword::IF;
    auto list = Make(isConditional ? ExpressionKind::CONDITIONAL : ExpressionKind::ARRAY);
    list->nameSpan = token.span;
    if (isConditional) cursor_.Next();
    if (!ParseArguments(*list)) list->kind = ExpressionKind::INVALID;
    return Finish(std::move(list), token.span);
}

ExpressionPtr ExpressionParser::ParseBareArguments(ExpressionPtr callee) {
    Span start = callee->span;
    auto call = Make(ExpressionKind::CALL);
    call->left = std::move(callee);
    do {
        call->arguments.push_back(Parse());
    } while (cursor_.Accept(TokenKind::COMMA));
    return Finish(std::move(call), start);
}

ExpressionPtr ExpressionParser::ParseNew() {
    Span start = cursor_.Next().span;
    auto expression = Make(ExpressionKind::NEW);
    const Token* name = cursor_.ReadName("a class");
    if (name == nullptr) {
        expression->kind = ExpressionKind::INVALID;
    } else {
        expression->name = name->text;
        expression->nameSpan = name->span;
        bool hasArguments = cursor_.At(TokenKind::LEFT_PARENTHESIS);
        if (hasArguments && !ParseArguments(*expression)) expression->kind = ExpressionKind::INVALID;
    }
    return Finish(std::move(expression), start);
}

// Whether the next line is the operand that is missing on this one, and no statement.
bool ExpressionParser::GoesOn() const {
    if (!cursor_.At(TokenKind::END_OF_LINE)) return false;
    const Token& token = cursor_.Peek(1);
    switch (token.kind) {
    case TokenKind::STRING:
    case TokenKind::INTEGER:
    case TokenKind::DOUBLE:
    case TokenKind::LEFT_PARENTHESIS: return true;
    case TokenKind::NAME: return CanBeName(token.keyword) && cursor_.Peek(2).kind != TokenKind::EQUAL;
    default: return false;
    }
}

bool ExpressionParser::AtOperand() const {
    const Token& token = cursor_.Peek();
    switch (token.kind) {
    case TokenKind::INTEGER:
    case TokenKind::DOUBLE:
    case TokenKind::LEFT_BRACKET:
    case TokenKind::DOT:
    case TokenKind::STRING: return true;
    case TokenKind::NAME: break;
    default: return false;
    }
    switch (token.keyword) {
    case Keyword::ADDRESSOF:
    case Keyword::RAISEEVENT:
    case Keyword::TRUE:
    case Keyword::FALSE:
    case Keyword::NIL:
    case Keyword::NEW:
    case Keyword::NOT:
    case Keyword::SELF:
    case Keyword::SUPER: return true;
    case Keyword::IF: return cursor_.Peek(1).kind == TokenKind::LEFT_PARENTHESIS;
    default: return CanBeName(token.keyword);
    }
}

ExpressionPtr ExpressionParser::ParsePrimary() {
    const Token& token = cursor_.Peek();
    if (token.kind == TokenKind::LEFT_PARENTHESIS) {
        cursor_.OpenParenthesis();
        ExpressionPtr inner = Parse();
        if (!cursor_.CloseParenthesis(TokenKind::RIGHT_PARENTHESIS, "\")\"")) return Invalid(inner->span);
        inner->span = Join(token.span, cursor_.Previous().span);
        return inner;
    }
    if (!AtOperand() || token.keyword == Keyword::NOT) {
        cursor_.Expected("an expression");
        return Invalid(token.span);
    }
    if (token.keyword == Keyword::NEW) return ParseNew();
    if (token.keyword == Keyword::ADDRESSOF) return ParseAddress();
    if (token.keyword == Keyword::RAISEEVENT) return ParseRaise();
    if (token.keyword == Keyword::IF || token.kind == TokenKind::LEFT_BRACKET) return ParseList(token);

    ExpressionPtr expression = Make(ExpressionKind::CONSTANT);
    if (token.kind == TokenKind::DOT) {
        expression->kind = ExpressionKind::WITH_OBJECT;
        expression->span = {token.span.file, token.span.offset, 0};
        return expression;
    }
    if (token.kind == TokenKind::INTEGER || token.kind == TokenKind::DOUBLE) {
        std::optional<ConstantValue> number = NumberValue(token, false);
        // The least Int64 is a number only with its minus.
        bool isNegated = &cursor_.Previous() == minus_ && cursor_.Peek(1).kind != TokenKind::CARET;
        if (!number && isNegated) number = NumberValue(token, true);
        if (!number) diagnostics_.Error(token.span, NUMBER_TOO_LARGE);
        expression->constant = number.value_or(0);
    } else if (token.kind == TokenKind::STRING) {
        expression->constant = StringValue(token);
    } else if (token.keyword == Keyword::TRUE || token.keyword == Keyword::FALSE) {
        expression->constant = token.keyword == Keyword::TRUE;
    } else if (token.keyword == Keyword::SELF) {
        expression->kind = ExpressionKind::SELF;
    } else if (token.keyword == Keyword::SUPER) {
        expression->kind = ExpressionKind::SUPER;
    } else if (token.keyword != Keyword::NIL) {
        expression->kind = ExpressionKind::NAME;
        expression->name = token.text;
        expression->nameSpan = token.span;
    }
    cursor_.Next();
    return Finish(std::move(expression), token.span);
}

} // namespace host
