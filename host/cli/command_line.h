// The command line: which command is meant, with which options, and the help about each.
#pragma once

#include "host/cli/commands.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

namespace host {

// What the command line says: the command to execute with its options.
struct CommandLine {
    HostOptions host;
    std::function<int()> action;
};

struct CommandHelp {
    const char* name;
    const char* usage; // after the name
    const char* description;
    const char* examples; // one a line, each ended by a line feed; what there is to know besides may follow
};

CLI::App& AddCommand(CLI::App& app, const CommandHelp& help);

// Makes `execute(options)` what the command line does when it names the command.
template <typename Options>
void SetAction(CLI::App& command, CommandLine& line, std::shared_ptr<Options> options,
               int (*execute)(const HostOptions&, const Options&)) {
    command.callback([=, &line] { line.action = [=, &line] { return execute(line.host, *options); }; });
}

// An option that may be repeated and takes one value each time.
template <typename Values>
CLI::Option* AddRepeatable(CLI::App& command, const std::string& name, Values& values, const std::string& description) {
    return command.add_option(name, values, description)->take_all()->allow_extra_args(false);
}

// Options of every command that loads the plug-in.
void AddHostOptions(CLI::App& command, HostOptions& options);

// Option of the commands that transform or run programs which may.
void AddReadBelow(CLI::App& command, HostOptions& options);

// For options that take a number: refuses zero and less.
CLI::Validator AboveZero();

// The commands for programs: run, check, repl, test.
void AddProgramCommands(CLI::App& app, CommandLine& line);

// The commands for documents and classes: describe, events, xql, transform, format, edit, view.
void AddDocumentCommands(CLI::App& app, CommandLine& line);

} // namespace host
