// Functions of strings.
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/framework/text.h"
#include "host/runtime/array.h"
#include "host/runtime/characters.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"
#include "host/runtime/text_buffer.h"
#include "host/runtime/utf8.h"

#include <algorithm>
#include <string>
#include <vector>

namespace host {

namespace {

// A string argument ready for the text operations: in an encoding whose characters they can count. Strings of unknown
// encoding and of those whose characters are bytes are taken byte by byte, the others as UTF-8.
class Text {
public:
    explicit Text(String* string) : string_(StringRef::Share(string)) {
        if (string == nullptr || string->encoding == ENCODING_UTF8) return;
        const struct Encoding* encoding = FindEncoding(string->encoding);
        if (encoding == nullptr || encoding->IsSingleByte())
            characters = Characters::BYTES;
        else
            string_ = ConvertToUtf8(string);
    }

    // The string to look for in another one: in that one's encoding.
    Text(String* string, const Text& other) : Text(string) {
        uint32_t wanted = other.Encoding();
        if (wanted == ENCODING_UNKNOWN || Encoding() == ENCODING_UNKNOWN || Encoding() == wanted) return;
        string_ = ConvertString(string_.Get(), wanted);
        characters = other.characters;
    }

    std::string_view View() const { return string_.View(); }
    uint32_t Encoding() const { return string_ ? string_.Get()->encoding : ENCODING_UTF8; }

    size_t Length() const { return IndexAt(View().size()); }
    // The byte offset of a character, counted from 0; the size of the text when there are fewer.
    size_t Offset(size_t index) const {
        if (characters == Characters::BYTES || !string_) return std::min(index, View().size());
        return OffsetOfCharacter(string_.Get(), index);
    }
    // The byte offset `count` characters further on.
    size_t OffsetAfter(size_t offset, size_t count) const {
        if (characters == Characters::BYTES || !string_) return offset + std::min(count, View().size() - offset);
        if (count <= FEW) return offset + CharacterOffset(View().substr(offset), count);
        if (count >= View().size() - offset) return View().size();
        return OffsetOfCharacter(string_.Get(), IndexAt(offset) + count);
    }
    size_t OffsetFromEnd(size_t count) const {
        if (count >= View().size()) return 0;
        if (characters == Characters::BYTES) return View().size() - count;
        if (count <= FEW) return CharacterOffsetFromEnd(View(), count);
        const size_t length = Length();
        return OffsetOfCharacter(string_.Get(), length - std::min(count, length));
    }
    size_t IndexAt(size_t offset) const {
        if (characters == Characters::BYTES || !string_) return offset;
        return CharacterAtOffset(string_.Get(), offset);
    }

    // A new string of this one's encoding; the whole of it is this string itself.
    String* Part(std::string_view part) const {
        if (part.size() == View().size()) return StringRef(string_).Detach();
        if (part.empty()) return Make({});
        return PartOfString(string_.Get(), static_cast<size_t>(part.data() - View().data()), part.size());
    }
    String* Part(size_t begin, size_t end) const { return Part(View().substr(begin, end - begin)); }
    String* Make(std::string_view text) const { return BuildString(text, Encoding()); }

    FieldPlace* Field() const { return LastField(string_.Get()); }

    Characters characters = Characters::UTF8;

private:
    // So few characters are walked over sooner than looked up.
    static constexpr size_t FEW = 64;

