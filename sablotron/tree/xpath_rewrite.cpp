// The tokens of an XPath expression, and which of its names are element names.
#include "sablotron/tree/xpath_rewrite.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace sablot {
namespace {

constexpr std::string_view BLANKS = " \t\r\n";

bool IsNameStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || (static_cast<unsigned char>(c) & 0x80U) != 0;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsNameChar(char c) { return IsNameStart(c) || IsDigit(c) || c == '-' || c == '.'; }

// A piece of an expression; together they are the whole text.
struct Token {
    enum Kind { ELEMENT_NAME, OPERAND, OPERATOR, OPENING, CLOSING, BAR, OTHER };
    Kind kind; // ELEMENT_NAME: an unprefixed name test of elements; OPERATOR: a comma, too, but not a bar
    std::string_view text;
};

class Tokenizer {
public:
    explicit Tokenizer(std::string_view expression) : expression_(expression) {}

    std::vector<Token> Run() {
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

// Whether the text is a step to children or attributes by name and no more: "b", "p:b", "*", "@x".
bool IsNamedStep(std::string_view step) {
    if (step.starts_with('@')) step.remove_prefix(1);
    const size_t colon = step.find(':');
    if (colon != std::string_view::npos && colon > 0 && IsNameStart(step[0])) step.remove_prefix(colon + 1);
    return step == "*" || (!step.empty() && IsNameStart(step[0]) && std::all_of(step.begin(), step.end(), IsNameChar));
}

bool IsChildTest(std::string_view step) { return step == "node()" || step == "text()" || step == "comment()"; }

// Whether the text ends in a step that can have predicates. What could be an operator is taken for one.
bool EndsInStep(std::string_view text) {
    if (text.empty() || text.back() == ']' || text.back() == ')') return !text.empty();
    if (text.back() == '*') return text.size() > 1 && std::string_view("/:@").find(text[text.size() - 2]) < 3;
    size_t begin = text.size();
    while (begin > 0 && IsNameChar(text[begin - 1])) --begin;
    const std::string_view name = text.substr(begin);
    return !name.empty() && IsNameStart(name[0]) && !name.ends_with('.') && name != "and" && name != "or"
           && name != "div" && name != "mod";
}

// A step back from the node that the step before it found: the step, and what takes the place of both. In that, '$'
// stands for the step before.
struct WayBack {
    size_t length = 0;
    std::string replacement;
};

WayBack WayBackAt(std::string_view text, const std::string& step) {
    constexpr std::string_view TO_PARENT = "/parent::";
    if (text.starts_with("/..")) return {3, "[$]"};
    for (const auto& [axis, back] : {std::pair<std::string_view, std::string>("/following-sibling::", "preceding"),
                                     std::pair<std::string_view, std::string>("/preceding-sibling::", "following")}) {
        if (!text.starts_with(axis)) continue;
        const std::string_view test = text.substr(axis.size());
        const auto isTest = [test](const std::string& first) {
            const size_t next = test.starts_with(first) ? test.find_first_not_of(BLANKS, first.size()) : 0;
            return next != 0 && (next == std::string_view::npos || test[next] != '[');
        };
        if (isTest("*[1]")) return {axis.size() + 4, "/*[" + back + "-sibling::*[1]/self::$]"};
        if (isTest(step + "[1]")) return {axis.size() + step.size() + 3, "/$[" + back + "-sibling::" + step + ']'};
    }
    if (!text.starts_with(TO_PARENT)) return {};
    const std::string_view test = text.substr(TO_PARENT.size());
    if (test.starts_with("node()")) {
        // What a predicate counts after it are not the nodes that the step before finds.
        const size_t next = test.find_first_not_of(BLANKS, 6);
        const bool isCounted = next != std::string_view::npos && test[next] == '[';
        return {TO_PARENT.size() + 6, isCounted ? "[$]/self::node()" : "[$]"};
    }
    size_t length = test.starts_with('*') ? 1 : 0;
    while (length < test.size() && (IsNameChar(test[length]) || test[length] == ':')) ++length;
    if (length == 0 || test.substr(length).starts_with('(') || test.substr(length).starts_with('*')) return {};
    return {TO_PARENT.size() + length, "[$]/self::" + std::string(test.substr(0, length))};
}

// Of a piece of an expression without literals.
std::string WithoutWaysBack(std::string_view expression) {
    std::string result(expression);
    for (size_t at = result.find('/'); at != std::string::npos; at = result.find('/', at + 1)) {
        const size_t slash = at > 0 ? result.rfind('/', at - 1) : std::string::npos;
        if (slash == std::string::npos || slash == 0) continue;
        const std::string step = result.substr(slash + 1, at - slash - 1);
        WayBack way = WayBackAt(std::string_view(result).substr(at), step);
        const bool isAnywhere = result[slash - 1] == '/';
        const bool toSibling = way.replacement.starts_with('/');
        if (way.length == 0 || !(IsNamedStep(step) || (!toSibling && IsChildTest(step)))
            || (toSibling && step[0] == '@') || !(isAnywhere || EndsInStep(std::string_view(result).substr(0, slash))))
            continue;
        way.replacement.replace(way.replacement.find('$'), 1, step);
        const size_t begin = isAnywhere ? slash - 1 : slash;
        if (isAnywhere) way.replacement.insert(0, toSibling ? "/" : "/descendant-or-self::node()");
        result.replace(begin, at + way.length - begin, way.replacement);
        at = begin;
    }
    return result;
}

} // namespace

std::string WaysBackAsPredicates(std::string_view expression) {
    if (expression.find('/') == std::string_view::npos) return std::string(expression);
    std::string result;
    while (!expression.empty()) {
        const size_t begin = std::min(expression.find_first_of("\"'"), expression.size());
        result += WithoutWaysBack(expression.substr(0, begin));
        if (begin == expression.size()) break;
        const size_t end = std::min(expression.find(expression[begin], begin + 1), expression.size() - 1);
        result.append(expression, begin, end + 1 - begin);
        expression.remove_prefix(end + 1);
    }
    return result;
}

std::string QualifyElementNames(std::string_view expression, std::string_view prefix) {
    std::string result;
    for (const Token& token : Tokenizer(expression).Run()) {
        if (token.kind == Token::ELEMENT_NAME) result.append(prefix).push_back(':');
        result.append(token.text);
    }
    return result;
}

namespace {

// See NodeSetsAsCalls.
class NodeSetCalls {
public:
    NodeSetCalls(ExpressionUse use, bool wrapsPaths) : use_(use), wrapsPaths_(wrapsPaths) {}

