// Writing trees as XML in UTF-8.
#pragma once

#include "sablotron/tree/document.h"
#include "sablotron/tree/text_buffer.h"

namespace sablot {

// The XML declaration and the children, nothing between or after them.
void SerialiseDocument(const Document& document, TextBuffer& text);
// An element with every binding in scope declared on it, except xml and xmlns="".
void SerialiseElement(xmlNode* element, TextBuffer& text);

} // namespace sablot
