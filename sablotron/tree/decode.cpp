// Which encoding a text is in, and its conversion to UTF-8 by ICU.
#include "sablotron/tree/decode.h"

#include <libxml/xmlerror.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <cstdio>
#include <memory>
#include <new>

namespace sablot {

namespace {

using namespace std::string_view_literals;

// How texts begin in the encodings in which "<?xml" is not what it is in ASCII, and after byte order marks.
struct Beginning {
    std::string_view bytes;
    const char* encoding;
    bool isMark; // and not part of the text
};
constexpr Beginning BEGINNINGS[] = {
    {"\0\0\xFE\xFF"sv, "UTF-32BE", true}, {"\xFF\xFE\0\0"sv, "UTF-32LE", true}, {"\xFE\xFF"sv, "UTF-16BE", true},
    {"\xFF\xFE"sv, "UTF-16LE", true},     {"\xEF\xBB\xBF"sv, "UTF-8", true},    {"\0\0\0<"sv, "UTF-32BE", false},
    {"<\0\0\0"sv, "UTF-32LE", false},     {"\0<"sv, "UTF-16BE", false},         {"<\0"sv, "UTF-16LE", false},
};
constexpr std::string_view EBCDIC_DECLARATION = "\x4C\x6F\xA7\x94\x93"sv; // "<?xml"
constexpr const char* EBCDIC = "IBM037"; // which all of them are like for the declaration
constexpr size_t DECLARATION_SIZE = 200; // bytes, at the most

struct ConverterDeleter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using ConverterPointer = std::unique_ptr<UConverter, ConverterDeleter>;

// Null for an encoding that is not known. The converter stops at bytes that are no character.
ConverterPointer OpenConverter(const std::string& encoding) {
    UErrorCode status = U_ZERO_ERROR;
    ConverterPointer converter(ucnv_open(encoding.c_str(), &status));
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    if (U_FAILURE(status) || encoding.empty()) return nullptr;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    return U_SUCCESS(status) ? std::move(converter) : nullptr;
}

// The encoding that the XML declaration names; "" when it names none.
std::string DeclaredEncoding(std::string_view text) {
    if (!text.starts_with("<?xml")) return {};
    const std::string_view declaration = text.substr(0, text.find('>'));
    size_t start = declaration.find("encoding");
    if (start == std::string_view::npos) return {};
    start = declaration.find_first_of("\"'", start);
    if (start == std::string_view::npos) return {};
    const size_t end = declaration.find(declaration[start], start + 1);
    if (end == std::string_view::npos) return {};
    return std::string(declaration.substr(start + 1, end - start - 1));
}

void AppendUtf8(std::string& text, const UChar* units, int32_t count) {
    const size_t before = text.size();
    text.resize(before + 3 * static_cast<size_t>(count) + 1);
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(text.data() + before, 3 * count + 1, &length, units, count, &status);
    text.resize(before + static_cast<size_t>(length));
}

// The UTF-8 of the bytes up to the first that are no character; then `status` is a failure.
std::string ToUtf8(UConverter* converter, std::string_view bytes, UErrorCode& status) {
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 2);
    UChar units[8192];
    UChar* begin = units; // after the first half of a surrogate pair that was cut
    const char* source = bytes.data();
    do {
        status = U_ZERO_ERROR;
        UChar* target = begin;
        ucnv_toUnicode(converter, &target, std::end(units), &source, bytes.data() + bytes.size(), nullptr, 1, &status);
        const bool isCut = status == U_BUFFER_OVERFLOW_ERROR && target > units && U16_IS_LEAD(target[-1]);
        AppendUtf8(text, units, static_cast<int32_t>(target - units) - (isCut ? 1 : 0));
        if (isCut) units[0] = target[-1];
        begin = units + (isCut ? 1 : 0);
    } while (status == U_BUFFER_OVERFLOW_ERROR);
    if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
    return text;
}

// The bytes at which the converter stopped, as in " (bytes 0x8F 0x41)".
std::string InvalidBytes(const UConverter* converter) {
    char bytes[16];
    int8_t count = sizeof bytes;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_getInvalidChars(converter, bytes, &count, &status);
    if (U_FAILURE(status) || count == 0) return {};
    std::string text = count == 1 ? " (byte" : " (bytes";
    for (int i = 0; i < count; ++i) {
        char digits[8];
        std::snprintf(digits, sizeof digits, " 0x%02X", static_cast<unsigned char>(bytes[i]));
        text += digits;
    }
    return text + ")";
}

// The encoding of the text: what its byte order mark says, which is taken off it, else the one that is given, else as
// far as its first bytes and its declaration tell.
std::string EncodingOf(std::string_view& text, const char* given) {
    for (const Beginning& beginning : BEGINNINGS) {
        if (!text.starts_with(beginning.bytes)) continue;
        if (!beginning.isMark) return given != nullptr ? given : beginning.encoding;
        text.remove_prefix(beginning.bytes.size());
        return beginning.encoding;
    }
    if (given != nullptr) return given;
    if (text.starts_with(EBCDIC_DECLARATION)) {
        UErrorCode status = U_ZERO_ERROR;
        const ConverterPointer converter = OpenConverter(EBCDIC);
        const std::string declared =
            converter ? DeclaredEncoding(ToUtf8(converter.get(), text.substr(0, DECLARATION_SIZE), status)) : "";
        return declared.empty() ? EBCDIC : declared;
    }
    std::string declared = DeclaredEncoding(text);
    if (declared.empty()) return "UTF-8";
    // A text in single bytes is not what such a declaration says: a program has converted it.
    const ConverterPointer converter = OpenConverter(declared);
    return converter && ucnv_getMinCharSize(converter.get()) > 1 ? "UTF-8" : declared;
}

} // namespace

DecodedText::DecodedText(const SablotSource& source) : text_(source.text, source.length) {
    std::string_view bytes = text_;
    const std::string encoding = EncodingOf(bytes, source.encoding);
    Convert(bytes, encoding);
    const size_t zero = text_.find('\0');
    if (zero == std::string_view::npos) return;
    text_ = text_.substr(0, zero);
    fault_ = {XML_ERR_INVALID_CHAR, "Char 0x0 out of allowed range"};
}

void DecodedText::Convert(std::string_view bytes, const std::string& encoding) {
    const ConverterPointer converter = OpenConverter(encoding);
    if (!converter) {
        text_ = {};
        fault_ = {XML_ERR_UNSUPPORTED_ENCODING, "Unsupported encoding " + encoding};
        return;
    }
    text_ = bytes;
    if (ucnv_getType(converter.get()) == UCNV_UTF8) return;
    UErrorCode status = U_ZERO_ERROR;
    converted_ = ToUtf8(converter.get(), bytes, status);
    text_ = converted_;
    if (status == U_TRUNCATED_CHAR_FOUND)
        fault_ = {XML_ERR_INVALID_ENCODING, "Input ends within a character of " + encoding};
    else if (U_FAILURE(status))
        fault_ = {XML_ERR_INVALID_ENCODING, "Input is not proper " + encoding + InvalidBytes(converter.get())};
}

} // namespace sablot
