// Names of the host language are compared without regard to the case of ASCII letters.
#pragma once

#include <string>
#include <string_view>

namespace host {

bool SameName(std::string_view left, std::string_view right);

// The name in lower case, for use as a key.
std::string FoldName(std::string_view name);

} // namespace host
