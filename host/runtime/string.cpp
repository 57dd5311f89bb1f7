// Strings: their memory, joining and comparison.
#include "host/runtime/string.h"

#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/long_string.h"
#include "host/runtime/small_blocks.h"
#include "host/runtime/utf8.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace host {

namespace {

uint32_t liveStrings = 0;

// Longer ones have a buffer.
constexpr size_t LONGEST_SHORT = 111;

size_t ShortSize(size_t length) { return sizeof(String) + length + 1; }

// Whether the conversion of a string has kept all its characters.
bool IsSameText(String* original, String* converted) {
    return StringView(original) == ConvertString(converted, original->encoding).View();
}

void FillHeader(String* string, char* bytes, size_t length, uint32_t encoding) {
    string->references = 1;
    string->encoding = encoding;
    string->length = static_cast<uint32_t>(length);
    string->bytes = bytes;
    ++liveStrings;
}

// nullptr without memory; nothing is raised.
inline String* NewShortString(size_t length, uint32_t encoding) {
    auto* string = static_cast<ShortString*>(SmallBlocks::Allocate(ShortSize(length)));
    if (string == nullptr) return nullptr;
    FillHeader(string, string->text, length, encoding);
    string->text[length] = 0;
    return string;
}

// Takes over the reference to the buffer, also without memory.
String* NewLongString(TextBuffer* buffer, size_t offset, size_t length, uint32_t encoding) {
    auto* string = static_cast<LongString*>(SmallBlocks::Allocate(sizeof(LongString)));
    if (string == nullptr) {
        UnlockTextBuffer(buffer);
        return nullptr;
    }
    FillHeader(string, buffer->bytes + offset, length, encoding);
    string->buffer = buffer;
    string->cString = nullptr;
    return string;
}

String* ShareBuffer(TextBuffer* buffer, size_t offset, size_t length, uint32_t encoding) {
    ++buffer->references;
    return NewLongString(buffer, offset, length, encoding);
}

// Puts bytes at the end of those in use; there is room.
void Append(TextBuffer* buffer, std::string_view bytes) {
    if (!bytes.empty() && buffer->end > buffer->begin && !BeginsCharacter(bytes.front()))
        buffer->splitsCharacters = true;
    std::memcpy(buffer->bytes + buffer->end, bytes.data(), bytes.size());
    buffer->end += static_cast<uint32_t>(bytes.size());
    buffer->bytes[buffer->end] = 0;
}

// A string with a new buffer for two joined. What has been joined before will probably be joined again: there is room
// on that side.
String* JoinInNewBuffer(String* left, String* right) {
    const size_t length = size_t{left->length} + right->length;
    LongString* longLeft = AsLongString(left);
    LongString* longRight = AsLongString(right);
    const bool growsLeft = longLeft != nullptr && longLeft->buffer->isJoined && left->length >= right->length;
    const bool growsRight = longRight != nullptr && longRight->buffer->isJoined && !growsLeft;
    TextBuffer* buffer = NewTextBuffer(length, growsRight ? length / 2 : 0, growsLeft ? length / 2 : 0);
    if (buffer == nullptr) return nullptr;
    buffer->isJoined = true;
    Append(buffer, left->View());
    Append(buffer, right->View());
    return NewLongString(buffer, buffer->begin, length, left->encoding);
}

// The two joined, neither of them empty, by their bytes; nullptr without memory.
String* Join(String* left, String* right) {
    const size_t length = size_t{left->length} + right->length;
    if (length > MAX_TEXT) return nullptr;
    if (length <= LONGEST_SHORT) {
        String* joined = NewShortString(length, left->encoding);
        if (joined == nullptr) return nullptr;
        std::memcpy(joined->bytes, left->bytes, left->length);
        std::memcpy(joined->bytes + left->length, right->bytes, right->length);
        return joined;
    }
    if (LongString* grown = AsLongString(left)) {
        TextBuffer* buffer = grown->buffer;
        if (grown->End() == buffer->end && !buffer->isFixed && buffer->capacity - buffer->end >= right->length) {
            Append(buffer, right->View());
            return ShareBuffer(buffer, grown->Begin(), length, left->encoding);
        }
    }
    if (LongString* grown = AsLongString(right)) {
        TextBuffer* buffer = grown->buffer;
        if (grown->Begin() == buffer->begin && buffer->begin >= left->length) {
            if (!BeginsCharacter(right->bytes[0])) buffer->splitsCharacters = true;
            buffer->begin -= left->length;
            std::memcpy(buffer->bytes + buffer->begin, left->bytes, left->length);
            return ShareBuffer(buffer, buffer->begin, length, left->encoding);
        }
    }
    return JoinInNewBuffer(left, right);
}

// A string that nobody else refers to, with bytes appended where it is; nullptr if that cannot be done.
String* GrowInPlace(String* left, std::string_view right) {
    const size_t length = left->length + right.size();
    LongString* grown = AsLongString(left);
    if (grown == nullptr) {
        if (length > LONGEST_SHORT || !SmallBlocks::FitsAs(ShortSize(left->length), ShortSize(length))) return nullptr;
        std::memcpy(left->bytes + left->length, right.data(), right.size());
        left->bytes[length] = 0;
        left->length = static_cast<uint32_t>(length);
        return left;
    }
    TextBuffer* buffer = grown->buffer;
    if (buffer->references > 1 || grown->End() != buffer->end || !buffer->isJoined || length > MAX_TEXT) return nullptr;
    if (buffer->capacity - buffer->end < right.size()) {
        if (buffer->begin > 0) return nullptr;
        buffer = GrowTextBuffer(buffer, length);
        if (buffer == nullptr) return nullptr;
        grown->buffer = buffer;
        grown->bytes = buffer->bytes;
    }
    Append(buffer, right);
    left->length = static_cast<uint32_t>(length);
    return left;
}

String* OrOutOfMemory(String* string) {
    if (string == nullptr) RaiseOutOfMemory();
    return string;
}

// A long string with a buffer of its own for the caller to fill; nullptr without memory.
String* NewOwnBuffer(size_t length, uint32_t encoding) {
    TextBuffer* buffer = NewTextBuffer(length);
    if (buffer == nullptr) return nullptr;
    buffer->end = static_cast<uint32_t>(length);
    buffer->bytes[length] = 0;
    return NewLongString(buffer, 0, length, encoding);
}

// Short ones are made for every event of a reader: all in one function.
inline String* Build(std::string_view bytes, uint32_t encoding) {
    const size_t length = bytes.size();
    String* string = length <= LONGEST_SHORT ? NewShortString(length, encoding) : NewOwnBuffer(length, encoding);
    if (string == nullptr) return OrOutOfMemory(nullptr);
    if (length > 0) std::memcpy(string->bytes, bytes.data(), length);
    return string;
}

} // namespace

