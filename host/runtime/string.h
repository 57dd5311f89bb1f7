// Host strings: reference-counted bytes with an encoding. The null pointer is the nil string, which is the empty
// string. A string is not changed once others can see it, except that its encoding may be set anew.
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>

namespace host {

// The bytes of a short string follow its header; those of a long one lie in a TextBuffer, which it shares.
struct String {
    uint32_t references;
    uint32_t encoding;
    uint32_t length; // in bytes
    char* bytes;     // without a NUL at the end: see CString

    std::string_view View() const { return {bytes, length}; }
};

// A new string with one reference, for the caller. The bytes may contain NULs. A negative length or null bytes give an
// empty string (not nil). Without memory the result is nil and OutOfMemoryException is raised.
String* BuildString(const char* bytes, int32_t length, uint32_t encoding = 0);
String* BuildBytes(const char* bytes, int32_t length) noexcept; // of unknown encoding
String* BuildString(std::string_view bytes, uint32_t encoding = 0);

// A new string of `length` bytes for the caller to fill before anyone else sees it. nil without memory.
String* AllocateString(size_t length, uint32_t encoding);

// A new string: part of another one, or all of it in another encoding. Long parts share the bytes.
String* PartOfString(String* string, size_t offset, size_t length);
String* RetagString(String* string, uint32_t encoding);

void FreeString(String* string) noexcept; // only for UnlockString

inline void LockString(String* string) {
    if (string != nullptr) ++string->references;
}

inline void UnlockString(String* string) {
    if ((string != nullptr) && --string->references == 0) FreeString(string);
}

inline std::string_view StringView(const String* string) {
    return string != nullptr ? string->View() : std::string_view("");
}

// The bytes and a NUL, which stay while the string lives; "" for nil, and without memory.
const char* CString(String* string) noexcept;

// A new string: the two joined, in the encoding they share. If they differ, the right one is converted to the left
// one's (an empty side does not count), or both to UTF-8 when the left one's cannot express it. A string that was
// joined shares its bytes with what is joined to its end or start: a loop of such joins takes linear time and memory,
// whoever keeps the strings between.
String* AddStrings(String* left, String* right);

// As AddStrings, but takes over the reference of `left`: one that nobody else holds grows in place. Without memory the
// result is `left` as it was.
String* AppendString(String* left, String* right);

// Below, equal or above 0 by bytes; nil equals the empty string. Case-sensitive. Strings of different known encodings
// are compared as UTF-8.
int32_t CompareStrings(String* left, String* right);

uint32_t LiveStringCount();

// Owns one reference.
class StringRef {
public:
    StringRef() = default;
    explicit StringRef(std::string_view utf8);
    StringRef(const StringRef& other) : string_(other.string_) { LockString(string_); }
    StringRef(StringRef&& other) noexcept : string_(std::exchange(other.string_, nullptr)) {}
    StringRef& operator=(StringRef other) noexcept {
        std::swap(string_, other.string_);
        return *this;
    }
    ~StringRef() { UnlockString(string_); }

    static StringRef Adopt(String* string) { return StringRef(string); } // takes over a reference
    static StringRef Share(String* string) {                             // adds one
        LockString(string);
        return StringRef(string);
    }

    String* Get() const { return string_; }
    String* Detach() { return std::exchange(string_, nullptr); } // the reference passes to the caller
    std::string_view View() const { return StringView(string_); }
    explicit operator bool() const { return string_ != nullptr; }

private:
    explicit StringRef(String* string) : string_(string) {}

    String* string_ = nullptr;
};

} // namespace host
