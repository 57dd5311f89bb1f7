// Conversion by ICU, with character references for what an encoding lacks.
#include "sablotron/transform/encoding.h"

#include <strings.h>
#include <unicode/ucnv.h>

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

bool IsWritableEncoding(const std::string& name) {
    if (!IsEncodingName(name)) return false;
    const std::optional<std::string> sample = Encode("<a/>", name);
    return sample && sample->find('\0') == std::string::npos;
}

std::optional<std::string> Encode(std::string text, const std::string& name) {
    if (IsUtf8(name)) return text;
    const Converter from = Open("UTF-8");
    const Converter to = Open(name.c_str());
    if (!from || !to) return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setFromUCallBack(to.get(), UCNV_FROM_U_CALLBACK_ESCAPE, UCNV_ESCAPE_XML_DEC, nullptr, nullptr, &status);
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
