// Finding comparisons of generated IDs and with absolute paths, see ComparedIdsAsCalls and AbsolutePathsAsTexts.
#include "sablotron/tree/xpath_rewrite.h"
#include "sablotron/tree/xpath_tokens.h"

#include <algorithm>
#include <cstddef>
#include <deque>

namespace sablot {
namespace {

class Comparisons {
public:
    explicit Comparisons(std::string_view expression) : tokens_(TokensOf(expression)) {
        for (Token& token : tokens_)
            if (BLANKS.find(token.text[0]) == std::string_view::npos) solid_.push_back(&token);
    }

    std::string Run(void (Comparisons::*replace)(size_t at)) {
        for (size_t at = 0; at < solid_.size(); ++at)
            if (solid_[at]->text == "=") (this->*replace)(at);
        std::string result;
        for (const Token& token : tokens_) result.append(token.text);
        return result;
    }

    void ReplaceIds(size_t at) {
        const size_t first = LeftOf(at);
        size_t middle = 0;
        size_t end = 0;
        if (!IsCall(first, middle) || middle + 1 != at || !IsCall(at + 1, end) || !IsOutside(end + 1)) return;
        solid_[first]->text = SAME_FUNCTION;
        if (middle == first + 2) solid_[first + 1]->text = "(.";
        solid_[middle]->text = ",";
        solid_[at]->text = solid_[at + 1]->text = " ";
        solid_[at + 2]->text = end == at + 3 ? "." : " ";
    }

    void ReplacePath(size_t at) {
        const size_t first = LeftOf(at);
        const size_t end = EndOfPath(at + 1);
        if (first == at || end == at + 1 || !IsOutside(end)) return;
        std::string path;
        for (Token* token = solid_[at + 1]; token <= solid_[end - 1]; ++token) {
            path += token->text;
            token->text = {};
        }
        const char quote = path.find('\'') == std::string::npos ? '\'' : '"';
        solid_[at]->text = ",";
        solid_[at + 1]->text = made_.emplace_back(quote + path + quote + ')');
        solid_[first]->text = made_.emplace_back(std::string(AMONG_CALL).append(solid_[first]->text));
    }

private:
    // Whether "generate-id(a)" stands there; `end` is its last bracket then.
    bool IsCall(size_t at, size_t& end) const {
        if (at + 2 >= solid_.size() || solid_[at]->text != "generate-id" || solid_[at + 1]->text != "(") return false;
        int depth = 1;
        for (end = at + 2; end < solid_.size(); ++end) {
            const Token& token = *solid_[end];
            depth += token.kind == Token::OPENING ? 1 : token.kind == Token::CLOSING ? -1 : 0;
            if (depth == 0) return true;
            if (depth == 1 && token.kind == Token::OPERATOR && token.text == ",") return false;
        }
        return false;
    }

    static bool EndsComparison(const Token& token) {
        return token.kind == Token::OPERATOR && (token.text == "," || token.text == "and" || token.text == "or");
    }
    // Whether what stands there after a comparison cannot be of it.
    bool IsOutside(size_t at) const {
        return at >= solid_.size() || solid_[at]->kind == Token::CLOSING || EndsComparison(*solid_[at]);
    }
    // Where the left side of a comparison begins; `at` for one that is not of equality.
    size_t LeftOf(size_t at) const {
        size_t first = at;
        for (int depth = 0; first > 0; --first) {
            const Token& token = *solid_[first - 1];
            if (first == at && (token.text == "<" || token.text == ">" || token.text == "!")) return at;
            if (depth == 0 && (token.kind == Token::OPENING || EndsComparison(token))) break;
            depth += token.kind == Token::CLOSING ? 1 : token.kind == Token::OPENING ? -1 : 0;
        }
        return first;
    }

    // The end of an absolute path that finds the same in a document each time: without variables, functions, which may
    // depend on what is around, and prefixes; its beginning for anything else.
    size_t EndOfPath(size_t begin) const {
        if (begin >= solid_.size() || solid_[begin]->text != "/") return begin;
        int depth = 0;
        bool hasQuote[2] = {};
        size_t end = begin;
        for (; end < solid_.size(); ++end) {
            const Token& token = *solid_[end];
            if (depth == 0 && (token.kind == Token::CLOSING || token.kind == Token::OPERATOR)) break;
            const bool isPrefixed = token.kind == Token::OPERAND && token.text.find(':') != std::string_view::npos;
            if (token.text == "(" || token.kind == Token::BAR || token.text.starts_with('$') || isPrefixed)
                return begin;
            depth += token.kind == Token::OPENING ? 1 : token.kind == Token::CLOSING ? -1 : 0;
            hasQuote[0] |= token.text.find('\'') != std::string_view::npos;
            hasQuote[1] |= token.text.find('"') != std::string_view::npos;
        }
        return hasQuote[0] && hasQuote[1] ? begin : end;
    }

    std::vector<Token> tokens_;
    std::vector<Token*> solid_; // those that are not blank
    std::deque<std::string> made_;
};

} // namespace

std::string ComparedIdsAsCalls(std::string_view expression) {
    if (expression.find("generate-id") == std::string_view::npos) return std::string(expression);
    return Comparisons(expression).Run(&Comparisons::ReplaceIds);
}

std::string AbsolutePathsAsTexts(std::string_view expression) {
    for (size_t at = expression.find('='); at != std::string_view::npos; at = expression.find('=', at + 1))
        if (expression.substr(std::min(expression.find_first_not_of(BLANKS, at + 1), expression.size()))
                .starts_with('/'))
            return Comparisons(expression).Run(&Comparisons::ReplacePath);
    return std::string(expression);
}

} // namespace sablot
