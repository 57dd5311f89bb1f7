#pragma once

#include "host/cli/commands.h"

#include <CLI/CLI.hpp>
#include <functional>

namespace host {

// What the command line says: the command to execute with its options.
struct CommandLine {
    HostOptions host;
    std::function<int()> action;
};

// Options of every command that loads the plug-in.
void AddHostOptions(CLI::App& command, HostOptions& options);

// The commands for programs: run, check, repl, test.
void AddProgramCommands(CLI::App& app, CommandLine& line);

// The commands for documents and classes: events, xql, transform, describe.
void AddDocumentCommands(CLI::App& app, CommandLine& line);

} // namespace host
