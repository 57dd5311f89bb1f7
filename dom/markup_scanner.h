// Removes the whitespace that stands alone between markup before a document is parsed.
//
// The scanner does not parse XML: it knows the beginning and the end of markup, and CDATA sections, whose content it
// protects. It cuts the text into tokens and joins them again without the dropped whitespace. Use one scanner for one
// text.
#pragma once

#include "glue/host_types.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace kova {

class MarkupScanner {
public:
    // The scanned text, a new host string without an encoding. `text` is NUL-terminated, or null for an empty text, and
    // must stay as it is during the call.
    KOVAString Run(const char* text);

private:
    enum State : uint32_t {
        BETWEEN_MARKUP = 0,
        IN_TEXT_OR_TAG = 1,
        AFTER_LESS_THAN = 2, // up to 9: the bytes of a CDATA section's opening that have been seen
        IN_CDATA = 10,
        AFTER_ONE_BRACKET = 11,
        AFTER_TWO_BRACKETS = 12
    };

    struct Freed {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    KOVAString NextToken();
    KOVAString TakeToken();
    void Append(KOVAString token);
    char NextByte();
    char NextByteFrom(const char* found);
    void SkipWhitespace();

    const char* Next() const { return source_ + position_; }
    const char* End() const { return source_ + sourceLength_; }

    const char* source_ = nullptr;
    int32_t sourceLength_ = 0;
    std::unique_ptr<char, Freed> output_; // as long as the source: the output never grows
    int32_t outputLength_ = 0;
    int32_t tokenStart_ = 0;
    int32_t position_ = 0;
    uint32_t state_ = BETWEEN_MARKUP;
    bool atEnd_ = false; // a byte was asked for at the end
};

} // namespace kova
