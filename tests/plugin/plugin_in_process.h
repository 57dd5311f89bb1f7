// The plug-in's own code in the test's process, on the services of the reference host: for what no program can see.
#pragma once

#include "glue/plugin_main.h"
#include "host/framework/framework.h"
#include "host/runtime/services.h"

namespace plugintest {

inline void StartPlugin() {
    static const bool started = [] {
        host::RegisterFramework();
        KOVAPluginMain(reinterpret_cast<kova::HostResolver>(host::ResolveService));
        return true;
    }();
    (void)started;
}

} // namespace plugintest