    StringRef string_;
};

// A count or position of a program, which may be negative.
size_t Count(int32_t count) { return static_cast<size_t>(std::max(count, 0)); }

// A position of a program, which counts from 1, as an index; one below 1 is the first.
size_t Index(int32_t position) { return Count(position - static_cast<int32_t>(position > 0)); }

String* BuildUtf8(std::string_view text) { return BuildString(text, ENCODING_UTF8); }

int32_t Len(String* s) { return static_cast<int32_t>(Text(s).Length()); }

int32_t LenB(String* s) { return static_cast<int32_t>(StringView(s).size()); }

String* MidCount(String* s, int32_t start, int32_t count) {
    Text text(s);
    size_t begin = text.Offset(Index(start));
    return text.Part(begin, text.OffsetAfter(begin, Count(count)));
}

String* Mid(String* s, int32_t start) { return MidCount(s, start, INT32_MAX); }

String* MidBCount(String* s, int32_t start, int32_t count) {
    if (s == nullptr) return nullptr;
    size_t begin = std::min<size_t>(Index(start), s->length);
    return PartOfString(s, begin, std::min(Count(count), s->length - begin));
}

String* MidB(String* s, int32_t start) { return MidBCount(s, start, INT32_MAX); }

String* Left(String* s, int32_t count) { return MidCount(s, 1, count); }

String* LeftB(String* s, int32_t count) { return MidBCount(s, 1, count); }

String* Right(String* s, int32_t count) {
    Text text(s);
    return text.Part(text.OffsetFromEnd(Count(count)), text.View().size());
}

String* RightB(String* s, int32_t count) {
    if (s == nullptr) return nullptr;
    size_t length = std::min<size_t>(Count(count), s->length);
    return PartOfString(s, s->length - length, length);
}

int32_t InStrFrom(int32_t start, String* source, String* find) {
    Text text(source);
    size_t found = text.View().find(Text(find, text).View(), text.Offset(Index(start)));
    return found == std::string_view::npos ? 0 : static_cast<int32_t>(text.IndexAt(found) + 1);
}

int32_t InStr(String* source, String* find) { return InStrFrom(1, source, find); }

int32_t InStrBFrom(int32_t start, String* source, String* find) {
    size_t found = StringView(source).find(StringView(find), Index(start));
    return found == std::string_view::npos ? 0 : static_cast<int32_t>(found + 1);
}

int32_t InStrB(String* source, String* find) { return InStrBFrom(1, source, find); }

String* ReplaceIn(String* source, String* find, String* replacement, bool all) {
    Text text(source);
    Text wanted(find, text);
    if (wanted.View().empty() || text.View().find(wanted.View()) == std::string_view::npos)
        return StringRef::Share(source).Detach();
    return text.Make(ReplaceText(text.View(), wanted.View(), Text(replacement, text).View(), all));
}

String* Replace(String* source, String* find, String* replacement) {
    return ReplaceIn(source, find, replacement, false);
}

String* ReplaceAll(String* source, String* find, String* replacement) {
    return ReplaceIn(source, find, replacement, true);
}

String* LTrim(String* s) {
    Text text(s);
    return text.Part(TrimLeft(text.View(), text.characters));
}

String* RTrim(String* s) {
    Text text(s);
    return text.Part(TrimRight(text.View(), text.characters));
}

String* Trim(String* s) {
    Text text(s);
    return text.Part(TrimRight(TrimLeft(text.View(), text.characters), text.characters));
}

// Letters of one-byte encodings are mapped as characters too, and come back in their encoding.
String* MapCase(String* s, std::string (*map)(std::string_view, Characters)) {
    if (s == nullptr) return nullptr;
    if (s->encoding == ENCODING_UNKNOWN || IsAscii(s->View()))
        return BuildString(map(s->View(), Characters::BYTES), s->encoding);
    StringRef utf8 = ConvertString(s, ENCODING_UTF8);
    StringRef mapped = StringRef::Adopt(BuildUtf8(map(utf8.View(), Characters::UTF8)));
    return ConvertString(mapped.Get(), s->encoding).Detach();
}

String* Uppercase(String* s) { return MapCase(s, ToUppercase); }

String* Lowercase(String* s) { return MapCase(s, ToLowercase); }

int32_t CompareText(String* left, String* right) {
    StringRef folded = StringRef::Adopt(MapCase(left, FoldCase));
    return CompareStrings(folded.Get(), StringRef::Adopt(MapCase(right, FoldCase)).Get());
}

Array* Split(String* s, String* delimiter) {
    Text text(s);
    std::vector<std::string_view> parts = SplitText(text.View(), Text(delimiter, text).View(), text.characters);
    Array* array = NewArray(TypeNamed("String"), static_cast<int32_t>(parts.size()));
    for (size_t i = 0; (array != nullptr) && i < parts.size(); ++i) array->Strings()[i] = text.Part(parts[i]);
    return array;
}

String* Join(Array* parts, String* delimiter) {
    if ((parts == nullptr) || parts->count == 0) return nullptr;
    // All in the encoding of the first part that has one.
    Text model(nullptr);
    for (int32_t i = 0; i < parts->count; ++i)
        if (String* part = parts->Strings()[i]; (part != nullptr) && part->length > 0) {
            model = Text(part);
            break;
        }
    std::string joined;
    Text between(delimiter, model);
    for (int32_t i = 0; i < parts->count; ++i) {
        if (i > 0) joined += between.View();
        joined += Text(parts->Strings()[i], model).View();
    }
    return model.Make(joined);
}

// The offset of a field, counted from 1, or npos. Looking up one field after the other goes on where it was.
size_t FieldOffset(const Text& text, std::string_view separator, size_t number) {
    FieldPlace local;
    FieldPlace* place = text.Field();
    if (place == nullptr) place = &local;
    if (place->text != text.View().data() || place->separator != separator || place->number > number
        || place->offset > text.View().size())
        *place = {std::string(separator), text.View().data(), 1, 0};
    while (place->number < number) {
        size_t found = text.View().find(separator, place->offset);
        if (found == std::string_view::npos) return found;
        place->offset = found + separator.size();
        ++place->number;
    }
    return place->offset;
}

// Fields are counted from 1; an empty separator makes a field of each character.
String* NthField(String* source, String* separator, int32_t index) {
    if (index < 1) return nullptr;
    Text text(source);
    Text between(separator, text);
    if (between.View().empty()) return MidCount(source, index, 1);
    size_t begin = FieldOffset(text, between.View(), static_cast<size_t>(index));
    if (begin == std::string_view::npos) return nullptr;
    return text.Part(begin, std::min(text.View().find(between.View(), begin), text.View().size()));
}

int32_t CountFields(String* source, String* separator) {
    Text text(source);
    Text between(separator, text);
    if (between.View().empty() || text.View().empty()) return static_cast<int32_t>(text.Length());
    int32_t count = 1;
    for (size_t found = 0; (found = text.View().find(between.View(), found)) != std::string_view::npos; ++count)
        found += between.View().size();
    return count;
}

String* Chr(int32_t code) {
    std::optional<std::string> bytes = EncodeCodePoint(static_cast<uint32_t>(code));
    if (!bytes) {
        RaiseNew("IllegalArgumentException", code, "Chr: " + std::to_string(code) + " is not a character");
        return nullptr;
    }
    return BuildUtf8(*bytes);
}

String* ChrB(int32_t code) {
    char byte = static_cast<char>(code);
    return BuildString({&byte, 1}, ENCODING_UNKNOWN);
}

// The code point of the first character, 0 for the empty string.
int32_t Asc(String* s) {
    Text text(s);
    if (text.View().empty()) return 0;
    if (text.characters == Characters::BYTES && text.Encoding() != ENCODING_UNKNOWN) {
        StringRef first = StringRef::Adopt(text.Part(0, 1));
        return FirstCodePoint(ConvertString(first.Get(), ENCODING_UTF8).View(), Characters::UTF8);
    }
    return FirstCodePoint(text.View(), text.characters);
}

int32_t AscB(String* s) { return (s != nullptr) && s->length > 0 ? static_cast<unsigned char>(s->bytes[0]) : 0; }

// The last place of a text that begins at or before `start`; from the end by default.
int32_t InStrRev(String* source, String* find, int32_t start) {
    Text text(source);
    size_t from = start < 1 ? text.View().size() : text.Offset(Index(start));
    size_t found = text.View().rfind(Text(find, text).View(), from);
    return found == std::string_view::npos ? 0 : static_cast<int32_t>(text.IndexAt(found) + 1);
}

int32_t StartsWith(String* s, String* start) {
    Text text(s);
    return text.View().starts_with(Text(start, text).View()) ? 1 : 0;
}

int32_t EndsWith(String* s, String* end) {
    Text text(s);
    return text.View().ends_with(Text(end, text).View()) ? 1 : 0;
}

String* Repeat(String* s, int32_t count) {
    StringRef all;
    StringRef power = StringRef::Share(s); // doubled on the way
    for (size_t rest = Count(count); rest > 0; rest /= 2) {
        if (rest % 2 == 1) all = StringRef::Adopt(AddStrings(all.Get(), power.Get()));
        if (rest > 1) power = StringRef::Adopt(AddStrings(power.Get(), power.Get()));
        if (IsExceptionPending()) return nullptr;
    }
    return all.Detach();
}

String* EndOfLine() { return BuildUtf8("\n"); }

const GlobalFunction FUNCTIONS[] = {
    {"Len(s as String) as Integer", Native<Len>()},
    {"LenB( s as string ) as integer", Native<LenB>()},
    {"Mid(s as String, start as Integer) as String", Native<Mid>()},
    {"Mid(s as String, start as Integer, count as Integer) as String", Native<MidCount>()},
    {"MidB(s as String, start as Integer) as String", Native<MidB>()},
    {"MidB(s as String, start as Integer, count as Integer) as String", Native<MidBCount>()},
    {"Left(s as String, count as Integer) as String", Native<Left>()},
    {"LeftB(s as String, count as Integer) as String", Native<LeftB>()},
    {"Right(s as String, count as Integer) as String", Native<Right>()},
    {"RightB(s as String, count as Integer) as String", Native<RightB>()},
    {"InStr(source as String, find as String) as Integer", Native<InStr>()},
    {"InStr(start as Integer, source as String, find as String) as Integer", Native<InStrFrom>()},
    {"InStrB(source as String, find as String) as Integer", Native<InStrB>()},
    {"InStrB(start as Integer, source as String, find as String) as Integer", Native<InStrBFrom>()},
    {"InStrRev(source as String, find as String, start as Integer = 0) as Integer", Native<InStrRev>()},
    {"StartsWith(s as String, start as String) as Boolean", Native<StartsWith>()},
    {"EndsWith(s as String, ending as String) as Boolean", Native<EndsWith>()},
    {"Repeat(s as String, count as Integer) as String", Native<Repeat>()},
    {"Replace(source as String, find as String, replacement as String) as String", Native<Replace>()},
    {"ReplaceAll(source as String, find as String, replacement as String) as String", Native<ReplaceAll>()},
    {"Trim(s as String) as String", Native<Trim>()},
    {"LTrim(s as String) as String", Native<LTrim>()},
    {"RTrim(s as String) as String", Native<RTrim>()},
    {"Uppercase(s as String) as String", Native<Uppercase>()},
    {"Lowercase(s as String) as String", Native<Lowercase>()},
    {"CompareText(left as String, right as String) as Integer", Native<CompareText>()},
    {"Split(s as String, delimiter as String = \" \") as String()", Native<Split>()},
    {"Join(parts() as String, delimiter as String = \" \") as String", Native<Join>()},
    {"NthField(source as String, separator as String, index as Integer) as String", Native<NthField>()},
    {"CountFields(source as String, separator as String) as Integer", Native<CountFields>()},
    {"Chr(code as Integer) as String", Native<Chr>()},
    {"ChrB(code as Integer) as String", Native<ChrB>()},
    {"Asc(s as String) as Integer", Native<Asc>()},
    {"AscB(s as String) as Integer", Native<AscB>()},
    {"EndOfLine() as String", Native<EndOfLine>()},
};

} // namespace

std::span<const GlobalFunction> StringFunctions() { return FUNCTIONS; }

} // namespace host
