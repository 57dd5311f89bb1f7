// Texts of the libraries in a user's words.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace sablot {

// What a text that contains `pattern` says instead. A '*' in the pattern stands for any text, at the end for the rest,
// and a '*' in `text` for the same.
struct Wording {
    std::string_view pattern;
    std::string_view text;
};

// The text in the words of the first wording that it contains; the text itself when there is none.
std::string Reworded(std::string_view text, std::span<const Wording> wordings);

} // namespace sablot
