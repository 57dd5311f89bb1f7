// Finding the encoding of a text (XML 1.0, appendix F) and turning the text into UTF-8, the only one that libxml2 is
// given: its own converters lose characters that lie across the pieces of a long text.
#pragma once

#include "sablotron/sablot.h"

#include <optional>
#include <string>
#include <string_view>

namespace sablot {

class DecodedText {
public:
    // What makes the text end early: bytes that are no character of the encoding, a zero, an unknown encoding.
    struct Fault {
        int code; // libxml2's
        std::string text;
    };

    // The text of the source is not copied when it is UTF-8 already; it must live as long as this.
    explicit DecodedText(const SablotSource& source);
    DecodedText(const DecodedText&) = delete;
    DecodedText& operator=(const DecodedText&) = delete;

    // Without a byte order mark, up to the fault. UTF-8 is not examined: libxml2 does that.
    std::string_view Text() const { return text_; }
    const std::optional<Fault>& GetFault() const { return fault_; }

private:
    void Convert(std::string_view bytes, const std::string& encoding);

    std::string converted_;
    std::string_view text_;
    std::optional<Fault> fault_;
};

} // namespace sablot
