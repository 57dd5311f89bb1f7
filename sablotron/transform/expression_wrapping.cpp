// Which expressions can be wrapped, and how.
#include "sablotron/transform/expression_wrapping.h"

#include "sablotron/tree/characters.h"
#include "sablotron/tree/tree.h"

#include <libxml/uri.h>

#include <algorithm>

namespace sablot {
namespace {

constexpr std::string_view ALL_NODES = "/descendant-or-self::node()/"; // what "//" stands for

// Whether the expression can stand as the only argument of a function as it is: a faulty one could become right.
bool IsClosed(std::string_view expression) {
    int depth = 0;
    for (size_t at = 0; at < expression.size(); ++at) {
        const char c = expression[at];
        if (c == '"' || c == '\'') {
            at = expression.find(c, at + 1);
            if (at == std::string_view::npos) return false;
        } else if (c == '(' || c == '[') {
            ++depth;
        } else if (c == ')' || c == ']') {
            --depth;
        }
        if (depth < 0 || (c == ',' && depth == 0)) return false;
    }
    return depth == 0;
}

// Whether the value can be a number. What consists of names, steps and axes only is a path.
bool MayBeNumber(std::string_view expression) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto isOfPath = [&isDigit](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(c) || (c & '\x80') != 0
               || std::string_view("/.@:_-").find(c) != std::string_view::npos;
    };
    if (expression.empty() || expression[0] == '-' || isDigit(expression[0])) return !expression.empty();
    if (expression.size() > 1 && expression[0] == '.' && isDigit(expression[1])) return true;
    return !std::all_of(expression.begin(), expression.end(), isOfPath);
}

// The end of a literal that begins there; what a message holds of an expression may lack it. Else the place itself.
size_t EndOfLiteral(std::string_view text, size_t at) {
    if (text[at] != '"' && text[at] != '\'') return at;
    return std::min(text.find(text[at], at + 1), text.size() - 1);
}

// Without the call that begins there: of key() what it was, of others their arguments.
void RemoveCall(std::string& text, size_t at, const std::string& call) {
    const bool isKey = call.starts_with(FIRST_KEY_FUNCTION);
    text.replace(at, call.size(), isKey ? "key(" : "");
    int depth = isKey ? 0 : 1;
    for (size_t end = at; end < text.size(); ++end) {
        end = EndOfLiteral(text, end);
        const char c = text[end];
        if (c == ',' && depth == 1 && !isKey) text[end] = '|';
        depth += c == '(' || c == '[' ? 1 : c == ')' || c == ']' ? -1 : 0;
        if (depth > 0 || (c != ')' && c != ']')) continue;
        if (isKey)
            text.insert(end + 1, "[1]");
        else
            text.erase(end, 1);
        break;
    }
}

// The path and its step as they were. What a message holds of an expression may end anywhere.
void RemoveStep(std::string& text, size_t at, std::string_view call) {
    const size_t begin = at + call.size();
    const size_t quote = std::min(text.find('\'', begin), text.size());
    const std::string step = text.substr(begin, quote - begin);
    if (text.substr(quote).starts_with("')")) {
        text.replace(at, quote + 1 - at, step);
        return;
    }
    text.erase(at, quote + 2 - at);
    int depth = 1;
    for (size_t end = at; end < text.size(); ++end) {
        end = EndOfLiteral(text, end);
        depth += text[end] == '(' ? 1 : text[end] == ')' ? -1 : 0;
        if (depth > 0) continue;
        text.replace(end, call == STEP_CALL ? 1 : 0, step == "//" ? "/" : step.starts_with("//") ? step : '/' + step);
        break;
    }
}

// The comparison of IDs.
void RemoveComparison(std::string& text, size_t at) {
    constexpr std::string_view CALL = "generate-id(";
    text.replace(at, SAME_FUNCTION.size() + 1, CALL);
    int depth = 1;
    for (size_t end = at + CALL.size(); end < text.size() && depth > 0; ++end) {
        const char c = text[end];
        depth += c == '(' || c == '[' ? 1 : c == ')' || c == ']' ? -1 : 0;
        if (depth != 1 || c != ',') continue;
        text.replace(end, std::min(text.find_first_not_of(' ', end + 1), text.size()) - end, ") = generate-id(");
        break;
    }
}

// The comparison with a path.
void RemoveAmong(std::string& text, size_t at) {
    text.erase(at, AMONG_CALL.size());
    int depth = 1;
    for (; at < text.size(); ++at) {
        const char c = text[at];
        depth += c == '(' || c == '[' ? 1 : c == ')' || c == ']' ? -1 : 0;
        if (depth == 1 && c == ',') break;
    }
    const size_t quote = text.find_first_of("'\"", at);
    if (quote == std::string::npos) return;
    text[at] = '=';
    const size_t end = text.find(text[quote], quote + 1);
    if (end != std::string::npos) text.erase(end, 2);
    text.erase(quote, 1);
}

} // namespace

