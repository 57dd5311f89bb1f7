// Output encodings, converted by ICU: which converters the C library has differs from machine to machine.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace sablot {

enum class EncodingKind {
    UNKNOWN,
    WITH_ZERO_BYTES, // such as UTF-16
    WRITABLE,
};

// UNKNOWN, too, for a name that an XML declaration cannot have.
EncodingKind KindOf(const std::string& encoding);

// What to do with a character that an encoding lacks.
enum class Missing { REFERENCE, FAIL };

// UTF-8 text in that encoding. Null when the encoding is unknown, the text is no UTF-8, or a character is missing that
// may not be a (decimal) character reference.
std::optional<std::string> Encode(std::string text, const std::string& encoding, Missing missing);

// The characters of an encoding.
class Repertoire {
public:
    explicit Repertoire(const std::string& encoding);
    ~Repertoire();
    bool HasAll() const { return set_ == nullptr; }
    // The place of the first character of the UTF-8 text that the encoding lacks; npos when it has all.
    size_t FindMissing(std::string_view text, size_t start = 0) const;

private:
    struct Set;
    std::unique_ptr<Set> set_; // null: all
};

} // namespace sablot
