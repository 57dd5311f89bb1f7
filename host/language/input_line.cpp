// The line of the XML text that an uncaught exception speaks of.
#include "host/language/machine.h"
#include "host/runtime/property.h"
#include "host/runtime/utf8.h"
#include "host/syntax/diagnostic.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace host::language {

namespace {

// Line number `wanted` of a text, without its end; nothing when it is not there, or not in UTF-8.
std::optional<std::string> LineOf(std::istream& text, int32_t wanted) {
    std::string line;
    for (int32_t number = 0; number < wanted; ++number) {
        if (!std::getline(text, line)) return std::nullopt;
    }
    if (line.ends_with('\r')) line.pop_back();
    return IsValidUTF8(line) ? std::optional(line) : std::nullopt;
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
    int32_t number = 0;
    int32_t column = 0; // in characters, from 0
    bool hasPlace = GetIntegerProperty(exception, "CurrentLineNumber", number)
                    && GetIntegerProperty(exception, "CurrentColumnNumber", column) && number > 0 && column >= 0;
    if (!hasPlace) return {};
    std::string name;
    std::optional<std::string> line;
    if (StringRef path; raisedFile_ && GetStringProperty(raisedFile_.Get(), "AbsolutePath", path)) {
        name = path.View();
        std::error_code error;
        std::ifstream file;
        if (std::filesystem::is_regular_file(name, error)) file.open(name);
        if (file.is_open()) line = LineOf(file, number);
    } else if (raisedText_) {
        name = "XML";
        std::istringstream text{std::string(raisedText_.View())};
        line = LineOf(text, number);
    }
    if (!line) return {};
    return name + ":" + std::to_string(number) + ":" + std::to_string(column + 1) + "\n"
           + MarkedLine(*line, static_cast<uint32_t>(column) + 1, 1, false);
}

} // namespace host::language
