// What stands at a place of a program's text, for editors.
#pragma once

#include "host/language/program.h"
#include "host/syntax/source.h"

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace host {

// Where the expression that ends the text begins: "Print a.b(c)" -> "a.b(c)".
size_t StartOfExpression(std::string_view text);

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

// A name in a file.
struct NamePlace {
    std::string path;
    Span span;
    auto operator<=>(const NamePlace& other) const {
        return std::tie(path, span.offset) <=> std::tie(other.path, other.span.offset);
    }
    bool operator==(const NamePlace& other) const { return path == other.path && span.offset == other.span.offset; }
};

// Where that is declared which a name stands for, if the program's own files declare it; of a method that overrides
// others the first. The program was compiled with EditorView::notesUses.
std::optional<NamePlace> FindDeclaration(const Program& program, const std::string& path, size_t offset);
// All names for it, the declaration itself among them.
std::vector<NamePlace> FindUses(const Program& program, const NamePlace& declaration);

} // namespace host
