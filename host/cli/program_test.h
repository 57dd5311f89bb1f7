// `kova test`, one program of it: runs a program and compares what it does with what its comments say.
#pragma once

#include "host/cli/commands.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace host {

// The list of what programs may leave alive on purpose: lines "name: reason"; # starts a comment.
using LeakList = std::map<std::string, std::string>;
LeakList ReadLeakList(const std::filesystem::path& file);

struct ProgramTest {
    std::filesystem::path program; // with the expectations
    bool update = false;           // rewrite the file with longer output when it differs
    ProgramLimits limits;
};

struct ProgramTestResult {
    std::vector<std::string> failures; // "FILE:LINE: …", possibly of several lines
    bool updated = false;
};

// Runs a program in this process, which must be one of its own: the current folder and the standard streams are
// changed. `folder` is empty and belongs to the program.
ProgramTestResult RunProgramTest(const ProgramTest& test, const LeakList& leakList,
                                 const std::filesystem::path& folder);

} // namespace host
