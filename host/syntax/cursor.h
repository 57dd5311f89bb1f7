// Reads tokens one by one.
#pragma once

#include "host/syntax/declaration.h"
#include "host/syntax/diagnostic.h"
#include "host/syntax/token.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

// Walks over tokens and reads the parts of the grammar that records and programs share: parameter lists, types and
// constants. Every Read function reports what is missing and answers whether (or what) it has read.
class TokenCursor {
public:
    TokenCursor(const std::vector<Token>& tokens, DiagnosticList& diagnostics)
        : tokens_(tokens), diagnostics_(diagnostics) {}

    const Token& Peek(size_t ahead = 0) const;
    const Token& Next();
    // The token taken last.
    const Token& Previous() const { return tokens_[at_ == 0 ? 0 : at_ - 1]; }
    // No space lies between the two.
    bool IsClose() const;
    bool At(TokenKind kind) const { return Peek().kind == kind; }
    bool At(Keyword keyword) const { return Peek().keyword == keyword; }
    bool AtLineEnd() const { return At(TokenKind::END_OF_LINE) || At(TokenKind::END_OF_FILE); }
    bool Accept(TokenKind kind);
    // Between the two, lines are joined.
    void OpenParenthesis();
    bool CloseParenthesis(TokenKind closer, const std::string& what);
    // The text ends within parentheses.
    bool EndsInParentheses() const { return endsInParentheses_; }
    bool Accept(Keyword keyword);
    // Reports "expected WHAT" at the present token. After one report the cursor keeps quiet until ClearFailure, so that
    // what follows from an error is not reported as another.
    void Expected(const std::string& what);
    void Fail(const Span& span, std::string message);
    bool HasFailed() const { return hasFailed_; }
    void ClearFailure() { hasFailed_ = false; }
    bool Expect(TokenKind kind, const std::string& what);
    bool Expect(Keyword keyword);

    // Any word, keyword or not.
    const Token* ReadName(const std::string& what);
    bool ReadTypeName(TypeName& type);
    // `Name(parameters) As Type`; the parameter list and the type may be missing.
    bool ReadDeclaration(Declaration& declaration);
    // A literal, with a minus before a number.
    std::optional<ConstantValue> ReadConstant();

private:
    std::string Hint() const;
    size_t Index(size_t ahead) const;
    bool ReadParameter(Parameter& parameter);

    const std::vector<Token>& tokens_;
    DiagnosticList& diagnostics_;
    size_t at_ = 0;
    bool hasFailed_ = false;
    int parentheses_ = 0;
    bool endsInParentheses_ = false;
};

} // namespace host
