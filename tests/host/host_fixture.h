// The framework and the plug-in in the test's process.
#pragma once

#include "host/framework/framework.h"
#include "host/runtime/plugin.h"

// Makes the framework and the plug-in known to programs, once in a process.
inline void PrepareHost() {
    static const bool isPrepared = [] {
        host::RegisterFramework();
        host::LoadPlugin(KOVA_PLUGIN);
        return true;
    }();
    (void)isPrepared;
}
