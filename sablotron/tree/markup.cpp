// Finding the ends of markup, and cutting start tags.
#include "sablotron/tree/markup.h"

#include "sablotron/tree/characters.h"

#include <algorithm>
#include <vector>

namespace sablot {
namespace {

constexpr size_t MAX_ATTRIBUTES = 1'000; // in one tag
constexpr size_t ATTRIBUTE_SIZE = 5;     // of the shortest: ' a=""'

// The attributes of a start tag, each with the blanks before it; none when it is not well-formed.
std::vector<std::string_view> AttributesOf(std::string_view tag) {
    std::vector<std::string_view> attributes;
    for (size_t at = 0; at < tag.size();) {
        const size_t begin = tag.find_first_not_of(BLANKS, at);
        if (begin == std::string_view::npos) break;
        const size_t quote = tag.find_first_of("\"'", begin);
        const size_t end = quote == std::string_view::npos ? quote : tag.find(tag[quote], quote + 1);
        if (begin == at || end == std::string_view::npos) return {};
        attributes.push_back(tag.substr(at, end + 1 - at));
        at = end + 1;
    }
    return attributes;
}

// Appends a start tag, cut. What it declares stays in its first part. The number of other parts.
size_t AppendCut(std::string_view tag, std::string& result) {
    const bool isEmpty = tag.ends_with("/>");
    const std::string_view start = tag.substr(0, std::min(tag.find_first_of(BLANKS), tag.size() - 1));
    const std::string_view inside = tag.substr(start.size(), tag.size() - start.size() - (isEmpty ? 2 : 1));
    std::vector<std::string_view> attributes = AttributesOf(inside);
    const auto others = std::stable_partition(attributes.begin(), attributes.end(), [](std::string_view attribute) {
        return attribute.substr(attribute.find_first_not_of(BLANKS)).starts_with("xmlns");
    });
    if (static_cast<size_t>(attributes.end() - others) <= MAX_ATTRIBUTES) {
        result.append(tag);
        return 0;
    }
    result.append(start);
    for (auto declaration = attributes.begin(); declaration != others; ++declaration) result.append(*declaration);
    size_t count = 0;
    for (auto attribute = others; attribute != attributes.end(); ++attribute, ++count) {
        if (count > 0 && count % MAX_ATTRIBUTES == 0) result.append(count == MAX_ATTRIBUTES ? ">" : "/>").append(start);
        result.append(*attribute);
    }
    result.append(inside.substr(inside.find_last_not_of(BLANKS) + 1)).append("/>");
    if (isEmpty) result.append("</").append(start.substr(1)).append(">");
    return (count - 1) / MAX_ATTRIBUTES;
}

} // namespace

size_t MarkupEnd(std::string_view text, size_t begin) {
    struct Kind {
        std::string_view start, end;
    };
    constexpr Kind KINDS[] = {{"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}};
    for (const Kind& kind : KINDS) {
        if (!text.substr(begin).starts_with(kind.start)) continue;
        const size_t end = text.find(kind.end, begin + kind.start.size());
        return end == std::string_view::npos ? text.size() : end + kind.end.size();
    }
    size_t at = begin;
    for (; at < text.size() && text[at] != '>'; ++at)
        if (text[at] == '"' || text[at] == '\'') at = std::min(text.find(text[at], at + 1), text.size() - 1);
    return at;
}

CutText CutLargeTags(std::string_view text) {
    CutText cut;
    if (text.find("<!DOCTYPE") != std::string_view::npos) return cut;
    size_t copied = 0;
    size_t tags = 0;
    for (size_t at = text.find('<'); at != std::string_view::npos; at = text.find('<', at)) {
        const size_t end = MarkupEnd(text, at);
        if (const char next = at + 1 < text.size() ? text[at + 1] : '!'; next != '/' && next != '!' && next != '?') {
            if (end < text.size() && end - at > MAX_ATTRIBUTES * ATTRIBUTE_SIZE) {
                cut.text.append(text, copied, at - copied);
                copied = end + 1;
                for (size_t pieces = AppendCut(text.substr(at, copied - at), cut.text); pieces > 0; --pieces)
                    cut.pieces.push_back(++tags);
            }
            ++tags;
        }
        at = std::max(end, at + 1);
    }
    cut.text.append(text, copied);
    return cut;
}

} // namespace sablot
