// The named services that plug-ins obtain through the resolver. All are cdecl; strings, objects and arrays may be nil
// (0). Arguments are borrowed. No exception of C++ leaves a service.
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

// RegisterPluginVersion(version)
// PluginRegisterClass(ClassDefinition*), PluginRegisterModule(ModuleDefinition*)
// PluginNewInstance(class reference or NUL-terminated class name): new object, nil if there is no such class
// KOVALockObject(object), KOVAUnlockObject(object), KOVALockString(string), KOVAUnlockString(string)
// KOVABuildString(bytes, length): new string of unknown encoding
// StringGetCString(string): its bytes and a NUL, "" for nil
// KOVAGetStringEncoding(string), KOVASetStringEncoding(string, encoding)
// KOVAConvertString(string, encoding): lent (see ConvertStringPooled); the string itself if it is in that encoding
// RuntimeAddString(left, right): new string; RuntimeStringCompare(left, right)
// GetEventInstance(object, hostSlot): the handler, or 0
// RuntimeRaiseException(object): takes over the reference
// RuntimeUBound(array); RuntimeDirectReadStringArray(array, index): borrowed, OutOfBoundsException beyond the bounds
// KOVAGetPropValueInt(object, name, int32_t*), KOVASetPropValueInt(object, name, value),
// KOVASetPropValueString(object, name, string): whether it succeeded
// KOVALoadObjectMethod(object, declaration), KOVALoadGlobalMethod(0, declaration): the function, or 0
// KOVAGetKVVersion(): double
// RuntimeLogMessage(string): a line for whoever runs the program
std::span<const Service> Services();

// The resolver handed to a plug-in: the service's function, or nullptr if there is none or it is switched off.
extern "C" void* ResolveService(const char* name);

// Switches a service off or on by its name, for plug-ins that ask from then on; false if there is none of that name.
bool SetServiceEnabled(std::string_view name, bool enabled);

// Errors met by PluginRegisterClass and PluginRegisterModule since the last call; a plug-in cannot be told.
std::vector<std::string> TakeRegistrationErrors();

// The interface version announced through RegisterPluginVersion since the last call; 0 if none was.
int32_t TakeAnnouncedVersion();

} // namespace host
