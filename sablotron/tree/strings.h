// Strings that are handed out to the caller.
#pragma once

#include <string_view>

namespace sablot {

// A NUL-terminated copy that scalar operator delete releases (getters).
char* NewDeletableString(std::string_view text);
// A NUL-terminated copy that free() and SablotFree release (results); null when memory is short.
char* NewFreeableString(std::string_view text);

} // namespace sablot
