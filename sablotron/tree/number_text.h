// Numbers as text, as XPath 1.0 (4.2) wants it: libxml2 writes exponents, and digits that nobody wrote.
#pragma once

#include <libxml/xpath.h>

#include <limits>
#include <string>
#include <string_view>

namespace sablot {

// Integers in full, other numbers in decimal notation with up to 15 significant digits; "NaN", "Infinity".
std::string NumberText(double number);

// A string object with that text in place of a number object, which is freed; the number when memory is short.
xmlXPathObject* NumberAsString(xmlXPathObject* number);

// Does so with the first `strings` of the arguments of a function.
void NumbersToStrings(xmlXPathParserContext* parser, int argumentCount, int strings = std::numeric_limits<int>::max());

// A core function that takes strings, turning numbers into text this way; null for another name.
xmlXPathFunction FindStringFunction(std::string_view name);

} // namespace sablot
