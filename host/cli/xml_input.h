// What the commands share that read XML files by libxml2.
#pragma once

#include "host/cli/files.h"
#include "host/cli/libxml2/document.h"

#include <functional>
#include <string>
#include <vector>

namespace host {

// Parses a text and shows the warnings. Throws TextError.
xml::Document ParseInput(const Input& input, xml::References references);

// Runs the action for each file. One that throws a TextError or a std::runtime_error is shown, and the next one
// follows; false if there was any.
bool ForEachFile(const std::vector<std::string>& files, const std::function<void(const std::string& file)>& action);

} // namespace host
