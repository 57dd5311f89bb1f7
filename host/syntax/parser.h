// Parses whole sources.
#pragma once

#include "host/syntax/ast.h"
#include "host/syntax/diagnostic.h"

#include <memory>

namespace host {

struct ParseOptions {
    bool allowExpressions = false; // a statement may be an expression of any form (for an interactive session)
};

// Parses file number `file` of `files`. What is wrong is reported; the rest is in the tree.
std::unique_ptr<ast::Unit> Parse(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics,
                                 ParseOptions options = {});

// A single expression, e.g. the text before the dot when completing; null when it is none.
ast::ExpressionPtr ParseExpression(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics);

} // namespace host
