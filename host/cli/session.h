// What the commands share: starting the host, files and terminals.
#pragma once

#include "host/cli/commands.h"

#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

namespace host {

// A fault of the command line found after parsing it: reported with EXIT_USAGE.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Registers the framework, withholds services and loads the bundles. Throws std::runtime_error, or UsageError for a
// service that does not exist.
void StartHost(const HostOptions& options);

// The bundle that belongs to this command: beside the executable, or in ../lib/kova of an installation.
std::filesystem::path FindPlugin();

// The bytes of a file. Throws std::runtime_error "PATH: REASON".
std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::string_view text);

// True for a terminal whose user has not switched colours off (https://no-color.org).
bool UsesColor(std::FILE* stream);

} // namespace host
