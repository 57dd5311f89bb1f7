// The table of encodings and conversion between them by ICU.
#include "host/runtime/encoding.h"

#include "host/runtime/exception.h"
#include "host/runtime/utf8.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

size_t detail::conversionPoolSize = 0;

namespace {

// The first row with a name decides which value the name stands for.
constexpr std::array ENCODINGS = {
    Encoding{ENCODING_UTF8, "UTF8", "UTF-8", BytesOf::ASCII},
    Encoding{ENCODING_UTF16, "UTF16", "UTF-16", BytesOf::NOTHING},
    Encoding{0x10000100, "UTF16BE", "UTF-16BE", BytesOf::NOTHING},
    Encoding{0x14000100, "UTF16LE", "UTF-16LE", BytesOf::NOTHING},
    Encoding{0x0C000100, "UTF32", "UTF-32", BytesOf::NOTHING},
    Encoding{0x18000100, "UTF32BE", "UTF-32BE", BytesOf::NOTHING},
    Encoding{0x1C000100, "UTF32LE", "UTF-32LE", BytesOf::NOTHING},
    Encoding{ENCODING_ASCII, "ASCII", "US-ASCII", BytesOf::CHARACTERS},
    Encoding{ENCODING_ISO_LATIN1, "ISOLatin1", "ISO-8859-1", BytesOf::CHARACTERS},
    Encoding{0x0202, "ISOLatin2", "ISO-8859-2", BytesOf::CHARACTERS},
    Encoding{0x0203, "ISOLatin3", "ISO-8859-3", BytesOf::CHARACTERS},
    Encoding{0x0204, "ISOLatin4", "ISO-8859-4", BytesOf::CHARACTERS},
    Encoding{0x0205, "ISOLatinCyrillic", "ISO-8859-5", BytesOf::CHARACTERS},
    Encoding{0x0206, "ISOLatinArabic", "ISO-8859-6", BytesOf::CHARACTERS},
    Encoding{0x0207, "ISOLatinGreek", "ISO-8859-7", BytesOf::CHARACTERS},
    Encoding{0x0208, "ISOLatinHebrew", "ISO-8859-8", BytesOf::CHARACTERS},
    Encoding{0x0209, "ISOLatin5", "ISO-8859-9", BytesOf::CHARACTERS},
    Encoding{0x020A, "ISOLatin6", "ISO-8859-10", BytesOf::CHARACTERS},
    Encoding{0x020D, "ISOLatin7", "ISO-8859-13", BytesOf::CHARACTERS},
    Encoding{0x020E, "ISOLatin8", "ISO-8859-14", BytesOf::CHARACTERS},
    Encoding{0x020F, "ISOLatin9", "ISO-8859-15", BytesOf::CHARACTERS},
    Encoding{ENCODING_WINDOWS_LATIN1, "WindowsLatin1", "windows-1252", BytesOf::CHARACTERS},
    Encoding{0x0501, "WindowsLatin2", "windows-1250", BytesOf::CHARACTERS},
    Encoding{0x0502, "WindowsCyrillic", "windows-1251", BytesOf::CHARACTERS},
    Encoding{0x0503, "WindowsGreek", "windows-1253", BytesOf::CHARACTERS},
    Encoding{0x0504, "WindowsLatin5", "windows-1254", BytesOf::CHARACTERS},
    Encoding{0x0505, "WindowsHebrew", "windows-1255", BytesOf::CHARACTERS},
    Encoding{0x0506, "WindowsArabic", "windows-1256", BytesOf::CHARACTERS},
    Encoding{0x0507, "WindowsBalticRim", "windows-1257", BytesOf::CHARACTERS},
    Encoding{0x0508, "WindowsVietnamese", "windows-1258", BytesOf::CHARACTERS},
    Encoding{0x0400, "DOSLatinUS", "IBM437", BytesOf::CHARACTERS},
    Encoding{0x0410, "DOSLatin1", "IBM850", BytesOf::CHARACTERS},
    Encoding{0x0A02, "KOI8R", "KOI8-R", BytesOf::CHARACTERS},
    Encoding{0x0A08, "KOI8U", "KOI8-U", BytesOf::CHARACTERS},
    Encoding{0x0419, "DOSRussian", "IBM866", BytesOf::CHARACTERS},
    Encoding{0x0A01, "ShiftJIS", "Shift_JIS", BytesOf::NOTHING}, // 0x5C and 0x7E differ
    Encoding{0x0920, "EUCJapanese", "EUC-JP", BytesOf::ASCII},
    Encoding{0x0940, "EUCKorean", "EUC-KR", BytesOf::ASCII},
    Encoding{0x0A03, "Big5", "Big5", BytesOf::ASCII},
    Encoding{0x0631, "GBK", "GBK", BytesOf::ASCII},
    Encoding{0x0930, "GB2312", "GB2312", BytesOf::ASCII},
    Encoding{0x0632, "GB18030", "GB18030", BytesOf::ASCII},
};

struct CloseConverter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

// Those that only ICU knows get values from here on.
constexpr uint32_t FIRST_FOREIGN_VALUE = 0x7E000000;

std::deque<Encoding>& ForeignEncodings() {
    static auto& encodings = *new std::deque<Encoding>;
    return encodings;
}

// Opened on first use and kept.
UConverter* ConverterOf(const Encoding& encoding) {
    static auto& converters = *new std::unordered_map<uint32_t, Converter>;
    Converter& converter = converters[encoding.value];
    if (!converter) {
        UErrorCode error = U_ZERO_ERROR;
        converter.reset(ucnv_open(encoding.icuName, &error));
    }
    return converter.get();
}

const char* CanonicalName(const char* name) {
    UErrorCode error = U_ZERO_ERROR;
    const char* canonical = ucnv_getAlias(name, 0, &error);
    return U_SUCCESS(error) ? canonical : nullptr;
}

// `canonical` is ICU's own text and stays. nullptr when ICU has the name but not the converter.
const Encoding* AddForeignEncoding(const char* canonical) {
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(canonical, &error));
    if (!converter) return nullptr;
    const char* name = ucnv_getStandardName(canonical, "MIME", &error);
    if (name == nullptr) name = ucnv_getStandardName(canonical, "IANA", &error);
    auto value = FIRST_FOREIGN_VALUE + static_cast<uint32_t>(ForeignEncodings().size());
    return &ForeignEncodings().emplace_back(
        Encoding{value, nullptr, name != nullptr && U_SUCCESS(error) ? name : canonical, BytesOf::NOTHING});
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
    if (value == ENCODING_UTF8) return ENCODINGS.data();
    if (value == ENCODING_UNKNOWN) return nullptr;
    for (const Encoding& encoding : ENCODINGS) {
        if (encoding.value == value) return &encoding;
    }
    const size_t foreign = value - FIRST_FOREIGN_VALUE;
    return foreign < ForeignEncodings().size() ? &ForeignEncodings()[foreign] : nullptr;
}

const Encoding* FindEncoding(std::string_view name) {
    const char* canonical = CanonicalName(std::string(name).c_str());
    if (canonical == nullptr) return nullptr;
    auto matches = [canonical](const Encoding& encoding) {
        const char* other = CanonicalName(encoding.icuName);
        return other != nullptr && std::string_view(other) == canonical;
    };
    if (auto known = std::find_if(ENCODINGS.begin(), ENCODINGS.end(), matches); known != ENCODINGS.end()) return known;
    auto foreign = std::find_if(ForeignEncodings().begin(), ForeignEncodings().end(), matches);
    return foreign != ForeignEncodings().end() ? &*foreign : AddForeignEncoding(canonical);
}

StringRef ConvertString(String* string, uint32_t target) {
    const Encoding* to = FindEncoding(target);
    if ((string == nullptr) || string->encoding == target || (to == nullptr)) return StringRef::Share(string);
    const Encoding* from = SourceEncoding(*string);
    if (from == to || (from->bytes != BytesOf::NOTHING && to->bytes != BytesOf::NOTHING && IsAscii(string->View()))) {
        return StringRef::Adopt(RetagString(string, target));
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

} // namespace host
