// What the commands share that use the host: starting it.
#pragma once

#include "host/cli/commands.h"

#include <filesystem>

namespace host {

// Registers the framework, withholds services and loads the bundles. Throws std::runtime_error, or UsageError for a
// service that does not exist.
void StartHost(const HostOptions& options);

// The bundle that belongs to this command: beside the executable, or in ../lib/kova of an installation.
std::filesystem::path FindPlugin();

} // namespace host
