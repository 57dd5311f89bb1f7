// The reference host with the bundle loaded, for tests of one process.
#pragma once

#include "host/framework/framework.h"
#include "host/runtime/plugin.h"

// Loads once.
inline void StartHost() {
    static const bool started = [] {
        host::RegisterFramework();
        host::LoadPlugin(KOVA_PLUGIN);
        return true;
    }();
    static_cast<void>(started);
}
