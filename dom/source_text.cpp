// Scanning texts in any encoding, and file URIs.
#include "dom/source_text.h"

#include "dom/markup_scanner.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

namespace kova {

namespace {

// How the characters of a text stand in two or four bytes each.
struct WideEncoding {
    size_t width;
    bool bigEndian;
    size_t markLength; // bytes of the byte order mark
};

// As XML 1.0, appendix F, finds it; none for encodings whose markup is ASCII bytes.
std::optional<WideEncoding> FindWideEncoding(std::string_view text) {
    using namespace std::literals;
    static constexpr struct {
        std::string_view start;
        WideEncoding encoding;
    } STARTS[] = {
        {"\0\0\xFE\xFF"sv, {4, true, 4}}, {"\xFF\xFE\0\0"sv, {4, false, 4}}, {"\0\0\0<"sv, {4, true, 0}},
        {"<\0\0\0"sv, {4, false, 0}},     {"\xFE\xFF"sv, {2, true, 2}},      {"\xFF\xFE"sv, {2, false, 2}},
        {"\0<"sv, {2, true, 0}},          {"<\0"sv, {2, false, 0}},
    };
    for (const auto& [start, encoding] : STARTS)
        if (text.starts_with(start)) return encoding;
    return std::nullopt;
}

uint32_t UnitAt(std::string_view text, size_t place, const WideEncoding& encoding) {
    uint32_t unit = 0;
    for (size_t i = 0; i < encoding.width; ++i) {
        const size_t byte = encoding.bigEndian ? i : encoding.width - 1 - i;
        unit = unit << 8 | static_cast<unsigned char>(text[place + byte]);
    }
    return unit;
}

// What is no character becomes bytes that are no UTF-8, which the parser refuses where they stand.
void AppendUtf8(std::string& text, uint32_t code) {
    const auto append = [&text](uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (code < 0x80) return append(code);
    if (code > 0x10FFFF) return append(0xFF);
    if (code < 0x800) {
        append(0xC0 | code >> 6);
    } else {
        if (code < 0x10000) {
            append(0xE0 | code >> 12);
        } else {
            append(0xF0 | code >> 18);
            append(0x80 | (code >> 12 & 0x3F));
        }
        append(0x80 | (code >> 6 & 0x3F));
    }
    append(0x80 | (code & 0x3F));
}

std::string ToUtf8(std::string_view text, const WideEncoding& encoding) {
    constexpr uint32_t NO_CHARACTER = UINT32_MAX;
    std::string utf8;
    utf8.reserve(text.size());
    size_t place = encoding.markLength;
    for (; text.size() - place >= encoding.width; place += encoding.width) {
        uint32_t code = UnitAt(text, place, encoding);
        const bool isHighSurrogate = code >= 0xD800 && code < 0xDC00;
        if (isHighSurrogate && text.size() - place >= 2 * encoding.width) {
            const uint32_t low = UnitAt(text, place + encoding.width, encoding);
            if (low >= 0xDC00 && low < 0xE000 && encoding.width == 2) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                place += encoding.width;
            }
        }
        AppendUtf8(utf8, code);
    }
    if (place != text.size()) AppendUtf8(utf8, NO_CHARACTER); // the text ends in the middle of a character
    return utf8;
}

} // namespace

SourceText::SourceText(KOVAString text, bool preserveWhitespace)
    : bytes_(""), isUtf8_(KOVAGetStringEncoding(text) == UTF8_ENCODING) {
    // There may be more behind a zero byte; a host that does not tell lengths shows what stands before it.
    if (const char* bytes = text != nullptr ? StringGetCString(text) : nullptr)
        bytes_ = {bytes, std::max(std::strlen(bytes), static_cast<size_t>(StringLenB(text)))};
    if (!preserveWhitespace) Scan();
}

void SourceText::Scan() {
    // The scanner reads bytes up to the first zero.
    if (bytes_.find('\0') != std::string_view::npos) {
        const std::optional<WideEncoding> wide = isUtf8_ ? std::nullopt : FindWideEncoding(bytes_);
        std::string utf8 = wide ? ToUtf8(bytes_, *wide) : std::string();
        // A zero character: the parser says where it stands.
        if (!wide || utf8.find('\0') != std::string::npos) return;
        converted_ = std::move(utf8);
        bytes_ = converted_;
        isUtf8_ = true;
    }
    scanned_ = OwnedString(MarkupScanner().Run(bytes_.data()));
    const bool hostMakesStrings = KOVABuildString.IsResolved();
    if (scanned_.Get() == nullptr && hostMakesStrings && !bytes_.empty()) throw std::bad_alloc();
    bytes_ = CStringOrEmpty(scanned_.Get());
}

std::string FileUri(std::string_view path) {
    constexpr std::string_view UNESCAPED = "/-._~!$&'()*+,;=:@"; // beside letters and digits, RFC 3986, 3.3
    constexpr char HEX[] = "0123456789ABCDEF";
    std::string uri = "file://";
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isAlphanumeric = (c >= '0' && c <= '9') || ((c | 0x20) >= 'a' && (c | 0x20) <= 'z');
        if (isAlphanumeric || UNESCAPED.find(c) != std::string_view::npos)
            uri += c;
        else
            uri += {'%', HEX[byte >> 4], HEX[byte & 0xF]};
    }
    return uri;
}

} // namespace kova
