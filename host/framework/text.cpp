// Text operations over plain bytes.
#include "host/framework/text.h"

#include "host/runtime/utf8.h"

#include <unicode/ucasemap.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <array>

namespace host {

namespace {

const uint8_t* Bytes(std::string_view text) { return reinterpret_cast<const uint8_t*>(text.data()); }

// ICU counts in 32 bits, which every size of this process fits.
int32_t Size(std::string_view text) { return static_cast<int32_t>(text.size()); }

// A byte above ASCII is part of a character that nobody knows.
bool IsSpace(UChar32 character, Characters characters) {
    if (characters == Characters::BYTES && character > 0x7F) return false;
    return character >= 0 && (character < ' ' || u_isUWhiteSpace(character));
}

UChar32 CharacterAt(std::string_view text, int32_t& offset, Characters characters) {
    const uint8_t* bytes = Bytes(text);
    if (characters == Characters::BYTES) return bytes[offset++];
    UChar32 character;
    U8_NEXT(bytes, offset, Size(text), character);
    return character;
}

using CaseMapping = int32_t (*)(const UCaseMap*, char*, int32_t, const char*, int32_t, UErrorCode*);

std::string MapCase(std::string_view text, Characters characters, CaseMapping mapping, char first, char last,
                    char offset) {
    std::string result(text);
    if (characters == Characters::BYTES || IsAscii(text)) {
        for (char& c : result)
            if (c >= first && c <= last) c = static_cast<char>(c + offset);
        return result;
    }
    UErrorCode status = U_ZERO_ERROR;
    UCaseMap* map = ucasemap_open("", 0, &status);
    for (int attempt = 0; attempt < 2; ++attempt) {
        status = U_ZERO_ERROR;
        int32_t length = mapping(map, result.data(), Size(result), text.data(), Size(text), &status);
        result.resize(static_cast<size_t>(length));
        if (status != U_BUFFER_OVERFLOW_ERROR) break;
    }
    ucasemap_close(map);
    return result;
}

} // namespace

std::string ReplaceText(std::string_view text, std::string_view wanted, std::string_view replacement, bool all) {
    std::string result;
    size_t position = 0;
    while (!wanted.empty()) {
        size_t found = text.find(wanted, position);
        if (found == std::string_view::npos) break;
        result.append(text, position, found - position).append(replacement);
        position = found + wanted.size();
        if (!all) break;
    }
    return result.append(text, position);
}

std::string_view TrimLeft(std::string_view text, Characters characters) {
    for (int32_t offset = 0; offset < Size(text);) {
        int32_t start = offset;
        if (!IsSpace(CharacterAt(text, offset, characters), characters)) return text.substr(static_cast<size_t>(start));
    }
    return {};
}

std::string_view TrimRight(std::string_view text, Characters characters) {
    while (!text.empty()) {
        size_t start = characters == Characters::BYTES ? text.size() - 1 : CharacterOffsetFromEnd(text, 1);
        std::string_view last = text.substr(start);
        int32_t offset = 0;
        if (!IsSpace(CharacterAt(last, offset, characters), characters)) break;
        text.remove_suffix(last.size());
    }
    return text;
}

std::vector<std::string_view> SplitText(std::string_view text, std::string_view delimiter, Characters characters) {
    std::vector<std::string_view> parts;
    if (delimiter.empty()) {
        for (int32_t offset = 0; offset < Size(text);) {
            int32_t start = offset;
            CharacterAt(text, offset, characters);
            parts.push_back(text.substr(static_cast<size_t>(start), static_cast<size_t>(offset - start)));
        }
        return parts;
    }
    size_t position = 0;
    for (size_t found; (found = text.find(delimiter, position)) != std::string_view::npos;
         position = found + delimiter.size())
        parts.push_back(text.substr(position, found - position));
    parts.push_back(text.substr(position));
    return parts;
}

std::string ToUppercase(std::string_view text, Characters characters) {
    return MapCase(text, characters, ucasemap_utf8ToUpper, 'a', 'z', 'A' - 'a');
}

std::string ToLowercase(std::string_view text, Characters characters) {
    return MapCase(text, characters, ucasemap_utf8ToLower, 'A', 'Z', 'a' - 'A');
}

std::string FoldCase(std::string_view text, Characters characters) {
    return MapCase(text, characters, ucasemap_utf8FoldCase, 'A', 'Z', 'a' - 'A');
}

std::optional<std::string> EncodeCodePoint(uint32_t codePoint) {
    if (codePoint > 0x10FFFF || U_IS_SURROGATE(codePoint)) return std::nullopt;
    std::array<char, U8_MAX_LENGTH> bytes{};
    int32_t length = 0;
    U8_APPEND_UNSAFE(bytes.data(), length, codePoint);
    return std::string(bytes.data(), static_cast<size_t>(length));
}

int32_t FirstCodePoint(std::string_view text, Characters characters) {
    if (text.empty()) return -1;
    int32_t offset = 0;
    UChar32 character = CharacterAt(text, offset, characters);
    return character < 0 ? 0xFFFD : character;
}

} // namespace host
