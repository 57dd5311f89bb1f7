// Finding comparisons of generated IDs, see ComparedIdsAsCalls.
#include "sablotron/tree/xpath_rewrite.h"
#include "sablotron/tree/xpath_tokens.h"

#include <cstddef>

namespace sablot {
namespace {

class IdComparisons {
public:
    explicit IdComparisons(std::string_view expression) : tokens_(TokensOf(expression)) {
        for (Token& token : tokens_)
            if (BLANKS.find(token.text[0]) == std::string_view::npos) solid_.push_back(&token);
    }

    std::string Run() {
        for (size_t at = 0; at < solid_.size(); ++at) Replace(at);
        std::string result;
        for (const Token& token : tokens_) result.append(token.text);
        return result;
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

    // Whether the token cannot be of the same comparison.
    bool IsOutside(size_t at, Token::Kind bracket) const {
        if (at >= solid_.size()) return true; // also before the first
        const Token& token = *solid_[at];
        return token.kind == bracket
               || (token.kind == Token::OPERATOR && (token.text == "," || token.text == "and" || token.text == "or"));
    }

    void Replace(size_t at) {
        size_t middle = 0;
        size_t end = 0;
        if (!IsCall(at, middle) || middle + 1 >= solid_.size() || solid_[middle + 1]->text != "="
            || !IsCall(middle + 2, end) || !IsOutside(at - 1, Token::OPENING) || !IsOutside(end + 1, Token::CLOSING))
            return;
        solid_[at]->text = SAME_FUNCTION;
        if (middle == at + 2) solid_[at + 1]->text = "(.";
        solid_[middle]->text = ",";
        solid_[middle + 1]->text = solid_[middle + 2]->text = " ";
        solid_[middle + 3]->text = end == middle + 4 ? "." : " ";
    }

    std::vector<Token> tokens_;
    std::vector<Token*> solid_; // those that are not blank
};

} // namespace

std::string ComparedIdsAsCalls(std::string_view expression) {
    if (expression.find("generate-id") == std::string_view::npos) return std::string(expression);
    return IdComparisons(expression).Run();
}

} // namespace sablot
