// Walking over the characters of UTF-8. Each maximal ill-formed sequence counts as one character (Unicode, section
// 3.9), so every byte string has a length.
#pragma once

#include <cstddef>
#include <string_view>

namespace host {

bool IsAscii(std::string_view text);

// How many of the first bytes are ASCII.
size_t AsciiPrefix(std::string_view text);

// Whether the bytes are well-formed UTF-8 (RFC 3629).
bool IsValidUTF8(std::string_view bytes);

// Whether a character can begin with this byte, whatever stands before it.
inline bool BeginsCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

size_t CountCharacters(std::string_view text);

// The byte offset of character `index`; the size of `text` when there are fewer characters.
size_t CharacterOffset(std::string_view text, size_t index);

// The byte offset of the character `count` characters before the end; 0 when there are fewer.
size_t CharacterOffsetFromEnd(std::string_view text, size_t count);

} // namespace host
