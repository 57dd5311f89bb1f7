// Walking over the characters of UTF-8.
#include "host/runtime/utf8.h"

#include <unicode/utf8.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace host {

namespace {

const uint8_t* Bytes(std::string_view text) { return reinterpret_cast<const uint8_t*>(text.data()); }

// ICU counts in 32 bits, which every size of this process fits.
int32_t Size(std::string_view text) { return static_cast<int32_t>(text.size()); }

// Most text is ASCII: it is looked at in runs of this many bytes.
constexpr int32_t ASCII_RUN = 16;

bool IsAsciiRun(std::string_view text, int32_t offset) {
    if (Size(text) - offset < ASCII_RUN) return false;
    std::array<uint64_t, 2> words;
    std::memcpy(words.data(), text.data() + offset, sizeof words);
    return ((words[0] | words[1]) & 0x8080808080808080U) == 0;
}

} // namespace

size_t AsciiPrefix(std::string_view text) {
    int32_t offset = 0;
    while (IsAsciiRun(text, offset)) offset += ASCII_RUN;
    auto length = static_cast<size_t>(offset);
    while (length < text.size() && static_cast<signed char>(text[length]) >= 0) ++length;
    return length;
}

bool IsAscii(std::string_view text) { return AsciiPrefix(text) == text.size(); }

size_t CountCharacters(std::string_view text) {
    size_t count = 0;
    for (int32_t offset = 0; offset < Size(text);) {
        if (IsAsciiRun(text, offset)) {
            offset += ASCII_RUN;
            count += ASCII_RUN;
        } else {
            U8_FWD_1(Bytes(text), offset, Size(text));
            ++count;
        }
    }
    return count;
}

size_t CharacterOffset(std::string_view text, size_t index) {
    if (index >= text.size()) return text.size();
    int32_t offset = 0;
    while (index > 0 && offset < Size(text)) {
        if (index >= ASCII_RUN && IsAsciiRun(text, offset)) {
            offset += ASCII_RUN;
            index -= ASCII_RUN;
        } else {
            U8_FWD_1(Bytes(text), offset, Size(text));
            --index;
        }
    }
    return static_cast<size_t>(offset);
}

size_t CharacterOffsetFromEnd(std::string_view text, size_t count) {
    if (count >= text.size()) return 0;
    int32_t offset = Size(text);
    for (; count > 0 && offset > 0; --count) U8_BACK_1(Bytes(text), 0, offset);
    return static_cast<size_t>(offset);
}

bool IsValidUTF8(std::string_view bytes) {
    for (size_t i = 0; i < bytes.size();) {
        auto lead = static_cast<unsigned char>(bytes[i++]);
        if (lead < 0x80) continue;
        if (lead < 0xC2 || lead > 0xF4) return false;
        size_t following = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
        if (bytes.size() - i < following) return false;
        auto second = static_cast<unsigned char>(bytes[i]);
        // Overlong forms, surrogates and values above U+10FFFF show in the second byte.
        unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (second < low || second > high) return false;
        for (size_t k = 1; k < following; ++k) {
            if ((static_cast<unsigned char>(bytes[i + k]) & 0xC0) != 0x80) return false;
        }
        i += following;
    }
    return true;
}

} // namespace host