std::string WrappedAsText(const std::string& expression) {
    if (!MayBeNumber(expression) || !IsClosed(expression)) return expression;
    return std::string(TEXT_FUNCTION) + '(' + expression + ')';
}

std::string WithoutStream(const std::string& expression, bool isBelowAnything) {
    // What contains any of these is no stream to libxml2.
    if (expression.find_first_of("[(@$\"'") != std::string::npos) return expression;
    const size_t first = expression.find_first_not_of(BLANKS);
    const size_t slashes = expression.find("//");
    if (isBelowAnything && first != std::string::npos && expression[first] != '/')
        return std::string(ALL_NODES) + expression;
    return slashes == std::string::npos ? expression : std::string(expression).replace(slashes, 2, ALL_NODES);
}

std::string Prepared(const std::string& expression, ExpressionUse use) {
    const std::string wrapped = use == ExpressionUse::TEXT ? WrappedAsText(expression) : expression;
    const std::string nodeSets =
        NodeSetsAsCalls(StepsAsCalls(FirstKeysAsCalls(AbsolutePathsAsTexts(wrapped)), use), use);
    return WithoutStream(ComparedIdsAsCalls(nodeSets), false);
}

std::string PreparedPattern(const std::string& pattern) {
    return NodeSetsAsCalls(StepsAsCalls(pattern, ExpressionUse::PATTERN), ExpressionUse::PATTERN);
}

std::string WrappedAsRefused(const std::string& expression) {
    xmlChar* escaped = xmlURIEscapeStr(Chars(expression.c_str()), Chars(""));
    std::string call = std::string(REFUSED_FUNCTION) + "(\"" + std::string(View(escaped)) + "\")";
    xmlFree(escaped);
    return call;
}

std::string WithoutCalls(std::string text) {
    for (const std::string_view call : {STEP_CALL, COUNT_BEGIN})
        for (size_t at = text.find(call); at != std::string::npos; at = text.find(call)) RemoveStep(text, at, call);
    for (size_t at = text.find(FIRST_OF_STEP); at != std::string::npos; at = text.find(FIRST_OF_STEP))
        text.erase(at, FIRST_OF_STEP.size());
    for (const std::string& call : {std::string(TEXT_FUNCTION) + '(', std::string(UNION_CALL),
                                    std::string(FIRST_KEY_FUNCTION) + '(', std::string(SORTED_CALL)})
        for (size_t at = text.find(call); at != std::string::npos; at = text.find(call)) RemoveCall(text, at, call);
    for (size_t at = text.find(AMONG_CALL); at != std::string::npos; at = text.find(AMONG_CALL)) RemoveAmong(text, at);
    for (size_t at = text.find(SAME_FUNCTION); at != std::string::npos; at = text.find(SAME_FUNCTION))
        RemoveComparison(text, at);
    return text;
}

std::string RefusedExpression(const std::string& argument) {
    char* expression = xmlURIUnescapeString(argument.c_str(), static_cast<int>(argument.size()), nullptr);
    std::string text = expression != nullptr ? expression : argument;
    xmlFree(expression);
    return text;
}

} // namespace sablot
