// Splits sources into tokens.
#pragma once

#include "host/syntax/diagnostic.h"
#include "host/syntax/token.h"

#include <vector>

namespace host {

struct LexResult {
    std::vector<Token> tokens;  // the last one is END_OF_FILE, the one before it END_OF_LINE
    std::vector<Span> comments; // from the mark that starts the comment to the end of the line
    bool endsInContinuation = false;
};

// Splits file number `file` of `files` into tokens. The tokens point into the file's text. Whatever is wrong is
// reported and left out, so that the result can be parsed in any case.
LexResult Lex(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics);

} // namespace host
