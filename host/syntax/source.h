// Program texts and places in them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// A piece of a source: `file` is the index of the source in its program, offset and length count bytes.
struct Span {
    uint32_t file = 0;
    uint32_t offset = 0;
    uint32_t length = 0;
};

// From the first byte of `first` to the last of `last`, which must be of the same file.
Span Join(const Span& first, const Span& last);

struct LineColumn {
    uint32_t line = 1;   // from 1
    uint32_t column = 1; // from 1, in UTF-8 characters
};

// A program text with its name and a table of its lines. Lines end with LF, CR LF or CR.
class SourceFile {
public:
    // `path` is where the text lies, if it was read from a file.
    SourceFile(std::string name, std::string text, std::string path = {});

    const std::string& Name() const { return name_; }
    const std::string& Path() const { return path_; }
    std::string_view Text() const { return text_; }
    std::string_view Text(const Span& span) const { return Text().substr(span.offset, span.length); }
    LineColumn Locate(uint32_t offset) const;
    // The line's text without its end; empty for a line that does not exist.
    std::string_view Line(uint32_t line) const;

private:
    std::string name_;
    std::string path_;
    std::string text_;
    std::vector<uint32_t> lineStarts_;
};

} // namespace host
