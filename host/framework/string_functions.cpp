// Functions of strings.
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/framework/text.h"
#include "host/runtime/array.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"

#include <algorithm>
#include <string>
#include <vector>

namespace host {

namespace {

// A string argument ready for the text operations: in an encoding whose characters they can count.
// Strings of unknown and of one-byte encodings are taken byte by byte, the others as UTF-8.
class Text {
public:
    explicit Text(String* string) : string_(StringRef::Share(string)) {
        uint32_t encoding = string != nullptr ? string->encoding : ENCODING_UTF8;
        switch (encoding) {
        case ENCODING_UTF8: break;
        case ENCODING_UNKNOWN:
        case ENCODING_ASCII:
        case ENCODING_ISO_LATIN1:
        case ENCODING_WINDOWS_LATIN1: characters = Characters::BYTES; break;
        default:
            if (FindEncoding(encoding) != nullptr)
                string_ = ConvertString(string, ENCODING_UTF8);
            else
                characters = Characters::BYTES;
        }
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

    // A new string of this one's encoding; the whole of it is this string itself.
    String* Part(std::string_view part) const {
        if (part.size() == View().size()) return StringRef(string_).Detach();
        return Make(part);
    }
    String* Make(std::string_view text) const { return BuildString(text, Encoding()); }

    Characters characters = Characters::UTF8;

private:
    StringRef string_;
};

// A count or position of a program, which may be negative.
size_t Count(int32_t count) { return static_cast<size_t>(std::max(count, 0)); }

String* BuildUtf8(std::string_view text) { return BuildString(text, ENCODING_UTF8); }

int32_t Len(String* s) {
    Text text(s);
    return static_cast<int32_t>(CountCharacters(text.View(), text.characters));
}

int32_t LenB(String* s) { return static_cast<int32_t>(StringView(s).size()); }

// Positions count from 1; a start below 1 begins at the first character.
String* MidCount(String* s, int32_t start, int32_t count) {
    Text text(s);
    return text.Part(Substring(text.View(), Count(start - static_cast<int>(start > 0)), Count(count), text.characters));
}

String* Mid(String* s, int32_t start) { return MidCount(s, start, INT32_MAX); }

String* MidBCount(String* s, int32_t start, int32_t count) {
    std::string_view bytes = StringView(s);
    bytes.remove_prefix(std::min(bytes.size(), Count(start - static_cast<int>(start > 0))));
    return BuildString(bytes.substr(0, Count(count)), s != nullptr ? s->encoding : ENCODING_UTF8);
}

String* MidB(String* s, int32_t start) { return MidBCount(s, start, INT32_MAX); }

String* Left(String* s, int32_t count) { return MidCount(s, 1, count); }

String* LeftB(String* s, int32_t count) { return MidBCount(s, 1, count); }

String* Right(String* s, int32_t count) {
    Text text(s);
    return text.Part(LastCharacters(text.View(), Count(count), text.characters));
}

String* RightB(String* s, int32_t count) {
    std::string_view bytes = StringView(s);
    return BuildString(bytes.substr(bytes.size() - std::min(bytes.size(), Count(count))),
                       s != nullptr ? s->encoding : ENCODING_UTF8);
}

int32_t InStrFrom(int32_t start, String* source, String* find) {
    Text text(source);
    std::optional<size_t> index =
        FindText(text.View(), Text(find, text).View(), Count(start - static_cast<int>(start > 0)), text.characters);
    return index ? static_cast<int32_t>(*index + 1) : 0;
}

int32_t InStr(String* source, String* find) { return InStrFrom(1, source, find); }

int32_t InStrBFrom(int32_t start, String* source, String* find) {
    size_t found = StringView(source).find(StringView(find), Count(start - static_cast<int>(start > 0)));
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

// Fields are counted from 1.
String* NthField(String* source, String* separator, int32_t index) {
    Text text(source);
    std::vector<std::string_view> fields = SplitText(text.View(), Text(separator, text).View(), text.characters);
    if (index < 1 || static_cast<size_t>(index) > fields.size()) return nullptr;
    return text.Part(fields[static_cast<size_t>(index) - 1]);
}

int32_t CountFields(String* source, String* separator) {
    Text text(source);
    if (text.View().empty()) return 0;
    return static_cast<int32_t>(SplitText(text.View(), Text(separator, text).View(), text.characters).size());
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
    if (text.Encoding() == ENCODING_ISO_LATIN1 || text.Encoding() == ENCODING_WINDOWS_LATIN1) {
        StringRef first = StringRef::Adopt(text.Make(text.View().substr(0, 1)));
        return FirstCodePoint(ConvertString(first.Get(), ENCODING_UTF8).View(), Characters::UTF8);
    }
    return FirstCodePoint(text.View(), text.characters);
}

int32_t AscB(String* s) { return (s != nullptr) && s->length > 0 ? static_cast<unsigned char>(s->bytes[0]) : 0; }

String* EndOfLine() { return BuildUtf8("\n"); }

const GlobalFunction FUNCTIONS[] = {
    {"Len(s as String) as Integer", Native(Len)},
    {"LenB( s as string ) as integer", Native(LenB)},
    {"Mid(s as String, start as Integer) as String", Native(Mid)},
    {"Mid(s as String, start as Integer, count as Integer) as String", Native(MidCount)},
    {"MidB(s as String, start as Integer) as String", Native(MidB)},
    {"MidB(s as String, start as Integer, count as Integer) as String", Native(MidBCount)},
    {"Left(s as String, count as Integer) as String", Native(Left)},
    {"LeftB(s as String, count as Integer) as String", Native(LeftB)},
    {"Right(s as String, count as Integer) as String", Native(Right)},
    {"RightB(s as String, count as Integer) as String", Native(RightB)},
    {"InStr(source as String, find as String) as Integer", Native(InStr)},
    {"InStr(start as Integer, source as String, find as String) as Integer", Native(InStrFrom)},
    {"InStrB(source as String, find as String) as Integer", Native(InStrB)},
    {"InStrB(start as Integer, source as String, find as String) as Integer", Native(InStrBFrom)},
    {"Replace(source as String, find as String, replacement as String) as String", Native(Replace)},
    {"ReplaceAll(source as String, find as String, replacement as String) as String", Native(ReplaceAll)},
    {"Trim(s as String) as String", Native(Trim)},
    {"LTrim(s as String) as String", Native(LTrim)},
    {"RTrim(s as String) as String", Native(RTrim)},
    {"Uppercase(s as String) as String", Native(Uppercase)},
    {"Lowercase(s as String) as String", Native(Lowercase)},
    {"Split(s as String, delimiter as String = \" \") as String()", Native(Split)},
    {"Join(parts() as String, delimiter as String = \" \") as String", Native(Join)},
    {"NthField(source as String, separator as String, index as Integer) as String", Native(NthField)},
    {"CountFields(source as String, separator as String) as Integer", Native(CountFields)},
    {"Chr(code as Integer) as String", Native(Chr)},
    {"ChrB(code as Integer) as String", Native(ChrB)},
    {"Asc(s as String) as Integer", Native(Asc)},
    {"AscB(s as String) as Integer", Native(AscB)},
    {"EndOfLine() as String", Native(EndOfLine)},
};

} // namespace

std::span<const GlobalFunction> StringFunctions() { return FUNCTIONS; }

} // namespace host
