// Document order in transformations, where libxslt has libxml2 number all elements. libxml2 takes a text, comment or
// processing instruction for a neighbour of the element before it, and so for one that comes before what is in that
// element. Without the element's number it looks where the nodes stand.
#pragma once

#include <libxml/xpath.h>

namespace sablot {

// Makes the order right for good: in trees of which the nodes are such texts and elements or attributes, elements that
// hold others and are not followed by an element lose their numbers. Sets of one kind, and of one parent, need no more.
void DropMisleadingNumbers(const xmlNodeSet* nodes);

// Sorts nodes in document order.
void SortNodes(xmlNodeSet* nodes);

} // namespace sablot