    std::string Run(std::string_view expression) {
        for (const Token& token : Tokenizer(expression).Run()) Take(token);
        End();
        return std::move(result_);
    }

private:
    // The operands at work, each in brackets of the one before: where it begins, whether a call was put there, and
    // whether libxml2 would sort it.
    struct Operand {
        size_t begin = std::string::npos;
        bool isArgument = false;
        bool isSorted = false;
    };

    void Take(const Token& token) {
        const bool hasBegun = operands_.back().begin < result_.size();
        const bool isReplaced = hasBegun && !(use_ == ExpressionUse::PATTERN && operands_.size() == 1);
        if (isReplaced && token.kind == Token::BAR) {
            Begin();
            result_ += ',';
            followsOperand_ = false;
            return;
        }
        if (isReplaced && wrapsPaths_ && MayFindAnyKind(token)) Begin();
        if (token.kind == Token::OPERATOR || token.kind == Token::CLOSING) End();
        if (token.kind == Token::CLOSING && operands_.size() > 1) operands_.pop_back();
        const bool isBlank = BLANKS.find(token.text[0]) != std::string_view::npos;
        if (operands_.back().begin == std::string::npos && !isBlank) operands_.back().begin = result_.size();
        if (wrapsPaths_ && operands_.back().isSorted && IsReverseAxis(token)) Begin(SORTED_CALL);
        result_.append(token.text);
        if (token.kind == Token::OPERATOR) operands_.back() = {.isSorted = operands_.back().isSorted};
        if (token.kind == Token::OPENING) operands_.push_back({.isSorted = token.text == "(" && !followsOperand_});
        if (!isBlank) followsOperand_ = token.kind == Token::OPERAND;
    }

