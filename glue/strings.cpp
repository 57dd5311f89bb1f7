// Reading and making host strings.
#include "glue/strings.h"

#include <cstring>

namespace kova {

const char* CStringOrEmpty(KOVAString string) {
    const char* bytes = string != nullptr ? StringGetCString(string) : nullptr;
    return bytes != nullptr ? bytes : "";
}

int32_t StringLenB(KOVAString string) {
    using Function = int32_t (*)(KOVAString);
    static Function lenB = nullptr;

    if (string == nullptr) return 0;
    if (lenB == nullptr) lenB = reinterpret_cast<Function>(KOVALoadGlobalMethod("LenB( s as string ) as integer"));
    // The host is required to have LenB; without it every text is taken as empty.
    return lenB != nullptr ? lenB(string) : 0;
}

std::string_view StringBytes(KOVAString string) {
    const char* bytes = string != nullptr ? StringGetCString(string) : nullptr;
    return bytes != nullptr ? std::string_view(bytes, static_cast<size_t>(StringLenB(string))) : std::string_view("");
}

KOVAString BuildUTF8String(const char* text) {
    return text != nullptr ? BuildUTF8String(text, static_cast<int32_t>(std::strlen(text))) : nullptr;
}

KOVAString EnsureUTF8(KOVAString string) {
    return KOVAGetStringEncoding(string) == UTF8_ENCODING ? string : KOVAConvertString(string, UTF8_ENCODING);
}

KOVAString LockedString(KOVAString string) {
    KOVALockString(string);
    return KOVALockString.IsResolved() ? string : nullptr;
}

void ReplaceString(KOVAString& field, KOVAString owned) {
    KOVAString old = std::exchange(field, owned);
    if (old != nullptr) KOVAUnlockString(old);
}

} // namespace kova
