// Strings by their characters.
#include "host/runtime/characters.h"

#include "host/runtime/encoding.h"
#include "host/runtime/long_string.h"
#include "host/runtime/utf8.h"

#include <algorithm>

namespace host {

namespace {

// The characters of the string's buffer; nullptr if the bytes must be walked over: those of a short string, those that
// mean something else in another part of the buffer.
CharacterIndex* IndexOf(LongString* string) {
    if (string == nullptr || string->buffer->splitsCharacters) return nullptr;
    TextNotes* notes = NotesOf(string->buffer);
    if (notes == nullptr) return nullptr;
    if (!notes->characters.IsStarted()) notes->characters.Start(string->Begin());
    return &notes->characters;
}

ptrdiff_t NumberAt(CharacterIndex& index, const LongString& string, size_t offset) {
    return index.NumberAt(offset, string.buffer->Text(), string.buffer->begin);
}

} // namespace

size_t CharacterCount(String* string) { return CharacterAtOffset(string, string->length); }

size_t OffsetOfCharacter(String* string, size_t index) {
    LongString* whole = AsLongString(string);
    CharacterIndex* characters = IndexOf(whole);
    if (characters == nullptr) return CharacterOffset(string->View(), index);
    if (index >= string->length) return string->length;
    const ptrdiff_t first = NumberAt(*characters, *whole, whole->Begin());
    const size_t offset =
        characters->OffsetOf(first + static_cast<ptrdiff_t>(index), whole->buffer->Text(), whole->buffer->begin);
    return std::min<size_t>(offset - whole->Begin(), string->length);
}

size_t CharacterAtOffset(String* string, size_t offset) {
    LongString* whole = AsLongString(string);
    CharacterIndex* characters = IndexOf(whole);
    if (characters == nullptr) return CountCharacters(string->View().substr(0, offset));
    const ptrdiff_t first = NumberAt(*characters, *whole, whole->Begin());
    return static_cast<size_t>(NumberAt(*characters, *whole, whole->Begin() + offset) - first);
}

StringRef ConvertToUtf8(String* string) {
    LongString* whole = AsLongString(string);
    if (whole == nullptr || string->encoding == ENCODING_UTF8) return ConvertString(string, ENCODING_UTF8);
    TextNotes* notes = NotesOf(whole->buffer);
    if (notes == nullptr) return ConvertString(string, ENCODING_UTF8);
    const std::string_view view = string->View();
    const bool isKnown = notes->converted && notes->originalEncoding == string->encoding
                         && notes->original.data() == view.data() && notes->original.size() == view.size();
    if (!isKnown) {
        notes->converted = ConvertString(string, ENCODING_UTF8);
        notes->originalEncoding = string->encoding;
        notes->original = view;
    }
    return notes->converted;
}

FieldPlace* LastField(String* string) {
    LongString* whole = AsLongString(string);
    TextNotes* notes = whole != nullptr ? NotesOf(whole->buffer) : nullptr;
    return notes != nullptr ? &notes->field : nullptr;
}

} // namespace host
