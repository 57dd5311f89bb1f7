// Text as ICU's C functions take it.
#include "host/framework/utf16.h"

#include <unicode/ustring.h>

namespace host {

std::u16string ToUtf16(std::string_view text) {
    std::u16string result(text.size(), u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(result.data(), static_cast<int32_t>(result.size()), &length, text.data(),
                         static_cast<int32_t>(text.size()), 0xFFFD, nullptr, &status);
    result.resize(static_cast<size_t>(length));
    return result;
}

std::string ToUtf8(std::u16string_view text) {
    std::string result(text.size() * 3, '\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(result.data(), static_cast<int32_t>(result.size()), &length, text.data(),
                static_cast<int32_t>(text.size()), &status);
    result.resize(static_cast<size_t>(length));
    return result;
}

} // namespace host
