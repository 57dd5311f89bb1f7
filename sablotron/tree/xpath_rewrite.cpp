// Rewriting expressions.
#include "sablotron/tree/xpath_rewrite.h"

#include "sablotron/tree/characters.h"
#include "sablotron/tree/xpath_tokens.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace sablot {
namespace {

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
    for (const Token& token : TokensOf(expression)) {
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
        for (const Token& token : TokensOf(expression)) Take(token);
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
    std::vector<Token> tokens = TokensOf(expression);
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
        for (size_t removed = bracket; removed <= end; ++removed) tokens[removed].text = {};
        at = end;
    }
    std::string result;
    for (const Token& token : tokens) result.append(token.text);
    return result;
}

std::vector<std::string_view> PrefixesOf(std::string_view expression) {
    if (expression.find(':') == std::string_view::npos) return {};
    std::vector<std::string_view> prefixes;
    TokensOf(expression, &prefixes);
    return prefixes;
}

bool IsComplete(std::string_view expression) {
    int depth = 0;
    for (size_t i = 0; i < expression.size(); ++i) {
        const char c = expression[i];
        if (c == '"' || c == '\'') i = std::min(expression.find(c, i + 1), expression.size());
        depth += c == '(' ? 1 : c == ')' ? -1 : 0;
    }
    const size_t last = expression.find_last_not_of(BLANKS);
    return depth == 0 && (last == std::string_view::npos || expression[last] != '|');
}

} // namespace sablot
