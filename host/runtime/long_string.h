// The two forms of strings, for the files that know their memory.
#pragma once

#include "host/runtime/string.h"
#include "host/runtime/text_buffer.h"

namespace host {

struct ShortString : String {
    char text[1]; // the bytes and a NUL
};

struct LongString : String {
    TextBuffer* buffer;
    char* cString; // a copy with a NUL, once one was asked for and the buffer goes on after this string

    uint32_t Begin() const { return static_cast<uint32_t>(bytes - buffer->bytes); }
    uint32_t End() const { return Begin() + length; }
};

// nullptr for nil and for a short string.
inline LongString* AsLongString(String* string) {
    if (string == nullptr || string->bytes == static_cast<ShortString*>(string)->text) return nullptr;
    return static_cast<LongString*>(string);
}

} // namespace host