    // Of a step that is not the first: that would find children or the node itself.
    static bool MayFindAnyKind(const Token& token) {
        return token.kind == Token::OPERAND && (token.text == "node" || token.text == ".");
    }

    static bool IsReverseAxis(const Token& token) {
        return token.kind == Token::OTHER && token.text.starts_with("preceding");
    }

    void Begin(std::string_view call = UNION_CALL) {
        if (std::exchange(operands_.back().isArgument, true)) return;
        const size_t at = operands_.back().begin;
        const bool followsName = at > 0 && IsNameChar(result_[at - 1]);
        result_.insert(at, (followsName ? " " : "") + std::string(call));
    }
    void End() {
        if (operands_.back().isArgument) result_ += ')';
    }

    std::string result_;
    const ExpressionUse use_;
    const bool wrapsPaths_;
    std::vector<Operand> operands_{{.isSorted = use_ < ExpressionUse::TEST}};
    bool followsOperand_ = false; // as an opening bracket follows the name of a function
};

} // namespace

std::string UnionsAsCalls(std::string_view expression) {
    if (expression.find('|') == std::string_view::npos) return std::string(expression);
    return NodeSetCalls(ExpressionUse::TEST, false).Run(expression);
}

std::string NodeSetsAsCalls(std::string_view expression, ExpressionUse use) {
    const auto has = [expression](std::string_view part) { return expression.find(part) != std::string_view::npos; };
    if (!has("|") && !has("node") && !has("preceding") && !(has("/") && has("."))) return std::string(expression);
    return NodeSetCalls(use, true).Run(expression);
}

std::string FirstKeysAsCalls(std::string_view expression) {
    if (expression.find("key") == std::string_view::npos) return std::string(expression);
    std::vector<Token> tokens = Tokenizer(expression).Run();
    const auto next = [&](size_t at) {
        while (++at < tokens.size() && BLANKS.find(tokens[at].text[0]) != std::string_view::npos) {
        }
        return at;
    };
    const auto isAt = [&](size_t at, std::string_view text) { return at < tokens.size() && tokens[at].text == text; };
    std::vector<size_t> opened; // brackets: where the name of a call of key() stands, or nothing that does
    for (size_t at = 0, last = tokens.size(); at < tokens.size(); at = next(at)) {
        if (tokens[at].kind == Token::OPENING) opened.push_back(last);
        last =
            tokens[at].kind == Token::OPERAND && tokens[at].text == "key" && isAt(next(at), "(") ? at : tokens.size();
        if (tokens[at].kind != Token::CLOSING || opened.empty()) continue;
        const size_t name = opened.back();
        opened.pop_back();
        const size_t bracket = next(at);
        const size_t end = next(next(bracket));
        if (name == tokens.size() || !isAt(bracket, "[") || !isAt(next(bracket), "1") || !isAt(end, "]")) continue;
        tokens[name].text = FIRST_KEY_FUNCTION;
        for (size_t removed = bracket; removed <= end; ++removed) tokens[removed].text = " ";
        at = end;
    }
    std::string result;
    for (const Token& token : tokens) result.append(token.text);
    return result;
}

std::vector<std::string_view> PrefixesOf(std::string_view expression) {
    if (expression.find(':') == std::string_view::npos) return {};
    Tokenizer tokenizer(expression);
    tokenizer.Run();
    return tokenizer.Prefixes();
}

bool IsComplete(std::string_view expression) {
    int depth = 0;
    for (size_t i = 0; i < expression.size(); ++i) {
        const char c = expression[i];
        if (c == '"' || c == '\'') i = std::min(expression.find(c, i + 1), expression.size());
        depth += c == '(' ? 1 : c == ')' ? -1 : 0;
    }
    const size_t last = expression.find_last_not_of(" \t\r\n");
    return depth == 0 && (last == std::string_view::npos || expression[last] != '|');
}

} // namespace sablot
