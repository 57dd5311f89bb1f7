// What stands at a place of a program's text, for editors.
#pragma once

#include "host/language/program.h"
#include "host/syntax/source.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// What a name stands for.
struct NamedThing {
    std::string declaration; // "Parse(s As String) As Boolean"
    std::string page;        // of the class reference that may describe it, and the heading there
    std::string heading;
    std::optional<std::pair<std::string, Span>> definition; // the file's path, and the name in it
};

// `program` is the compiled text, or an earlier state of it; `text` is what the editor shows, which may have errors.
// `offset` counts bytes.
std::optional<NamedThing> FindNamedThing(Program& program, const std::string& text, size_t offset);
std::vector<std::string> CompleteName(Program& program, const std::string& text, size_t offset);

} // namespace host
