// The table of encodings and conversion between them by ICU.
#include "host/runtime/encoding.h"

#include "host/runtime/exception.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <vector>

namespace host {

size_t detail::conversionPoolSize = 0;

namespace {

// The first row with a name decides which value the name stands for.
constexpr std::array ENCODINGS = {
    Encoding{ENCODING_UTF8, "UTF8", "UTF-8", true},
    Encoding{ENCODING_UTF16, "UTF16", "UTF-16", false},
    Encoding{0x10000100, "UTF16BE", "UTF-16BE", false},
    Encoding{0x14000100, "UTF16LE", "UTF-16LE", false},
    Encoding{0x0C000100, "UTF32", "UTF-32", false},
    Encoding{0x18000100, "UTF32BE", "UTF-32BE", false},
    Encoding{0x1C000100, "UTF32LE", "UTF-32LE", false},
    Encoding{ENCODING_ASCII, "ASCII", "US-ASCII", true},
    Encoding{ENCODING_ISO_LATIN1, "ISOLatin1", "ISO-8859-1", true},
    Encoding{0x0202, "ISOLatin2", "ISO-8859-2", true},
    Encoding{0x0203, "ISOLatin3", "ISO-8859-3", true},
    Encoding{0x0204, "ISOLatin4", "ISO-8859-4", true},
    Encoding{0x0205, "ISOLatinCyrillic", "ISO-8859-5", true},
    Encoding{0x0206, "ISOLatinArabic", "ISO-8859-6", true},
    Encoding{0x0207, "ISOLatinGreek", "ISO-8859-7", true},
    Encoding{0x0208, "ISOLatinHebrew", "ISO-8859-8", true},
    Encoding{0x0209, "ISOLatin5", "ISO-8859-9", true},
    Encoding{0x020F, "ISOLatin9", "ISO-8859-15", true},
    Encoding{ENCODING_WINDOWS_LATIN1, "WindowsLatin1", "windows-1252", true},
    Encoding{0x0501, "WindowsLatin2", "windows-1250", true},
    Encoding{0x0502, "WindowsCyrillic", "windows-1251", true},
    Encoding{0x0503, "WindowsGreek", "windows-1253", true},
    Encoding{0x0504, "WindowsLatin5", "windows-1254", true},
    Encoding{0x0505, "WindowsHebrew", "windows-1255", true},
    Encoding{0x0506, "WindowsArabic", "windows-1256", true},
    Encoding{0x0507, "WindowsBalticRim", "windows-1257", true},
    Encoding{0x0508, "WindowsVietnamese", "windows-1258", true},
    Encoding{0x0400, "DOSLatinUS", "IBM437", true},
    Encoding{0x0410, "DOSLatin1", "IBM850", true},
    Encoding{0x0A02, "KOI8R", "KOI8-R", true},
    Encoding{0x0A01, "ShiftJIS", "Shift_JIS", false}, // 0x5C and 0x7E differ
    Encoding{0x0920, "EUCJapanese", "EUC-JP", true},
    Encoding{0x0940, "EUCKorean", "EUC-KR", true},
    Encoding{0x0A03, "Big5", "Big5", true},
    Encoding{0x0632, "GB18030", "GB18030", true},
};

struct CloseConverter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// Opened on first use and kept.
UConverter* ConverterOf(const Encoding& encoding) {
    static std::array<Converter, ENCODINGS.size()> converters;
    Converter& converter = converters[static_cast<size_t>(&encoding - ENCODINGS.data())];
    if (!converter) {
        UErrorCode error = U_ZERO_ERROR;
        converter.reset(ucnv_open(encoding.icuName, &error));
    }
    return converter.get();
}

bool IsAscii(std::string_view bytes) {
    return std::none_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

const Encoding* SourceEncoding(const String& string) {
    if (const Encoding* encoding = FindEncoding(string.encoding)) return encoding;
    return FindEncoding(IsValidUTF8(string.View()) ? ENCODING_UTF8 : ENCODING_WINDOWS_LATIN1);
}

// Converts piece by piece through ICU's pivot; the result grows as needed. false without memory or converter.
bool Convert(const Encoding& from, const Encoding& to, std::string_view bytes, std::string& result) {
    UConverter* source = ConverterOf(from);
    UConverter* target = ConverterOf(to);
    if ((source == nullptr) || (target == nullptr)) return false;
    std::array<UChar, 1024> pivot{};
    UChar* pivotRead = pivot.data();
    UChar* pivotWrite = pivot.data();
    std::array<char, 4096> piece{};
    const char* read = bytes.data();
    const char* end = bytes.data() + bytes.size();
    for (bool first = true;; first = false) {
        char* write = piece.data();
        UErrorCode error = U_ZERO_ERROR;
        ucnv_convertEx(target, source, &write, piece.data() + piece.size(), &read, end, pivot.data(), &pivotRead,
                       &pivotWrite, pivot.data() + pivot.size(), first ? 1 : 0, 1, &error);
        result.append(piece.data(), static_cast<size_t>(write - piece.data()));
        if (error == U_BUFFER_OVERFLOW_ERROR) continue;
        return U_SUCCESS(error) != 0;
    }
}

std::vector<StringRef>& Pool() {
    static auto& pool = *new std::vector<StringRef>;
    return pool;
}

} // namespace

std::span<const Encoding> Encodings() { return ENCODINGS; }

const Encoding* FindEncoding(uint32_t value) {
    if (value == ENCODING_UTF8) return &ENCODINGS[0];
    for (const Encoding& encoding : ENCODINGS) {
        if (encoding.value == value) return &encoding;
    }
    return nullptr;
}

const Encoding* FindEncoding(std::string_view name) {
    std::string text(name);
    UErrorCode error = U_ZERO_ERROR;
    const char* canonical = ucnv_getAlias(text.c_str(), 0, &error);
    if ((canonical == nullptr) || U_FAILURE(error)) return nullptr;
    for (const Encoding& encoding : ENCODINGS) {
        UErrorCode rowError = U_ZERO_ERROR;
        const char* rowName = ucnv_getAlias(encoding.icuName, 0, &rowError);
        if ((rowName != nullptr) && std::string_view(rowName) == canonical) return &encoding;
    }
    return nullptr;
}

StringRef ConvertString(String* string, uint32_t target) {
    const Encoding* to = FindEncoding(target);
    if ((string == nullptr) || string->encoding == target || (to == nullptr)) return StringRef::Share(string);
    const Encoding* from = SourceEncoding(*string);
    if (from == to || (from->asciiBytes && to->asciiBytes && IsAscii(string->View()))) {
        return StringRef::Adopt(BuildString(string->View(), target));
    }
    try {
        std::string converted;
        if (!Convert(*from, *to, string->View(), converted)) return StringRef::Share(string);
        return StringRef::Adopt(BuildString(converted, target));
    } catch (const std::bad_alloc&) {
        RaiseOutOfMemory();
        return {};
    }
}

String* ConvertStringPooled(String* string, uint32_t target) {
    StringRef converted = ConvertString(string, target);
    if (converted.Get() == string) return string; // the caller's own reference keeps it
    Pool().push_back(converted);
    detail::conversionPoolSize = Pool().size();
    return converted.Get();
}

void detail::ShrinkConversionPool(size_t size) {
    conversionPoolSize = size;
    Pool().resize(size);
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
