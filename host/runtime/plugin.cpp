// Loading of plug-in bundles.
#include "host/runtime/plugin.h"

#include "host/runtime/class.h"
#include "host/runtime/module.h"
#include "host/runtime/records.h"
#include "host/runtime/services.h"

#include <dlfcn.h>

#include <deque>
#include <stdexcept>
#include <system_error>

namespace host {

namespace {

using Resolver = void* (*)(const char*);
using PluginMain = void (*)(Resolver);

constexpr const char* ENTRY_POINT = "KOVAPluginMain";

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& message) {
    throw std::runtime_error(path.string() + ": " + message);
}

template <typename T>
std::vector<T*> AddedSince(const std::vector<T*>& all, size_t before) {
    return {all.begin() + static_cast<ptrdiff_t>(before), all.end()};
}

} // namespace

const Plugin& LoadPlugin(const std::filesystem::path& path) {
    static auto& plugins = *new std::deque<Plugin>;
    std::error_code error;
    std::filesystem::path file = std::filesystem::canonical(path, error);
    if (error) Fail(path, error.message());
    for (const Plugin& plugin : plugins) {
        if (plugin.path == file) Fail(path, "the plug-in is loaded already");
    }
    void* bundle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (bundle == nullptr) Fail(path, std::string("cannot be loaded as a plug-in: ") + dlerror());
    auto pluginMain = reinterpret_cast<PluginMain>(dlsym(bundle, ENTRY_POINT));
    if (pluginMain == nullptr) {
        dlclose(bundle);
        Fail(path, std::string("this is no plug-in: it has no function ") + ENTRY_POINT);
    }

    const size_t classCount = AllClasses().size();
    const size_t moduleCount = AllModules().size();
    TakeRegistrationErrors();
    TakeAnnouncedVersion();
    pluginMain(ResolveService);
    const Plugin& plugin = plugins.emplace_back(Plugin{
        file, TakeAnnouncedVersion(), AddedSince(AllClasses(), classCount), AddedSince(AllModules(), moduleCount)});
    if (plugin.version != RECORD_VERSION) {
        Fail(path, "the plug-in speaks version " + std::to_string(plugin.version)
                       + " of the interface, this host version " + std::to_string(RECORD_VERSION));
    }
    std::string faults;
    for (const std::string& fault : TakeRegistrationErrors()) faults += "\n  " + fault;
    if (!faults.empty()) Fail(path, "the plug-in has wrong definitions:" + faults);
    return plugin;
}

} // namespace host
