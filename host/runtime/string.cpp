// Strings: memory, joining and comparison.
#include "host/runtime/string.h"

#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/small_blocks.h"

#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace host {

namespace {

uint32_t liveStrings = 0;

// Whether the conversion of a string has kept all its characters.
bool IsSameText(String* original, String* converted) {
    return StringView(original) == ConvertString(converted, original->encoding).View();
}

size_t SizeOf(uint32_t length) { return offsetof(String, bytes) + length + 1; }

} // namespace

String* AllocateString(uint32_t length, uint32_t encoding) {
    // The length leaves room for header and NUL within 32 bits.
    auto* string = length < 0xFFFFFF00 ? static_cast<String*>(SmallBlocks::Allocate(SizeOf(length))) : nullptr;
    if (string == nullptr) {
        RaiseOutOfMemory();
        return nullptr;
    }
    string->references = 1;
    string->encoding = encoding;
    string->length = length;
    string->bytes[length] = 0;
    ++liveStrings;
    return string;
}

String* BuildString(std::string_view bytes, uint32_t encoding) {
    String* string = AllocateString(static_cast<uint32_t>(bytes.size()), encoding);
    if ((string != nullptr) && !bytes.empty()) std::memcpy(string->bytes, bytes.data(), bytes.size());
    return string;
}

String* BuildString(const char* bytes, int32_t length, uint32_t encoding) {
    if ((bytes == nullptr) || length < 0) length = 0;
    return BuildString(std::string_view(bytes, static_cast<size_t>(length)), encoding);
}

void FreeString(String* string) {
    --liveStrings;
    SmallBlocks::Free(string, SizeOf(string->length));
}

uint32_t LiveStringCount() { return liveStrings; }

StringRef::StringRef(std::string_view utf8) : string_(BuildString(utf8, ENCODING_UTF8)) {}

String* AddStrings(String* left, String* right) {
    std::string_view leftBytes = StringView(left);
    std::string_view rightBytes = StringView(right);
    if (rightBytes.empty())
        return BuildString(leftBytes, left != nullptr ? left->encoding : right != nullptr ? right->encoding : 0);
    if (leftBytes.empty()) return BuildString(rightBytes, right->encoding);
    StringRef convertedLeft = StringRef::Share(left);
    StringRef convertedRight = ConvertString(right, left->encoding);
    if (left->encoding != right->encoding && !IsSameText(right, convertedRight.Get())) {
        convertedLeft = ConvertString(left, ENCODING_UTF8);
        convertedRight = ConvertString(right, ENCODING_UTF8);
        left = convertedLeft.Get();
        leftBytes = convertedLeft.View();
    }
    rightBytes = convertedRight.View();

    size_t length = leftBytes.size() + rightBytes.size();
    String* joined = AllocateString(static_cast<uint32_t>(length), left->encoding);
    if (joined == nullptr) return nullptr;
    std::memcpy(joined->bytes, leftBytes.data(), leftBytes.size());
    std::memcpy(joined->bytes + leftBytes.size(), rightBytes.data(), rightBytes.size());
    return joined;
}

String* AppendString(String* left, String* right) {
    bool canGrow = (left != nullptr) && (right != nullptr) && left != right && left->references == 1 && left->length > 0
                   && (left->encoding == right->encoding || right->length == 0)
                   && right->length < 0xFFFFFF00 - left->length;
    size_t length = canGrow ? size_t{left->length} + right->length : 0;
    size_t needed = SizeOf(static_cast<uint32_t>(length));
    if (canGrow && SmallBlocks::IsSmall(SizeOf(left->length))) {
        canGrow = SmallBlocks::FitsAs(SizeOf(left->length), needed);
    } else if (canGrow && malloc_usable_size(left) < needed) {
        // Room for half as much again, unless that is too much to ask for.
        void* grown = needed < 0x7FFFFFFF ? std::realloc(left, needed + needed / 2) : nullptr;
        if (grown == nullptr) grown = std::realloc(left, needed);
        if (grown == nullptr) {
            RaiseOutOfMemory();
            return left;
        }
        left = static_cast<String*>(grown);
    }
    if (!canGrow) {
        String* joined = AddStrings(left, right);
        if (joined == nullptr) return left;
        UnlockString(left);
        return joined;
    }
    std::memcpy(left->bytes + left->length, right->bytes, right->length + size_t{1});
    left->length = static_cast<uint32_t>(length);
    return left;
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
