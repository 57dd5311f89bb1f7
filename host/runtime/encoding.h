// Text encodings: their values, names and conversion (by ICU).
#pragma once

#include "host/runtime/string.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace host {

// Values of the common text encodings. Any other value is unknown to the host; strings keep it all the same.
inline constexpr uint32_t ENCODING_UNKNOWN = 0;
inline constexpr uint32_t ENCODING_UTF16 = 0x0100;
inline constexpr uint32_t ENCODING_ISO_LATIN1 = 0x0201;
inline constexpr uint32_t ENCODING_WINDOWS_LATIN1 = 0x0500;
inline constexpr uint32_t ENCODING_ASCII = 0x0600;
inline constexpr uint32_t ENCODING_UTF8 = 0x08000100;

enum class BytesOf : uint8_t {
    CHARACTERS, // each byte is one character; those below 128 are ASCII
    ASCII,      // bytes below 128 are ASCII, so ASCII text needs no conversion
    NOTHING
};

struct Encoding {
    uint32_t value;
    const char* member;  // the name programs use: Encodings.UTF8; nullptr if it is found by name only
    const char* icuName; // the converter; also the name shown ("internet name")
    BytesOf bytes;

    bool IsSingleByte() const { return bytes == BytesOf::CHARACTERS; }
};

// Those that programs know as members of Encodings.
std::span<const Encoding> Encodings();

// nullptr when there is none of that value or name. Names are matched as ICU does (case and punctuation ignored), with
// every alias it knows; an encoding that only ICU knows gets a value when it is first asked for.
const Encoding* FindEncoding(uint32_t value);
const Encoding* FindEncoding(std::string_view name);

// The text in the target encoding, as a new reference; the same string when it has that encoding already. Text of
// unknown encoding is taken as UTF-8 if it is valid UTF-8, else as Windows Latin 1. What the target cannot express
// becomes its substitution character. An unknown target gives the same string.
StringRef ConvertString(String* string, uint32_t target);

// As ConvertString, but the result is lent: it belongs to a pool that keeps it until the native call in which it was
// made returns (what was lent before that call stays). Outside any native call it stays until ReleaseConversionPool.
String* ConvertStringPooled(String* string, uint32_t target);

namespace detail {
extern size_t conversionPoolSize;
void ShrinkConversionPool(size_t size);
} // namespace detail

// The pool's height, and release of everything above a mark. Used around each native call.
inline size_t ConversionPoolMark() { return detail::conversionPoolSize; }
inline void ReleaseConversionPool(size_t mark) {
    if (detail::conversionPoolSize > mark) detail::ShrinkConversionPool(mark);
}

} // namespace host