String* AllocateString(size_t length, uint32_t encoding) {
    return OrOutOfMemory(length <= LONGEST_SHORT ? NewShortString(length, encoding) : NewOwnBuffer(length, encoding));
}

String* BuildString(std::string_view bytes, uint32_t encoding) { return Build(bytes, encoding); }

String* BuildString(const char* bytes, int32_t length, uint32_t encoding) {
    if ((bytes == nullptr) || length < 0) length = 0;
    return Build(std::string_view(bytes, static_cast<size_t>(length)), encoding);
}

String* BuildBytes(const char* bytes, int32_t length) noexcept {
    if ((bytes == nullptr) || length < 0) length = 0;
    return Build(std::string_view(bytes, static_cast<size_t>(length)), ENCODING_UNKNOWN);
}

String* PartOfString(String* string, size_t offset, size_t length) {
    LongString* whole = AsLongString(string);
    if (whole == nullptr || length <= LONGEST_SHORT)
        return BuildString(string->View().substr(offset, length), string->encoding);
    TextBuffer* buffer = whole->buffer;
    // A small part does not keep a large buffer alive, unless very many are taken: then copying would cost too much.
    constexpr size_t COPIES = 4;
    if (length < buffer->capacity / 2 && buffer->copied / COPIES < buffer->capacity) {
        buffer->copied += length;
        return BuildString(string->View().substr(offset, length), string->encoding);
    }
    const size_t begin = whole->Begin() + offset;
    auto splits = [buffer](size_t place) {
        return place > buffer->begin && place < buffer->end && !BeginsCharacter(buffer->bytes[place]);
    };
    if (splits(begin) || splits(begin + length)) buffer->splitsCharacters = true;
    return OrOutOfMemory(ShareBuffer(buffer, begin, length, string->encoding));
}

