// Output encodings, converted by ICU: which converters the C library has differs from machine to machine.
#pragma once

#include <optional>
#include <string>

namespace sablot {

// Whether the name is one that an XML declaration can have, of an encoding that is known and whose text holds no zero
// bytes.
bool IsWritableEncoding(const std::string& name);

// UTF-8 text in that encoding; a character that it does not have becomes a decimal character reference. Null when the
// encoding is unknown or the text is no UTF-8.
std::optional<std::string> Encode(std::string text, const std::string& name);

} // namespace sablot
