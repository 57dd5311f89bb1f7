// Text as JSON writes it.
#pragma once

#include <string>
#include <string_view>

namespace host {

// The text in quotes.
std::string JsonString(std::string_view text);

} // namespace host