String* RetagString(String* string, uint32_t encoding) {
    String* part = PartOfString(string, 0, string->length);
    if (part != nullptr) part->encoding = encoding;
    return part;
}

void FreeString(String* string) noexcept {
    --liveStrings;
    LongString* longString = AsLongString(string);
    if (longString == nullptr) {
        SmallBlocks::Free(string, ShortSize(string->length));
        return;
    }
    std::free(longString->cString);
    UnlockTextBuffer(longString->buffer);
    SmallBlocks::Free(string, sizeof(LongString));
}

uint32_t LiveStringCount() { return liveStrings; }

const char* CString(String* string) noexcept {
    LongString* longString = AsLongString(string);
    if (longString == nullptr) return string != nullptr ? string->bytes : "";
    if (longString->cString != nullptr) return longString->cString;
    if (longString->End() == longString->buffer->end) {
        longString->buffer->isFixed = true;
        return longString->bytes;
    }
    longString->cString = static_cast<char*>(std::malloc(size_t{longString->length} + 1));
    if (longString->cString == nullptr) {
        RaiseOutOfMemory();
        return "";
    }
    std::memcpy(longString->cString, longString->bytes, longString->length);
    longString->cString[longString->length] = 0;
    return longString->cString;
}

StringRef::StringRef(std::string_view utf8) : string_(BuildString(utf8, ENCODING_UTF8)) {}

String* AddStrings(String* left, String* right) {
    if (StringView(right).empty()) {
        if (left != nullptr) return RetagString(left, left->encoding);
        return BuildString(std::string_view(), right != nullptr ? right->encoding : 0);
    }
    if (StringView(left).empty()) return RetagString(right, right->encoding);
    if (left->encoding == right->encoding) return OrOutOfMemory(Join(left, right));
    StringRef convertedRight = ConvertString(right, left->encoding);
    if (IsSameText(right, convertedRight.Get())) return OrOutOfMemory(Join(left, convertedRight.Get()));
    StringRef convertedLeft = ConvertString(left, ENCODING_UTF8);
    convertedRight = ConvertString(right, ENCODING_UTF8);
    if (!convertedLeft || !convertedRight) return nullptr;
    return OrOutOfMemory(Join(convertedLeft.Get(), convertedRight.Get()));
}

String* AppendString(String* left, String* right) {
    if (StringView(right).empty() && left != nullptr) return left;
    bool canGrow = (left != nullptr) && left != right && left->references == 1 && left->length > 0
                   && left->encoding == right->encoding;
    if (canGrow) {
        if (String* grown = GrowInPlace(left, right->View())) return grown;
    }
    String* joined = AddStrings(left, right);
    if (joined == nullptr) return left;
    UnlockString(left);
    return joined;
}

int32_t CompareStrings(String* left, String* right) {
    if (left == right) return 0;
    StringRef leftText = StringRef::Share(left);
    StringRef rightText = StringRef::Share(right);
    if ((left != nullptr) && (right != nullptr) && left->encoding != right->encoding
        && (FindEncoding(left->encoding) != nullptr) && (FindEncoding(right->encoding) != nullptr)) {
        leftText = ConvertString(left, ENCODING_UTF8);
        rightText = ConvertString(right, ENCODING_UTF8);
    }
    int order = leftText.View().compare(rightText.View());
    return std::clamp(order, -1, 1);
}

} // namespace host
