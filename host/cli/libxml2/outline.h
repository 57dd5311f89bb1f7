// A document as lines of text, for a page that shows it.
#pragma once

#include <string>
#include <vector>

struct _xmlDoc;
struct _xmlNode;

namespace host::xml {

struct Outline {
    // "(name<tab>attribute<tab>value…" begins an element and ")" ends it; other nodes are a letter and their text: "
    // text, [ CDATA, ! comment, ? processing instruction, & entity reference, D document type. White space between
    // elements is left out. Line ends, tabs, "\" and "<" are escaped as \n \r \t \\ \l.
    std::string lines;
    size_t count = 0;         // of nodes: lines without the ends
    std::vector<size_t> hits; // which of them, in order
};

// `found` are nodes to mark: for an attribute its element.
Outline MakeOutline(const _xmlDoc* document, const std::vector<_xmlNode*>& found);

} // namespace host::xml
