// Strings by their characters. What is found out about a long string is kept with its bytes, so that a loop over its
// characters takes linear time.
#pragma once

#include "host/runtime/string.h"

#include <cstddef>

namespace host {

struct FieldPlace;

// Of a string in UTF-8, not nil.
size_t CharacterCount(String* string);
// The byte offset of character `index`, counted from 0; the length when there are fewer characters.
size_t OffsetOfCharacter(String* string, size_t index);
// The index of the character that begins at a byte offset.
size_t CharacterAtOffset(String* string, size_t offset);

// The string in UTF-8, as ConvertString gives it; a long one is converted once.
StringRef ConvertToUtf8(String* string);

// Where a field of the string was found last; nullptr for a short string.
FieldPlace* LastField(String* string);

} // namespace host
