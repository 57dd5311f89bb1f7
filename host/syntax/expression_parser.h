// Parses expressions.
#pragma once

#include "host/syntax/ast.h"
#include "host/syntax/cursor.h"

namespace host {

// Blocks and operands within each other. It bounds the recursion of everything that walks over the tree.
constexpr int MAX_NESTING = 100;

// Parses expressions by precedence, from weak to strong: Or Xor, And, Not, comparisons with Is and IsA, + -, * / \ Mod,
// minus, ^, members and calls. Never null: INVALID stands for what could not be parsed.
class ExpressionParser {
public:
    ExpressionParser(TokenCursor& cursor, DiagnosticList& diagnostics) : cursor_(cursor), diagnostics_(diagnostics) {}

    ast::ExpressionPtr Parse();
    // A name or other simple expression with the members and calls behind it.
    ast::ExpressionPtr ParsePostfix();
    // The operators behind an expression that was parsed already.
    ast::ExpressionPtr ParseRest(ast::ExpressionPtr left);
    // New C(arguments)
    ast::ExpressionPtr ParseNew();
    // Whether an operand can start here, other than with a parenthesis or a sign.
    bool AtOperand() const;
    bool GoesOn() const;
    // The arguments of a call statement without parentheses.
    ast::ExpressionPtr ParseBareArguments(ast::ExpressionPtr callee);

private:
    ast::ExpressionPtr ParseBinary(int minimum);
    ast::ExpressionPtr ParseOperators(ast::ExpressionPtr left, int minimum);
    ast::ExpressionPtr ParseUnary();
    ast::ExpressionPtr ParsePower();
    ast::ExpressionPtr ParsePrimary();
    ast::ExpressionPtr ParseList(const Token& token);
    ast::ExpressionPtr ParseAddress();
    ast::ExpressionPtr ParseRaise();
    bool ParseArguments(ast::Expression& call);
    // Completes a node: its span reaches to the last token, its depth is that of its deepest part.
    ast::ExpressionPtr Finish(ast::ExpressionPtr expression, const Span& start);
    ast::ExpressionPtr Invalid(const Span& span);

    TokenCursor& cursor_;
    DiagnosticList& diagnostics_;
    int nesting_ = 0;
    const Token* minus_ = nullptr; // the sign that was read last
};

} // namespace host
