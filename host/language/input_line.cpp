// The line of the XML text that an uncaught exception speaks of.
#include "host/language/machine.h"
#include "host/runtime/class.h"
#include "host/runtime/property.h"
#include "host/runtime/utf8.h"
#include "host/syntax/diagnostic.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace host::language {

namespace {

// A text and the name under which it is shown.
struct Input {
    std::string name;
    std::string text;
};

std::optional<Input> FileInput(const std::string& path) {
    std::error_code error;
    std::ifstream file;
    if (std::filesystem::is_regular_file(path, error)) file.open(path);
    if (!file.is_open()) return std::nullopt;
    std::ostringstream text;
    text << file.rdbuf();
    return Input{path, text.str()};
}

// Line number `wanted` of a text, without its end; nothing when it is not there, or not in UTF-8.
std::optional<std::string> LineOf(const std::string& text, uint32_t wanted) {
    std::istringstream lines(text);
    std::string line;
    for (uint32_t number = 0; number < wanted; ++number) {
        if (!std::getline(lines, line)) return std::nullopt;
    }
    if (line.ends_with('\r')) line.pop_back();
    return IsValidUTF8(line) ? std::optional(line) : std::nullopt;
}

// Column is in characters, both from 1.
std::string Marked(const Input& input, InputPlace place) {
    std::optional<std::string> line = LineOf(input.text, place.line);
    if (!line) return {};
    return input.name + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + "\n"
           + MarkedLine(*line, place.column, 1, false);
}

InputPlace PlaceAt(const std::string& text, size_t offset) {
    const size_t start = text.rfind('\n', offset) + 1; // 0 when there is none before
    const auto line =
        static_cast<uint32_t>(std::count(text.begin(), text.begin() + static_cast<ptrdiff_t>(start), '\n'));
    return {line + 1, static_cast<uint32_t>(CountCharacters(std::string_view(text).substr(start, offset - start))) + 1};
}

// What stands between two texts, the first and the last of them that there is; nothing when they are not there.
std::optional<std::string> Between(std::string_view text, std::string_view before, std::string_view behind) {
    const size_t start = text.find(before);
    const size_t end = text.rfind(behind);
    if (start == std::string_view::npos || end == std::string_view::npos || end < start + before.size())
        return std::nullopt;
    return std::string(text.substr(start + before.size(), end - start - before.size()));
}

// The only start tag `<name` whose text has `part` in it. (Lines do not tell: those of a message may be counted in a
// text from which white space was taken.)
std::optional<InputPlace> OnlyElement(const std::string& text, const std::string& tag, const std::string& part) {
    std::optional<size_t> found;
    for (size_t at = text.find(tag); at != std::string::npos; at = text.find(tag, at + 1)) {
        const size_t behind = at + tag.size();
        if (behind >= text.size() || std::string_view(" \t\r\n/>").find(text[behind]) == std::string_view::npos)
            continue;
        if (std::string_view(text).substr(at, text.find('>', at) - at).find(part) == std::string_view::npos) continue;
        if (found) return std::nullopt;
        found = at;
    }
    return found ? std::optional(PlaceAt(text, *found)) : std::nullopt;
}

// "msg:/a/b.xsl, line 3: …" speaks of another file than the one given.
std::optional<std::string> OtherFile(std::string_view message) {
    constexpr std::string_view LINE = ", line ";
    const size_t end = message.find(LINE);
    if (end == std::string_view::npos) return std::nullopt;
    const size_t behind = message.find_first_not_of("0123456789", end + LINE.size());
    if (behind == std::string_view::npos || message[behind] != ':') return std::nullopt;
    return Between(message.substr(0, behind), "msg:", LINE);
}

// The text of a document that was given as an object, such as a stylesheet: where it came from is not known.
std::optional<Input> DocumentInput(Object* object) {
    StringRef text;
    bool isNative = object != nullptr && object->cls->program == nullptr;
    if (!isNative || !GetStringProperty(object, "ToString", text)) return std::nullopt;
    return Input{object->cls->name, std::string(text.View())};
}

// The place that an XmlException speaks of: of the element that it names, else of the fault that ends the parsing.
std::string DocumentLine(const std::optional<Input>& input, std::string_view node, std::string_view message,
                         const RunOptions& options) {
    if (!input) return {};
    std::optional<InputPlace> place;
    if (node.empty()) {
        if (options.findFault) place = options.findFault(input->text);
    } else if (std::optional<std::string> name = Between(node, "<", ">")) {
        const std::string tag = "<" + *name;
        // The message quotes what is wrong in it.
        std::optional<std::string> quoted = Between(message, ": '", "'");
        if (!quoted) quoted = Between(message, "function ", " not found");
        if (quoted) place = OnlyElement(input->text, tag, *quoted);
        if (!place) place = OnlyElement(input->text, tag, "");
    }
    return place ? Marked(*input, *place) : std::string();
}

} // namespace

// Remembers what the native code was given that raised the exception: files and texts can be looked into later.
void Machine::NoteInput() {
    raisedText_ = {};
    raisedFile_ = {};
    if (frames_.empty()) return;
    const Frame& frame = frames_.back();
    if (frame.pc->opcode != Opcode::CALL_NATIVE) return;
    const NativeCall& call = environment_.tables.natives[frame.pc->c];
    if (call.parameters.empty()) return;
    Slot first = frame.base[frame.pc->b + (call.hasObject ? 1 : 0)];
    if (call.parameters[0] == Kind::STRING) raisedText_ = StringRef::Share(first.string);
    if (call.parameters[0] == Kind::OBJECT) raisedFile_ = ObjectRef::Share(first.object);
}

std::string Machine::InputLine(Object* exception) const {
    std::optional<Input> input;
    if (StringRef path; raisedFile_ && GetStringProperty(raisedFile_.Get(), "AbsolutePath", path))
        input = FileInput(std::string(path.View()));
    else if (raisedText_)
        input = Input{"XML", std::string(raisedText_.View())};
    int32_t line = 0;
    int32_t column = 0; // in characters, from 0
    if (GetIntegerProperty(exception, "CurrentLineNumber", line)
        && GetIntegerProperty(exception, "CurrentColumnNumber", column)) {
        if (!input || line <= 0 || column < 0) return {};
        return Marked(*input, {static_cast<uint32_t>(line), static_cast<uint32_t>(column) + 1});
    }
    StringRef node;
    StringRef message;
    bool isOfDocument = GetStringProperty(exception, "Node", node) && GetStringProperty(exception, "Message", message);
    if (!isOfDocument) return {};
    if (!input) input = DocumentInput(raisedFile_.Get());
    if (std::optional<std::string> path = OtherFile(message.View())) input = FileInput(*path);
    return DocumentLine(input, node.View(), message.View(), options_);
}

} // namespace host::language
