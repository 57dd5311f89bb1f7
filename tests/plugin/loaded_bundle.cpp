// The bundle in the reference host, as any program meets it.
#include "host/framework/framework.h"
#include "host/runtime/plugin.h"
#include "tests/plugin/plugin_host.h"

void StartHost() {
    static const bool started = [] {
        host::RegisterFramework();
        host::LoadPlugin(KOVA_PLUGIN);
        return true;
    }();
    static_cast<void>(started);
}
