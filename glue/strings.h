// Host strings: reading, making and owning them.
#pragma once

#include "glue/services.h"

#include <string_view>
#include <utility>

namespace kova {

constexpr KOVAEncoding UTF8_ENCODING = 0x08000100;

// The string's bytes, NUL-terminated, valid while the string lives; "" for nil, without a host call.
const char* CStringOrEmpty(KOVAString string);

// The byte length, by the host's LenB; 0 for nil, without a host call.
int32_t StringLenB(KOVAString string);

// Bytes and length together: never null, and empty if the host tells only one of the two.
std::string_view StringBytes(KOVAString string);

// A new string marked UTF-8, owned by the caller; nil for a null pointer, without a host call.
KOVAString BuildUTF8String(const char* text);
inline KOVAString BuildUTF8String(const char* bytes, int32_t length) {
    if (bytes == nullptr) return nullptr;
    const KOVAString string = KOVABuildString(bytes, length);
    KOVASetStringEncoding(string, UTF8_ENCODING);
    return string;
}

// The string itself if it is marked UTF-8, else converted. Borrowed either way: never unlock it.
KOVAString EnsureUTF8(KOVAString string);

// Adds a reference, as a string that was received or is kept needs before it is stored or returned; nil in a host that
// cannot add one, so that nobody drops a reference that was never there.
KOVAString LockedString(KOVAString string);

// Stores a string whose reference passes to the field and drops the field's old one.
void ReplaceString(KOVAString& field, KOVAString owned);

// One reference to a string, dropped at the end of the scope.
class OwnedString {
public:
    OwnedString() = default;
    explicit OwnedString(KOVAString string) : string_(string) {}
    OwnedString(OwnedString&& other) noexcept : string_(other.Release()) {}
    OwnedString& operator=(OwnedString&& other) noexcept {
        if (this != &other) ReplaceString(string_, other.Release());
        return *this;
    }
    ~OwnedString() {
        if (string_ != nullptr) KOVAUnlockString(string_);
    }

    KOVAString Get() const { return string_; }
    // Passes the reference on.
    [[nodiscard]] KOVAString Release() { return std::exchange(string_, nullptr); }

private:
    KOVAString string_ = nullptr;
};

} // namespace kova
