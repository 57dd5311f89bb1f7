// The entry: keeps the resolver, announces the interface version, registers.
#include "glue/plugin_main.h"

#include "glue/host_service.h"
#include "glue/records.h"

#include <cassert>

namespace kova {

HostResolver gResolver = nullptr;

HostFunction ResolveHostService(const char* name) { return gResolver(name); }

} // namespace kova

void KOVAPluginMain(kova::HostResolver resolver) {
    using namespace kova;

    // Hosts and their users know this assertion by its function, source and line, so it is kept as it reads.
    if (gResolver != nullptr)
        __assert_fail("!gResolver && \"Plugin loaded twice?\"", "Glue Code/PluginMain", 1853, "KOVAPluginMain");

    gResolver = resolver;
    // Not guarded: a host without this service is not one that the plug-in can run in.
    reinterpret_cast<void (*)(int32_t)>(ResolveHostService("RegisterPluginVersion"))(INTERFACE_VERSION);
    PluginEntry();
}
