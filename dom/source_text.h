// What LoadXml hands to the library.
#pragma once

#include "glue/strings.h"

#include <string>
#include <string_view>

namespace kova {

// The text of a host string, without the whitespace that stands alone between markup unless it is to be preserved. The
// string must live as long.
class SourceText {
public:
    SourceText(KOVAString text, bool preserveWhitespace);

    std::string_view Bytes() const { return bytes_; }
    // The encoding of the bytes where it is known, whatever the text declares; else null. A program may have converted
    // what it read, and the declaration still says what it was.
    const char* Encoding() const { return isUtf8_ ? "UTF-8" : nullptr; }

private:
    void Scan();

    std::string_view bytes_;
    bool isUtf8_;
    std::string converted_;
    OwnedString scanned_;
};

// The file URI of an absolute path.
std::string FileUri(std::string_view path);

} // namespace kova
