// What libxslt and its libraries say, as a program's author reads it.
#pragma once

#include <string>
#include <string_view>

namespace sablot {

// The text in one line, without blanks around it, without the names of the library's functions, with its expressions as
// they stand in the stylesheet and its files as programs name them.
std::string UserText(std::string_view text);

} // namespace sablot
