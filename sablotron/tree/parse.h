// Parsing text into trees.
#pragma once

#include "sablotron/sablot.h"
#include "sablotron/tree/tree.h"

#include <libxml/parser.h>

#include <string>

namespace sablot {

// The first fatal error of a parse.
struct ParseFailure {
    int code = 0; // libxml2's
    int line = 0;
    std::string text; // "XML parser error N: text", one line
};

// A text of no base URI in the encoding that it declares.
inline SablotSource SourceOf(std::string_view text) { return {text.data(), text.size(), nullptr, nullptr}; }

// How a text is parsed for the transformation.
struct ParseOptions {
    xmlDict* names = nullptr;                       // that the tree shares; null: names of its own
    xmlExternalEntityLoader declarations = nullptr; // opens external parameter entities; null: they are not read
};

// Parses a text, reading nothing but it. Its base URI becomes the URL of the tree. Null when it is not
// (namespace-)well-formed, with the failure.
TreePointer ParseTree(const SablotSource& source, ParseFailure& failure, const ParseOptions& options = {});

} // namespace sablot
