// Text operations over plain bytes.
#include "host/framework/text.h"

#include <unicode/ucasemap.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
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

bool IsAscii(std::string_view text) {
    int32_t offset = 0;
    while (IsAsciiRun(text, offset)) offset += ASCII_RUN;
    text.remove_prefix(static_cast<size_t>(offset));
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) >= 0; });
}

size_t CountCharacters(std::string_view text, Characters characters) {
    if (characters == Characters::BYTES) return text.size();
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

size_t CharacterOffset(std::string_view text, size_t index, Characters characters) {
    if (characters == Characters::BYTES || index >= text.size()) return std::min(index, text.size());
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

std::string_view Substring(std::string_view text, size_t start, size_t count, Characters characters) {
    std::string_view rest = text.substr(CharacterOffset(text, start, characters));
    return rest.substr(0, CharacterOffset(rest, count, characters));
}

std::string_view LastCharacters(std::string_view text, size_t count, Characters characters) {
    if (count >= text.size()) return text;
    if (characters == Characters::BYTES) return text.substr(text.size() - count);
    int32_t offset = Size(text);
    for (; count > 0 && offset > 0; --count) U8_BACK_1(Bytes(text), 0, offset);
    return text.substr(static_cast<size_t>(offset));
}

std::optional<size_t> FindText(std::string_view text, std::string_view wanted, size_t start, Characters characters) {
    size_t from = CharacterOffset(text, start, characters);
    size_t found = text.find(wanted, from);
    if (found == std::string_view::npos) return std::nullopt;
    return std::min(start, CountCharacters(text.substr(0, from), characters))
           + CountCharacters(text.substr(from, found - from), characters);
}

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
        std::string_view last = LastCharacters(text, 1, characters);
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
