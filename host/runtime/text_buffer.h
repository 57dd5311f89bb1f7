// The bytes of long strings: a buffer with room to grow at its end or its start, shared by a string, what is joined to
// it, and its larger parts. Bytes once written never change.
#pragma once

#include "host/runtime/character_index.h"
#include "host/runtime/string.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace host {

// The field of a text that was looked up last.
struct FieldPlace {
    std::string separator;
    const char* text = nullptr; // where the text begins
    size_t number = 0;
    size_t offset = 0; // of the field in the text
};

// What was found out about a buffer's text.
struct TextNotes {
    CharacterIndex characters;
    FieldPlace field;
    // The string of this buffer last converted to UTF-8, and what it became.
    std::string_view original;
    uint32_t originalEncoding = 0;
    StringRef converted;
};

struct TextBuffer {
    uint32_t references;
    uint32_t capacity;
    uint32_t begin; // of the bytes in use
    uint32_t end;   // a NUL stands there
    size_t copied;  // bytes of it that small parts have copied
    bool isJoined;  // made by joining: more is likely to follow
    bool isFixed;   // its end was handed out as a C string, whose NUL must stay
    // Some string in it begins or ends within a character of UTF-8, so that a part is not read as the whole is.
    bool splitsCharacters;
    TextNotes* notes;
    char bytes[1];

    std::string_view Text() const { return {bytes, end}; }
};

// The longest text of a string: header and NUL fit into 32 bits.
inline constexpr size_t MAX_TEXT = 0xFFFFFF00;

// An empty buffer with one reference, with that much room before its (empty) text and for it and after it; with no more
// room than `length` needs if there is no memory for more. nullptr without memory.
TextBuffer* NewTextBuffer(size_t length, size_t roomBefore = 0, size_t roomAfter = 0);
void UnlockTextBuffer(TextBuffer* buffer);

// The buffer, which nobody else refers to and which begins at its first byte, with room for a text of that length and
// for more; nullptr without memory, and then it is as it was.
TextBuffer* GrowTextBuffer(TextBuffer* buffer, size_t length);

// The buffer's notes, made if there are none; nullptr without memory.
TextNotes* NotesOf(TextBuffer* buffer);

} // namespace host
