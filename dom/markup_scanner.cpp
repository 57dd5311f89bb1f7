// The state machine.
#include "dom/markup_scanner.h"

#include "glue/strings.h"

#include <emmintrin.h>

#include <bit>
#include <cstring>

namespace kova {

namespace {

// What follows the "<" of a CDATA section, one state a byte.
constexpr char CDATA_OPENING[] = "![CDATA[";

constexpr bool IsWhitespace(char c) { return c == '\t' || c == '\n' || c == '\r' || c == ' '; }

// The first '<' or '>', or `end`. The two differ in one bit only.
const char* FindAngleBracket(const char* next, const char* end) {
    const __m128i differingBit = _mm_set1_epi8('<' ^ '>');
    const __m128i wanted = _mm_set1_epi8('<' | '>');
    for (; end - next >= 16; next += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(next));
        const int hits = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_or_si128(block, differingBit), wanted));
        if (hits != 0) return next + std::countr_zero(static_cast<unsigned>(hits));
    }
    while (next != end && *next != '<' && *next != '>') ++next;
    return next;
}

const char* Find(char wanted, const char* next, const char* end) {
    const void* found = std::memchr(next, wanted, static_cast<size_t>(end - next));
    return found != nullptr ? static_cast<const char*>(found) : end;
}

} // namespace

KOVAString MarkupScanner::Run(const char* text) {
    source_ = text != nullptr ? text : "";
    sourceLength_ = static_cast<int32_t>(std::strlen(source_));
    output_.reset(static_cast<char*>(std::malloc(static_cast<size_t>(sourceLength_))));
    if (output_ == nullptr && sourceLength_ > 0) return nullptr;
    while (!atEnd_) {
        const KOVAString token = NextToken();
        Append(token);
        KOVAUnlockString(token);
    }
    return KOVABuildString(output_ != nullptr ? output_.get() : "", outputLength_);
}

KOVAString MarkupScanner::NextToken() {
    while (!atEnd_) {
        switch (state_) {
        case BETWEEN_MARKUP: {
            SkipWhitespace();
            const char c = NextByte();
            if (atEnd_) break;
            state_ = IN_TEXT_OR_TAG;
            if (c == '<') {
                --position_;
                tokenStart_ = position_; // the whitespace goes
            }
            break;
        }
        case IN_TEXT_OR_TAG: {
            const char c = NextByteFrom(FindAngleBracket(Next(), End()));
            if (c == '>') {
                state_ = BETWEEN_MARKUP;
                return TakeToken();
            }
            if (c == '<') {
                state_ = AFTER_LESS_THAN;
                return TakeToken();
            }
            break;
        }
        case IN_CDATA:
            if (NextByteFrom(Find(']', Next(), End())) == ']') state_ = AFTER_ONE_BRACKET;
            break;
        case AFTER_ONE_BRACKET:
            // Deliberately not back to IN_CDATA at another byte: the second bracket may stand anywhere later.
            if (NextByteFrom(Find(']', Next(), End())) == ']') state_ = AFTER_TWO_BRACKETS;
            break;
        case AFTER_TWO_BRACKETS:
            // Deliberately not back to IN_CDATA either: the next '>' ends the section, wherever it stands.
            if (NextByteFrom(Find('>', Next(), End())) == '>') {
                state_ = BETWEEN_MARKUP;
                return TakeToken();
            }
            break;
        default: // The byte that breaks the opening is consumed and not looked at again.
            state_ = NextByte() == CDATA_OPENING[state_ - AFTER_LESS_THAN] ? state_ + 1 : IN_TEXT_OR_TAG;
            break;
        }
    }
    return TakeToken();
}

KOVAString MarkupScanner::TakeToken() {
    const int32_t start = tokenStart_;
    tokenStart_ = position_;
    return KOVABuildString(source_ + start, position_ - start);
}

void MarkupScanner::Append(KOVAString token) {
    const int32_t length = StringLenB(token);
    if (length <= 0) return;
    std::memcpy(output_.get() + outputLength_, CStringOrEmpty(token), static_cast<size_t>(length));
    outputLength_ += length;
}

// At the end: a line feed, which is whitespace and no part of any markup.
char MarkupScanner::NextByte() {
    if (position_ < sourceLength_) return source_[position_++];
    atEnd_ = true;
    return '\n';
}

// Passes over bytes that leave the state as it is.
char MarkupScanner::NextByteFrom(const char* found) {
    position_ = static_cast<int32_t>(found - source_);
    return NextByte();
}

void MarkupScanner::SkipWhitespace() {
    while (position_ < sourceLength_ && IsWhitespace(source_[position_])) ++position_;
}

} // namespace kova
