// The named services that plug-ins obtain through the resolver.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct Service {
    const char* name;
    void* function;
};

std::span<const Service> Services();

// The resolver handed to a plug-in: the service's function, or nullptr if there is none or it is switched off.
extern "C" void* ResolveService(const char* name);

// Switches a service off or on by its name, for plug-ins that ask from then on; false if there is none of that name.
bool SetServiceEnabled(std::string_view name, bool enabled);

// Errors met by PluginRegisterClass and PluginRegisterModule since the last call; a plug-in cannot be told.
std::vector<std::string> TakeRegistrationErrors();

// The interface version last announced through RegisterPluginVersion; 0 before.
int32_t AnnouncedPluginVersion();

} // namespace host
