// Compilations for editors.
#pragma once

#include <map>
#include <string>

namespace host {

// What an editor adds to a compilation.
struct EditorView {
    std::map<std::string, std::string> openFiles; // texts in place of files that are imported, by path
    bool notesUses = false;                       // for FindDeclaration and FindUses
};

} // namespace host
