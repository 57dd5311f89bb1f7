// The plug-in's own code in the test's process, on services that the test may replace.
#include "tests/plugin/linked_plugin.h"

#include "glue/plugin_main.h"
#include "host/framework/framework.h"
#include "host/runtime/services.h"
#include "tests/plugin/plugin_host.h"

std::map<std::string, void*>& ReplacedServices() {
    static std::map<std::string, void*> services;
    return services;
}

namespace {

kova::HostFunction Resolve(const char* name) {
    const auto replaced = ReplacedServices().find(name);
    return reinterpret_cast<kova::HostFunction>(replaced != ReplacedServices().end() ? replaced->second
                                                                                     : host::ResolveService(name));
}

} // namespace

void StartHost() {
    static const bool started = [] {
        host::RegisterFramework();
        KOVAPluginMain(Resolve);
        return true;
    }();
    static_cast<void>(started);
}
