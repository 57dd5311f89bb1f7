// XML documents for commands that work on files rather than run programs: read by libxml2, which the document classes
// stand on too. Only this folder sees its headers.
#pragma once

#include "host/cli/libxml2/input.h"
#include "host/syntax/diagnostic.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct _xmlDoc;
struct _xmlNode;

namespace host::xml {

struct FreeDocument {
    void operator()(_xmlDoc* document) const;
};
using Document = std::unique_ptr<_xmlDoc, FreeDocument>;

// A text is not what it should be. The faults stand in the order they were found, and tell their places.
struct TextError : std::runtime_error {
    explicit TextError(std::vector<Diagnostic> found);
    std::vector<Diagnostic> faults;
};

enum class References {
    REPLACE, // references to entities of the internal subset give way to what they stand for, its defaults are added
    KEEP,    // they stay as written, and what is missing is missing
};

// Parses a text. External entities and subsets are never read. Throws TextError with the first fault; what is odd but
// no fault (a reference to an external entity, a prefix without a namespace) is added to `warnings`.
Document Parse(const Input& input, References references, std::vector<Diagnostic>& warnings);

// Throws std::runtime_error for a document whose elements are nested deeper than libxml2's recursive functions bear.
void CheckDepth(const _xmlDoc* document, const std::string& name);

// A node as text: markup for what has some, with the namespaces that it uses from outside of it; the value of an
// attribute; the characters of a text.
std::string Markup(const _xmlNode* node);

// What XPath calls the string-value.
std::string StringValue(const _xmlNode* node);

} // namespace host::xml
