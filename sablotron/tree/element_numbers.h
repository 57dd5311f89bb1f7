// Document order in transformations, where libxslt has libxml2 number all elements. libxml2 takes a text, comment or
// processing instruction for a neighbour of the element before it, and so for one that comes before what is in that
// element. Without the element's number it looks where the nodes stand; that is slow among many siblings.
#pragma once

#include <libxml/xpath.h>

namespace sablot {

// Sorts nodes in document order. They and parts of them stay so when libxml2 sorts them: elements whose numbers would
// mislead it lose them for the rest of the run.
void SortNodes(xmlNodeSet* nodes);

// Sorts the nodes that a function of XPath has found, on the top of the stack.
void SortValue(xmlXPathParserContext* parser) noexcept;

} // namespace sablot
