// Conversion by ICU, with character references for what an encoding lacks.
#include "sablotron/transform/encoding.h"

#include <strings.h>
#include <unicode/ucnv.h>
#include <unicode/uset.h>

#include <algorithm>
#include <memory>

namespace sablot {
namespace {

struct ConverterDeleter {
    void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, ConverterDeleter>;

bool IsUtf8(const std::string& name) {
    return strcasecmp(name.c_str(), "UTF-8") == 0 || strcasecmp(name.c_str(), "UTF8") == 0;
}

Converter Open(const char* name) {
    UErrorCode status = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &status));
    return U_SUCCESS(status) ? std::move(converter) : nullptr;
}

// EncName of XML 1.0, production 81.
bool IsEncodingName(const std::string& name) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return !name.empty() && isLetter(name[0]) && std::all_of(name.begin(), name.end(), [&isLetter](char c) {
        return isLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
    });
}

} // namespace

EncodingKind KindOf(const std::string& encoding) {
    const std::optional<std::string> sample =
        IsEncodingName(encoding) ? Encode("<a/>", encoding, Missing::FAIL) : std::nullopt;
    if (!sample) return EncodingKind::UNKNOWN;
    return sample->find('\0') == std::string::npos ? EncodingKind::WRITABLE : EncodingKind::WITH_ZERO_BYTES;
}

struct Repertoire::Set {
    USet* characters = uset_openEmpty();
    Set() = default;
    Set(const Set&) = delete;
    Set& operator=(const Set&) = delete;
    ~Set() { uset_close(characters); }
};

Repertoire::Repertoire(const std::string& encoding) {
    const Converter converter = IsUtf8(encoding) ? nullptr : Open(encoding.c_str());
    if (!converter) return;
    set_ = std::make_unique<Set>();
    UErrorCode status = U_ZERO_ERROR;
    ucnv_getUnicodeSet(converter.get(), set_->characters, UCNV_ROUNDTRIP_SET, &status);
    if (U_FAILURE(status)) set_.reset();
}

Repertoire::~Repertoire() = default;

size_t Repertoire::FindMissing(std::string_view text, size_t start) const {
    if (!set_) return std::string_view::npos;
    const auto byte = [text](size_t at) { return static_cast<unsigned char>(text[at]); };
    for (size_t at = start; at < text.size();) {
        const size_t begin = at;
        unsigned character = byte(at++);
        if (character < 0x80) continue; // an encoding without ASCII is not WRITABLE
        const unsigned length = character >= 0xF0 ? 4 : character >= 0xE0 ? 3 : 2;
        character &= 0xFFU >> (length + 1);
        for (; at < text.size() && at < begin + length; ++at) character = character << 6U | (byte(at) & 0x3FU);
        if (uset_contains(set_->characters, static_cast<UChar32>(character)) == 0) return begin;
    }
    return std::string_view::npos;
}

std::optional<std::string> Encode(std::string text, const std::string& name, Missing missing) {
    if (IsUtf8(name)) return text;
    const Converter from = Open("UTF-8");
    const Converter to = Open(name.c_str());
    if (!from || !to) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    if (missing == Missing::REFERENCE)
        ucnv_setFromUCallBack(to.get(), UCNV_FROM_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_DEC, nullptr, nullptr, &status);
    else
        ucnv_setFromUCallBack(to.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    ucnv_setToUCallBack(from.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
    if (U_FAILURE(status)) return std::nullopt;

    std::string result;
    UChar pivot[2048];
    UChar* pivotRead = pivot;
    UChar* pivotWrite = pivot;
    const char* source = text.data();
    char buffer[1 << 14];
    for (bool first = true;; first = false) {
        char* target = buffer;
        status = U_ZERO_ERROR;
        ucnv_convertEx(to.get(), from.get(), &target, std::end(buffer), &source, text.data() + text.size(), pivot,
                       &pivotRead, &pivotWrite, std::end(pivot), static_cast<UBool>(first), 1, &status);
        result.append(buffer, static_cast<size_t>(target - buffer));
        if (status == U_BUFFER_OVERFLOW_ERROR) continue;
        if (U_FAILURE(status)) return std::nullopt;
        return result;
    }
}

} // namespace sablot
