// The text of markup before it is parsed.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sablot {

// The end of the markup that begins there; the end of the text when it has none. Of a tag it is the place of its '>'.
size_t MarkupEnd(std::string_view text, size_t begin);

// A text in which start tags with very many attributes are cut: what is beyond the first thousand stands in elements
// that come first in the element.
struct CutText {
    std::string text;
    std::vector<size_t> pieces; // the start tags of those elements, counted from 0 on among all start tags
};

// libxml2 compares each attribute of a tag with each. A text with a document type declaration, which may say more about
// attributes, is not cut.
CutText CutLargeTags(std::string_view text);

} // namespace sablot
