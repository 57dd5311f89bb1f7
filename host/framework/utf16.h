// Text as ICU's C functions take it.
#pragma once

#include <string>
#include <string_view>

namespace host {

// What is ill-formed becomes U+FFFD.
std::u16string ToUtf16(std::string_view utf8);
std::string ToUtf8(std::u16string_view text);

} // namespace host
