// The character tables of XML 1.0 and Namespaces in XML 1.0, and UTF-8.
#include "sablotron/tree/characters.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace sablot {

namespace {

struct Range {
    uint32_t first;
    uint32_t last;
};

// Production 4 without the colon.
constexpr Range NAME_START[] = {{'A', 'Z'},       {'_', '_'},       {'a', 'z'},        {0xC0, 0xD6},
                                {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},    {0x37F, 0x1FFF},
                                {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},  {0x3001, 0xD7FF},
                                {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF}};
// What production 4a adds.
constexpr Range NAME_REST[] = {{'-', '-'}, {'.', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040}};
constexpr Range XML_CHARACTERS[] = {{'\t', '\n'}, {'\r', '\r'}, {' ', 0xD7FF}, {0xE000, 0xFFFD}, {0x10000, 0x10FFFF}};

constexpr uint32_t INVALID = 0xFFFFFFFF;

template <size_t N>
constexpr bool IsIn(const Range (&ranges)[N], uint32_t character) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [=](Range range) { return character >= range.first && character <= range.last; });
}

// What a character of ASCII may be in a name without colon.
constexpr uint8_t STARTS = 1;
constexpr uint8_t CONTINUES = 2;
constexpr auto IN_NAMES = [] {
    std::array<uint8_t, 0x80> uses{};
    for (uint32_t character = 0; character < uses.size(); ++character) {
        if (IsIn(NAME_START, character)) uses[character] = STARTS | CONTINUES;
        if (IsIn(NAME_REST, character)) uses[character] = CONTINUES;
    }
    return uses;
}();

// Takes the first character off the text, which is not empty; INVALID when it is not UTF-8 in shortest form.
uint32_t TakeCharacter(std::string_view& text) {
    constexpr uint32_t SMALLEST[] = {0, 0, 0x80, 0x800, 0x10000};
    auto first = static_cast<unsigned char>(text[0]);
    size_t length = first < 0x80 ? 1 : first < 0xC0 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF8 ? 4 : 0;
    if (length == 0 || length > text.size()) return INVALID;
    uint32_t character = length == 1 ? first : first & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        auto next = static_cast<unsigned char>(text[i]);
        if ((next & 0xC0) != 0x80) return INVALID;
        character = character << 6 | (next & 0x3F);
    }
    text.remove_prefix(length);
    return character >= SMALLEST[length] ? character : INVALID;
}

// How many bytes at the beginning are characters of ASCII that are no control characters. Most texts are such from end
// to end: sixteen bytes are looked at in one. Those of other characters are negative.
size_t PlainLength(std::string_view text) {
    const __m128i first = _mm_set1_epi8(' ');
    size_t length = 0;
    for (; length + sizeof first <= text.size(); length += sizeof first) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + length));
        if (_mm_movemask_epi8(_mm_cmplt_epi8(bytes, first)) != 0) break;
    }
    while (length < text.size() && text[length] >= ' ') ++length;
    return length;
}

bool IsNcName(std::string_view name) {
    if (name.empty()) return false;
    for (uint8_t use = STARTS; !name.empty(); use = CONTINUES) {
        if (const auto first = static_cast<unsigned char>(name[0]); first < IN_NAMES.size()) {
            if ((IN_NAMES[first] & use) == 0) return false;
            name.remove_prefix(1);
            continue;
        }
        const uint32_t character = TakeCharacter(name);
        if (!IsIn(NAME_START, character) && (use == STARTS || !IsIn(NAME_REST, character))) return false;
    }
    return true;
}

} // namespace

std::string WithLineFeeds(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size(); ++at) {
        const bool isReturn = text[at] == '\r';
        result += isReturn ? '\n' : text[at];
        if (isReturn && text.substr(at + 1, 1) == "\n") ++at;
    }
    return result;
}

std::string AsInstructionData(std::string_view text) {
    return WithLineFeeds(text.substr(std::min(text.find_first_not_of(BLANKS), text.size())));
}

bool IsXmlText(std::string_view text) {
    while (!text.empty()) {
        if (const size_t length = PlainLength(text); length > 0)
            text.remove_prefix(length);
        else if (!IsIn(XML_CHARACTERS, TakeCharacter(text)))
            return false;
    }
    return true;
}

bool IsCommentText(std::string_view text) {
    return IsXmlText(text) && text.find("--") == std::string_view::npos && !text.ends_with('-');
}

bool IsInstructionData(std::string_view text) { return IsXmlText(text) && text.find("?>") == std::string_view::npos; }

bool IsInstructionTarget(std::string_view name) {
    auto isLetter = [&](size_t i, char letter) { return (name[i] | 0x20) == letter; };
    bool isReserved = name.size() == 3 && isLetter(0, 'x') && isLetter(1, 'm') && isLetter(2, 'l');
    return IsNcName(name) && !isReserved;
}

QName::QName(std::string_view name) {
    size_t colon = name.find(':');
    if (colon != std::string_view::npos) prefix = name.substr(0, colon);
    localName = colon == std::string_view::npos ? name : name.substr(colon + 1);
    isValid = IsNcName(localName) && (colon == std::string_view::npos || IsNcName(prefix));
}

} // namespace sablot
