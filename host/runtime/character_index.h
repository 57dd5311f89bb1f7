// Where the characters of UTF-8 text lie, for text that grows at both ends: a character is found in constant time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace host {

// Found out as far as it is asked for, and kept as the text grows.
// Characters are numbered from the anchor: those before it, from later growth at the start, are negative.
class CharacterIndex {
public:
    void Start(size_t anchor);
    bool IsStarted() const { return isStarted_; }

    // The number of the character that begins at an offset, and the offset of a character. `text` are the bytes of the
    // buffer up to its end; those in use start at `begin`.
    ptrdiff_t NumberAt(size_t offset, std::string_view text, size_t begin);
    size_t OffsetOf(ptrdiff_t number, std::string_view text, size_t begin);

private:
    void Extend(size_t offset, size_t chunks, std::string_view text);
    void ExtendBack(size_t offset, size_t chunks, std::string_view text, size_t begin);

    bool isStarted_ = false;
    bool isAsciiDone_ = false; // other bytes follow after `ascii_`
    size_t anchor_ = 0;
    size_t ascii_ = 0;             // bytes of ASCII that begin at the anchor
    std::vector<uint32_t> after_;  // offset of every CHUNK-th character after them
    std::vector<uint32_t> before_; // offset of every CHUNK-th character before the anchor
};

} // namespace host
