// Reads the sources that a program imports.
#pragma once

#include "host/language/environment.h"

#include <filesystem>

namespace host::language {

class Importer {
public:
    Importer(Environment& environment, DiagnosticList& diagnostics)
        : environment_(environment), diagnostics_(diagnostics) {}

    // Parses file number `file`, and each file that it imports and that was not read before. The units are added in the
    // order in which their statements run: what a file imports comes before it.
    void Add(uint32_t file, std::vector<const ast::Unit*>& units);
    // The same for what a unit imports that is parsed already.
    void AddImports(const ast::Unit& unit, std::vector<const ast::Unit*>& units);

private:
    void Import(const ast::Import& import, std::vector<const ast::Unit*>& units);
    // The file that is meant; empty after an error.
    std::filesystem::path Find(const ast::Import& import);

    Environment& environment_;
    DiagnosticList& diagnostics_;
};

} // namespace host::language
