// What libxml2 says of a text that it cannot parse, in a user's words.
#pragma once

#include <string>
#include <string_view>

namespace sablot {

// In the error that ends a parse because a text node is too long, which libxml2 calls want of memory.
constexpr std::string_view TEXT_LIMIT = "huge text node";

// One line, without libxml2's functions and options.
std::string ParseErrorText(std::string_view message);

} // namespace sablot
