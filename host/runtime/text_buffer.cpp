// The memory of text buffers.
#include "host/runtime/text_buffer.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace host {

namespace {

size_t SizeOf(size_t capacity) { return offsetof(TextBuffer, bytes) + capacity + 1; }

} // namespace

TextBuffer* NewTextBuffer(size_t length, size_t roomBefore, size_t roomAfter) {
    if (length > MAX_TEXT) return nullptr;
    if (roomBefore + roomAfter > MAX_TEXT - length) roomBefore = roomAfter = 0;
    void* memory = std::malloc(SizeOf(length + roomBefore + roomAfter));
    if (memory == nullptr && roomBefore + roomAfter > 0) {
        roomBefore = roomAfter = 0;
        memory = std::malloc(SizeOf(length));
    }
    if (memory == nullptr) return nullptr;
    auto* buffer = static_cast<TextBuffer*>(memory);
    buffer->references = 1;
    buffer->capacity = static_cast<uint32_t>(length + roomBefore + roomAfter);
    buffer->begin = buffer->end = static_cast<uint32_t>(roomBefore);
    buffer->copied = 0;
    buffer->isJoined = buffer->isFixed = buffer->splitsCharacters = false;
    buffer->notes = nullptr;
    return buffer;
}

void UnlockTextBuffer(TextBuffer* buffer) {
    if (--buffer->references > 0) return;
    delete buffer->notes;
    std::free(buffer);
}

TextBuffer* GrowTextBuffer(TextBuffer* buffer, size_t length) {
    size_t capacity = length < MAX_TEXT / 2 ? length + length / 2 : length;
    // Near the end of memory a sixteenth more must do; less at each turn would take for ever.
    const size_t little = std::min(std::max(length, size_t{buffer->capacity} + buffer->capacity / 16), MAX_TEXT);
    void* grown = std::realloc(buffer, SizeOf(capacity));
    if (grown == nullptr) grown = std::realloc(buffer, SizeOf(capacity = little));
    if (grown == nullptr) return nullptr;
    buffer = static_cast<TextBuffer*>(grown);
    buffer->capacity = static_cast<uint32_t>(capacity);
    return buffer;
}

TextNotes* NotesOf(TextBuffer* buffer) {
    if (buffer->notes == nullptr) buffer->notes = new (std::nothrow) TextNotes;
    return buffer->notes;
}

} // namespace host
