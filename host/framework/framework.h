// The classes, modules and functions that every program finds. They are native code behind the same definition
// records that a plug-in registers.
#pragma once

#include "host/runtime/registration.h"

#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace host {

// Registers everything below; once in a process. Throws DefinitionError.
void RegisterFramework();

// What System tells a program about itself.
struct ProgramEnvironment {
    std::filesystem::path program; // the program's file; its folder is System.ProgramFolder
    std::vector<std::string> arguments;
};
void SetProgramEnvironment(ProgramEnvironment environment);

// `System.Quit(code)` raises an exception of this class, which is no RuntimeException; its ErrorNumber is the code.
inline constexpr const char* END_EXCEPTION = "EndException";

// One function for each file of this folder that registers something.
void RegisterExceptions();
void RegisterEncodings();
void RegisterFiles();
void RegisterDictionary();
void RegisterSystem();
void RegisterShell();
void RegisterRegularExpressions();
void RegisterDates();
std::span<const GlobalFunction> StringFunctions();
std::span<const GlobalFunction> NumberFunctions();
std::span<const GlobalFunction> CodingFunctions();
std::span<const GlobalFunction> JsonFunctions();

} // namespace host
