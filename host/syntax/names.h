// Names of the host language are compared without regard to the case of ASCII letters.
#pragma once

#include <string>
#include <string_view>

namespace host {

bool SameName(std::string_view left, std::string_view right);

// The name in lower case, for use as a key.
std::string FoldName(std::string_view name);

// What names and numbers are written with.
inline bool IsDigit(char c) { return c >= '0' && c <= '9'; }
inline bool IsNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
inline bool IsNamePart(char c) { return IsNameStart(c) || IsDigit(c); }

} // namespace host
