// Parsing text into trees.
#pragma once

#include "sablotron/tree/document.h"
#include "sablotron/tree/tree.h"

#include <string>

namespace sablot {

// The first fatal error of a parse.
struct ParseFailure {
    int code = 0; // libxml2's
    int line = 0;
    std::string text; // "XML parser error N: text", one line
};

// Parses a NUL-terminated text, reading nothing but it. Null when it is not (namespace-)well-formed, with the failure.
TreePointer ParseTree(const char* text, ParseFailure& failure);

// The same as a document of the situation, with the message of a failure sent to the situation's processor. `document`
// is set in any case: empty after a failure. Returns 0 or 2.
int ParseDocument(SablotSituation situation, const char* text, Document*& document);

} // namespace sablot
