// Finding steps in expressions that libxml2 would take for each node by itself, see StepsAsCalls.
#include "sablotron/tree/xpath_rewrite.h"
#include "sablotron/tree/xpath_tokens.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace sablot {
namespace {

template <size_t SIZE>
bool IsOneOf(std::string_view text, const std::string_view (&known)[SIZE]) {
    return std::find(std::begin(known), std::end(known), text) != std::end(known);
}

constexpr std::string_view STEPS[] = {"ancestor",         "ancestor-or-self",  "descendant", "descendant-or-self",
                                      "following",        "following-sibling", "parent",     "preceding",
                                      "preceding-sibling"};

class StepCalls {
public:
    StepCalls(std::string_view expression, ExpressionUse use, bool takesSteps)
        : tokens_(TokensOf(expression)), use_(use), takesSteps_(takesSteps) {}

    std::string Run() {
        for (size_t at = 0; at < tokens_.size();) {
            const bool isKept = use_ == ExpressionUse::PATTERN && operands_.size() == 1;
            if (isKept || !(followsOperand_ ? takesSteps_ && TextAt(at) == "/" && TakeStep(at) : TakeAny(at)))
                Take(tokens_[at++]);
        }
        return std::move(result_);
    }

private:
    // The latest operand in a pair of brackets: where it begins in the result.
    struct Operand {
        bool isPredicate = false;
        std::string_view function = {}; // whose brackets they are, if that could be a name
        bool isFirst = true;
        int calls = 0; // each in the next
        size_t begin = std::string::npos;
    };
    static constexpr int MAX_CALLS = 100; // of the 500 that libxml2 lets stand in each other

    static bool IsBlank(const Token& token) { return BLANKS.find(token.text[0]) != std::string_view::npos; }

    size_t Next(size_t at) const {
        while (++at < tokens_.size() && IsBlank(tokens_[at])) {
        }
        return at;
    }
    std::string_view TextAt(size_t at) const { return at < tokens_.size() ? tokens_[at].text : std::string_view(); }
    bool IsOperandAt(size_t at) const {
        return at < tokens_.size() && (tokens_[at].kind == Token::OPERAND || tokens_[at].kind == Token::ELEMENT_NAME);
    }

    void Take(const Token& token) {
        Operand& operand = operands_.back();
        const bool isBlank = IsBlank(token);
        const bool endsOperand = token.kind == Token::OPERATOR || token.kind == Token::BAR;
        if (endsOperand)
            operand = {.isPredicate = operand.isPredicate, .isFirst = false};
        else if (!isBlank && token.kind != Token::CLOSING && operand.begin == std::string::npos)
            operand.begin = result_.size();
        if (token.kind == Token::OPENING)
            operands_.push_back({.isPredicate = token.text == "[", .function = token.text == "(" ? last_ : ""});
        if (token.kind == Token::CLOSING && operands_.size() > 1) operands_.pop_back();
        result_ += token.text;
        if (isBlank) return;
        last_ = token.text;
        followsOperand_ =
            token.kind == Token::OPERAND || token.kind == Token::ELEMENT_NAME || token.kind == Token::CLOSING;
    }

    // "not(axis::test)" becomes "not(axis::test[01])", for which libxml2 does not go on to find more.
    bool TakeAny(size_t& at) {
        const Operand& operand = operands_.back();
        std::string step;
        size_t end = at;
        const bool isAll = operand.isFirst && operand.begin == std::string::npos && TakeAxis(end, step)
                           && TakeTest(end, step) && TextAt(end) == ")";
        if (!isAll || !(operand.function == "not" || IsCount(step, end))) return false;
        operands_.back().begin = result_.size();
        result_ += operand.function == "not" ? step.append(FIRST_OF_STEP) : std::string(COUNT_BEGIN) + step + '\'';
        followsOperand_ = true;
        at = end;
        return true;
    }

    // Whether the brackets are those of count() and hold a path that ends there with a step to siblings.
    bool IsCount(std::string_view step, size_t end) const {
        const Operand& operand = operands_.back();
        return takesSteps_ && operand.function == "count" && operand.isFirst && TextAt(end) == ")"
               && step.find("-sibling::") != std::string_view::npos && !step.ends_with(']');
    }

    // Puts a call in place of the step behind a slash. False for one that stays as it is.
    bool TakeStep(size_t& at) {
        const size_t begin = operands_.back().begin;
        if (begin == std::string::npos || operands_.back().calls == MAX_CALLS) return false;
        size_t end = Next(at);
        std::string step;
        bool isLast = false;
        if (TextAt(end) == "/") {
            const size_t slash = end;
            end = Next(end);
            if (!TakeTest(end, step) || !TakePredicates(end, isLast)) {
                end = slash;
                step.clear();
            }
            step.insert(0, "//");
        } else if (TextAt(end) == "..") {
            step = TextAt(end);
            end = Next(end);
        } else if (!TakeAxis(end, step) || !TakeTest(end, step) || !TakePosition(end, step)
                   || !TakePredicates(end, isLast)) {
            return false;
        }
        if (IsCount(step, end)) {
            result_.insert(begin, std::string(COUNT_BEGIN) + step + "',");
            at = end;
            return true;
        }
        if (IsOneNode(std::string_view(result_).substr(begin)) || (isLast && IsCutShort(end))) return false;
        const bool followsName = begin > 0 && IsNameChar(result_[begin - 1]);
        result_.insert(begin, (followsName ? " " : "") + std::string(STEP_CALL) + step + "',");
        result_ += ')';
        ++operands_.back().calls;
        at = end;
        return true;
    }

