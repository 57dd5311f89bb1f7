// Lays programs out in one style.
#pragma once

#include "host/syntax/diagnostic.h"

#include <string>

namespace host {

// File number `file` of `files`, indented by blocks, with one blank where blanks belong and words of the language as
// the documentation writes them. Lines stay lines; comments behind a statement keep their column where they can. The
// text comes back as it is when it cannot be parsed; the errors are in `diagnostics`.
std::string FormatProgram(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics);

} // namespace host
