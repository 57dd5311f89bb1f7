// Lines and columns of sources.
#include "host/syntax/source.h"

#include <algorithm>

namespace host {

Span Join(const Span& first, const Span& last) {
    uint32_t end = std::max(first.offset + first.length, last.offset + last.length);
    return {first.file, first.offset, end - first.offset};
}

SourceFile::SourceFile(std::string name, std::string text, std::string path)
    : name_(std::move(name)), path_(std::move(path)), text_(std::move(text)) {
    lineStarts_.push_back(0);
    for (size_t i = 0; i < text_.size(); ++i) {
        bool endsLine = text_[i] == '\n' || (text_[i] == '\r' && (i + 1 == text_.size() || text_[i + 1] != '\n'));
        if (endsLine) lineStarts_.push_back(static_cast<uint32_t>(i + 1));
    }
}

LineColumn SourceFile::Locate(uint32_t offset) const {
    offset = std::min(offset, static_cast<uint32_t>(text_.size()));
    auto next = std::upper_bound(lineStarts_.begin(), lineStarts_.end(), offset);
    uint32_t start = *(next - 1);
    auto isCharacter = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; };
    std::string_view before = Text().substr(start, offset - start);
    auto characters = std::count_if(before.begin(), before.end(), isCharacter);
    return {static_cast<uint32_t>(next - lineStarts_.begin()), static_cast<uint32_t>(characters) + 1};
}

std::string_view SourceFile::Line(uint32_t line) const {
    if (line == 0 || line > lineStarts_.size()) return {};
    uint32_t start = lineStarts_[line - 1];
    size_t end = text_.find_first_of("\r\n", start);
    return Text().substr(start, end == std::string::npos ? end : end - start);
}

} // namespace host
