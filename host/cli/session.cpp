// Starts the host: framework, services, bundles.
#include "host/cli/session.h"

#include "host/framework/framework.h"
#include "host/language/suggestion.h"
#include "host/runtime/plugin.h"
#include "host/runtime/services.h"

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

namespace host {

namespace fs = std::filesystem;

namespace {

void Withhold(const std::string& service) {
    // A bundle calls this one without asking whether it is there: it says whom it speaks to.
    if (service == "RegisterPluginVersion")
        throw UsageError("--without: RegisterPluginVersion cannot be withheld; no bundle can be loaded without it");
    if (SetServiceEnabled(service, false)) return;
    std::vector<std::string> names;
    for (const Service& known : Services()) names.emplace_back(known.name);
    throw UsageError("--without: there is no service \"" + service + "\"" + language::Suggestion(service, names));
}

} // namespace

void StartHost(const HostOptions& options) {
    // What reads files for a stylesheet looks there; so do the processes that a program starts.
    if (!options.readBelow.empty()) setenv("KOVA_READ_BELOW", fs::canonical(options.readBelow).c_str(), 1);
    RegisterFramework();
    for (const std::string& service : options.without) Withhold(service);
    if (options.plugins.empty()) LoadPlugin(FindPlugin());
    for (const std::string& plugin : options.plugins) LoadPlugin(plugin);
}

fs::path FindPlugin() {
    fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char* place : {"kova-xml.so", "../lib/kova/kova-xml.so"})
        if (fs::path path = folder / place; fs::exists(path)) return path.lexically_normal();
    throw std::runtime_error("kova-xml.so is neither in " + folder.native() + " nor in ../lib/kova; use --plugin");
}

} // namespace host
