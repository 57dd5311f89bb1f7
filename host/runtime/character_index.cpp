// The index of characters: first ASCII, which needs none, then the place of every CHUNK-th character.
#include "host/runtime/character_index.h"

#include "host/runtime/utf8.h"

#include <algorithm>

namespace host {

namespace {

constexpr size_t CHUNK = 64;

} // namespace

void CharacterIndex::Start(size_t anchor) {
    isStarted_ = true;
    anchor_ = anchor;
}

// Until that offset is reached or there are that many chunks, whichever is first.
void CharacterIndex::Extend(size_t offset, size_t chunks, std::string_view text) {
    if (!isAsciiDone_ && anchor_ + ascii_ < offset) {
        ascii_ += AsciiPrefix(text.substr(anchor_ + ascii_));
        isAsciiDone_ = anchor_ + ascii_ < text.size();
    }
    size_t last = after_.empty() ? anchor_ + ascii_ : after_.back();
    while (isAsciiDone_ && last < offset && after_.size() < chunks) {
        last += CharacterOffset(text.substr(last), CHUNK);
        if (last == text.size()) return; // perhaps a part of a chunk
        after_.push_back(static_cast<uint32_t>(last));
    }
}

void CharacterIndex::ExtendBack(size_t offset, size_t chunks, std::string_view text, size_t begin) {
    size_t last = before_.empty() ? anchor_ : before_.back();
    while (last > offset && before_.size() < chunks) {
        last = begin + CharacterOffsetFromEnd(text.substr(begin, last - begin), CHUNK);
        if (last == begin) return;
        before_.push_back(static_cast<uint32_t>(last));
    }
}

ptrdiff_t CharacterIndex::NumberAt(size_t offset, std::string_view text, size_t begin) {
    if (offset < anchor_) {
        ExtendBack(offset, text.size(), text, begin);
        auto next = std::lower_bound(before_.rbegin(), before_.rend(), offset);
        size_t end = next == before_.rend() ? anchor_ : *next;
        size_t number =
            CHUNK * static_cast<size_t>(before_.rend() - next) + CountCharacters(text.substr(offset, end - offset));
        return -static_cast<ptrdiff_t>(number);
    }
    Extend(offset, text.size(), text);
    if (offset - anchor_ <= ascii_) return static_cast<ptrdiff_t>(offset - anchor_);
    auto next = std::upper_bound(after_.begin(), after_.end(), offset);
    size_t from = next == after_.begin() ? anchor_ + ascii_ : *(next - 1);
    return static_cast<ptrdiff_t>(ascii_ + CHUNK * static_cast<size_t>(next - after_.begin())
                                  + CountCharacters(text.substr(from, offset - from)));
}

size_t CharacterIndex::OffsetOf(ptrdiff_t number, std::string_view text, size_t begin) {
    if (number < 0) {
        auto back = static_cast<size_t>(-number);
        ExtendBack(begin, back / CHUNK, text, begin);
        size_t chunks = std::min(back / CHUNK, before_.size());
        size_t from = chunks == 0 ? anchor_ : before_[chunks - 1];
        return begin + CharacterOffsetFromEnd(text.substr(begin, from - begin), back - chunks * CHUNK);
    }
    auto forward = static_cast<size_t>(number);
    if (forward > ascii_) Extend(text.size(), forward / CHUNK, text);
    if (forward <= ascii_) return anchor_ + forward;
    size_t chunks = std::min((forward - ascii_) / CHUNK, after_.size());
    size_t from = chunks == 0 ? anchor_ + ascii_ : after_[chunks - 1];
    return from + CharacterOffset(text.substr(from), forward - ascii_ - chunks * CHUNK);
}

} // namespace host
