// The entry of the bundle.
#pragma once

#include "glue/host_types.h"

namespace kova {

// Registers everything the plug-in has; the catalogue's part of the entry (registration/).
void PluginEntry();

} // namespace kova

// The bundle's only export: called once by the host, right after loading.
extern "C" [[gnu::visibility("default")]] void KOVAPluginMain(kova::HostResolver resolver);
