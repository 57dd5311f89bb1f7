// Cutting an expression into tokens, and which of its names are element names.
#include "sablotron/tree/xpath_tokens.h"

#include <cstddef>
#include <utility>

namespace sablot {
namespace {

class Tokenizer {
public:
    explicit Tokenizer(std::string_view expression) : expression_(expression) {}

    std::vector<Token> Run() {
        tokens_.reserve(expression_.size() / 2);
        while (position_ < expression_.size()) {
            const char c = expression_[position_];
            if (BLANKS.find(c) != std::string_view::npos) {
                Take(Token::OTHER, 1);
            } else if (c == '"' || c == '\'') {
                const size_t end = expression_.find(c, position_ + 1);
                TakeOperand(end == std::string_view::npos ? Rest() : end + 1 - position_);
            } else if (IsDigit(c) || (c == '.' && IsDigit(At(1)))) {
                TakeOperand(Length([](char n) { return IsDigit(n) || n == '.'; }));
            } else if (c == '$') {
                TakeVariable();
            } else if (IsNameStart(c)) {
                TakeName();
            } else {
                TakeSymbol(c);
            }
        }
        return std::move(tokens_);
    }

    const std::vector<std::string_view>& Prefixes() const { return prefixes_; }

private:
    char At(size_t offset) const {
        return position_ + offset < expression_.size() ? expression_[position_ + offset] : '\0';
    }
    size_t Rest() const { return expression_.size() - position_; }

    template <typename Predicate>
    size_t Length(Predicate belongs, size_t offset = 0) const {
        size_t length = 0;
        while (offset + length < Rest() && belongs(At(offset + length))) ++length;
        return length;
    }

    void Take(Token::Kind kind, size_t length) {
        tokens_.push_back({kind, expression_.substr(position_, length)});
        position_ += length;
    }
    void TakeOperand(size_t length, Token::Kind kind = Token::OPERAND) {
        Take(kind, length);
        operandBefore_ = true;
        otherPrincipal_ = false;
    }

    size_t BlanksAt(size_t offset) const {
        return Length([](char c) { return BLANKS.find(c) != std::string_view::npos; }, offset);
    }
    // The length of the name at `offset`, with the part after a colon when there is one.
    size_t QNameAt(size_t offset) {
        const size_t length = Length(IsNameChar, offset);
        const char local = At(offset + length + 1);
        if (At(offset + length) != ':' || !(IsNameStart(local) || local == '*')) return length;
        prefixes_.push_back(expression_.substr(position_ + offset, length));
        return length + 1 + (local == '*' ? 1 : Length(IsNameChar, offset + length + 1));
    }

    void TakeVariable() {
        const size_t name = 1 + BlanksAt(1);
        TakeOperand(name + QNameAt(name));
    }

    void TakeName() {
        const size_t length = Length(IsNameChar);
        if (operandBefore_) { // an operator name: and, or, div, mod
            Take(Token::OPERATOR, length);
            operandBefore_ = false;
            return;
        }
        const size_t next = length + BlanksAt(length);
        if (At(next) == ':' && At(next + 1) == ':') {
            const std::string_view axis = expression_.substr(position_, length);
            otherPrincipal_ = axis == "attribute" || axis == "namespace";
            Take(Token::OTHER, next + 2);
            return;
        }
        if (At(length) == ':') { // a prefixed name, or prefix:*
            TakeOperand(QNameAt(0));
            return;
        }
        TakeOperand(length, At(next) != '(' && !otherPrincipal_ ? Token::ELEMENT_NAME : Token::OPERAND);
    }

    static Token::Kind KindOf(char symbol) {
        switch (symbol) {
        case '(':
        case '[': return Token::OPENING;
        case ')':
        case ']': return Token::CLOSING;
        case '|': return Token::BAR;
        case '/':
        case '@': return Token::OTHER;
        default: return Token::OPERATOR;
        }
    }

    void TakeSymbol(char c) {
        if (c == '*' && !operandBefore_) {
            TakeOperand(1);
        } else if (c == '.') {
            TakeOperand(At(1) == '.' ? 2 : 1);
        } else {
            Take(KindOf(c), 1);
            operandBefore_ = c == ')' || c == ']';
            otherPrincipal_ = c == '@';
        }
    }

    std::string_view expression_;
    size_t position_ = 0;
    std::vector<Token> tokens_;
    std::vector<std::string_view> prefixes_;
    bool operandBefore_ = false;  // what stands before makes `*` and a name an operator
    bool otherPrincipal_ = false; // the next name test is of an attribute or a namespace
};

} // namespace

std::vector<Token> TokensOf(std::string_view expression, std::vector<std::string_view>* prefixes) {
    Tokenizer tokenizer(expression);
    std::vector<Token> tokens = tokenizer.Run();
    if (prefixes != nullptr) *prefixes = tokenizer.Prefixes();
    return tokens;
}

} // namespace sablot