    // Of paths that find one node at most: to what is around the context node, or its attribute.
    static bool IsOneNode(std::string_view path) {
        if (path.find_first_not_of("./") == std::string_view::npos || path == "current()") return true;
        return path[0] == '@' && std::all_of(path.begin() + 1, path.end(), IsNameChar);
    }

    bool TakeAxis(size_t& at, std::string& step) const {
        std::string_view axis = TextAt(at);
        if (!axis.ends_with("::")) return false;
        axis = axis.substr(0, std::min(axis.find_first_of(BLANKS), axis.size() - 2));
        if (!IsOneOf(axis, STEPS)) return false;
        step.append(axis) += "::";
        at = Next(at);
        return true;
    }

    bool TakeTest(size_t& at, std::string& step) const {
        static constexpr std::string_view TYPES[] = {"node", "text", "comment"};
        const std::string_view name = TextAt(at);
        if (!IsOperandAt(at) || !(name[0] == '*' || IsNameStart(name[0]))) return false;
        step += name;
        at = Next(at);
        if (TextAt(at) != "(") return true;
        const size_t closing = Next(at);
        if (!IsOneOf(name, TYPES) || TextAt(closing) != ")") return false;
        step += "()";
        at = Next(closing);
        return true;
    }

    // A number in brackets, if that is what stands there.
    bool TakePosition(size_t& at, std::string& step) const {
        const size_t number = Next(at);
        const std::string_view text = TextAt(number);
        if (TextAt(at) != "[" || text.empty() || text.size() > 6 || text[0] == '0' || TextAt(Next(number)) != "]"
            || !std::all_of(text.begin(), text.end(), IsDigit))
            return true;
        step.append("[").append(text) += ']';
        at = Next(Next(number));
        return true;
    }

    // Whether what is in the predicates that stand there does not depend on positions. `isLast`: nothing of the path
    // follows, not even a predicate.
    bool TakePredicates(size_t at, bool& isLast) const {
        isLast = TextAt(at) != "[" && TextAt(at) != "/";
        while (TextAt(at) == "[") {
            const size_t end = ClosingOf(at);
            if (end == tokens_.size() || !IsTruth(Next(at), end)) return false;
            at = Next(end);
        }
        return true;
    }

    size_t ClosingOf(size_t at) const {
        for (int depth = 0; at < tokens_.size(); ++at) {
            depth += tokens_[at].kind == Token::OPENING ? 1 : tokens_[at].kind == Token::CLOSING ? -1 : 0;
            if (depth == 0) break;
        }
        return at;
    }

    bool IsTruth(size_t at, size_t end) const {
        static constexpr std::string_view COMPARING[] = {"=", "<", ">", "!", "and", "or"};
        static constexpr std::string_view BOOLEANS[] = {AMONG_FUNCTION, "boolean", "contains", "false", "lang",   "not",
                                                        "starts-with",  "true",    "node",     "text",  "comment"};
        static constexpr std::string_view POSITIONS[] = {"position", "last"};
        bool isCompared = false;
        bool isCalculated = false;
        const std::string_view first = TextAt(at);
        bool isTruth = IsNameStart(first[0]) || std::string_view("@*/").find(first[0]) != std::string_view::npos
                       || first == "." || first == "..";
        if (TextAt(Next(at)) == "(") isTruth = IsOneOf(first, BOOLEANS);
        for (int depth = 0; at < end; at = Next(at)) {
            const Token& token = tokens_[at];
            depth += token.kind == Token::OPENING ? 1 : token.kind == Token::CLOSING ? -1 : 0;
            // Functions of extensions can evaluate anything.
            const bool isExtension =
                TextAt(Next(at)) == "(" && token.text.find(':') != std::string_view::npos && IsOperandAt(at);
            if (isExtension || IsOneOf(token.text, POSITIONS)) return false;
            if (depth > 0 || token.kind != Token::OPERATOR) continue;
            (IsOneOf(token.text, COMPARING) ? isCompared : isCalculated) = true;
        }
        return isCompared || (isTruth && !isCalculated);
    }

    // Whether libxml2 ends the search with the first node, as where the path is all of a test or a predicate.
    bool IsCutShort(size_t end) const {
        const Operand& operand = operands_.back();
        if (!operand.isFirst) return false;
        if (operands_.size() == 1) return use_ == ExpressionUse::TEST && end == tokens_.size();
        return operand.isPredicate && TextAt(end) == "]";
    }

    const std::vector<Token> tokens_;
    const ExpressionUse use_;
    const bool takesSteps_;
    std::string result_;
    std::vector<Operand> operands_{{}};
    std::string_view last_; // token but blanks
    bool followsOperand_ = false;
};

} // namespace

std::string StepsAsCalls(std::string_view expression, ExpressionUse use) {
    const auto has = [expression](std::string_view part) { return expression.find(part) != std::string_view::npos; };
    const bool hasAxes = has("::") && (has("/") || has("not") || has("count"));
    if (!hasAxes && !has("/..") && !has("//")) return std::string(expression);
    return StepCalls(expression, use, true).Run();
}

std::string ShortNegations(std::string_view expression) {
    if (expression.find("not") == std::string_view::npos) return std::string(expression);
    return StepCalls(expression, ExpressionUse::VALUE, false).Run();
}

} // namespace sablot
