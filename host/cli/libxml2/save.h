// Documents as the text of a file.
#pragma once

#include "host/cli/libxml2/document.h"

#include <string>

namespace host::xml {

// The document in its own encoding, with an XML declaration if the text that it was read from had one.
std::string FileText(_xmlDoc* document, const Input& input);

// Puts each element on a line of its own, indented by so many blanks for each level. Elements with text among their
// children stay as they are, with all they hold, and so do those with xml:space="preserve".
void Indent(_xmlDoc* document, size_t width);

// Canonical XML 1.0 with comments. Throws TextError.
std::string Canonical(_xmlDoc* document, const Input& input);

} // namespace host::xml
