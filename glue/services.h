// Every host service that the plug-in uses, as its host knows it. Strings and objects that a service returns carry a
// reference for the caller unless a line says otherwise; nil is accepted by the lock and unlock services.
#pragma once

#include "glue/host_service.h"
#include "glue/records.h"

namespace kova {

// Registration.
inline constinit HostService<void(ClassDefinition*)> PluginRegisterClass{"PluginRegisterClass"};
inline constinit HostService<void(ModuleDefinition*)> PluginRegisterModule{"PluginRegisterModule"};
inline constinit HostService<double()> KOVAGetKVVersion{"KOVAGetKVVersion"};

// Strings. KOVABuildString copies its bytes. KOVAConvertString's result is borrowed: it may be its argument.
inline constinit HostService<KOVAString(const char* bytes, int32_t length)> KOVABuildString{"KOVABuildString"};
inline constinit HostService<void(KOVAString)> KOVALockString{"KOVALockString"};
inline constinit HostService<void(KOVAString)> KOVAUnlockString{"KOVAUnlockString"};
inline constinit HostService<const char*(KOVAString)> StringGetCString{"StringGetCString"};
inline constinit HostService<KOVAEncoding(KOVAString)> KOVAGetStringEncoding{"KOVAGetStringEncoding"};
inline constinit HostService<void(KOVAString, KOVAEncoding)> KOVASetStringEncoding{"KOVASetStringEncoding"};
inline constinit HostService<KOVAString(KOVAString, KOVAEncoding)> KOVAConvertString{"KOVAConvertString"};
inline constinit HostService<KOVAString(KOVAString left, KOVAString right)> RuntimeAddString{"RuntimeAddString"};
inline constinit HostService<int32_t(KOVAString, KOVAString)> RuntimeStringCompare{"RuntimeStringCompare"};

// Objects.
inline constinit HostService<KOVAObject(ClassReference)> PluginNewInstance{"PluginNewInstance"};
inline constinit HostService<void(KOVAObject)> KOVALockObject{"KOVALockObject"};
inline constinit HostService<void(KOVAObject)> KOVAUnlockObject{"KOVAUnlockObject"};

// Records the exception and takes over its reference; the program sees it once the native method has returned.
inline constinit HostService<void(KOVAObject exception)> RuntimeRaiseException{"RuntimeRaiseException"};

// Shows a line to whoever runs the program.
inline constinit HostService<void(KOVAString line)> RuntimeLogMessage{"RuntimeLogMessage"};

// Members by name or declaration. The bool tells success.
inline constinit HostService<bool(KOVAObject, const char* name, int32_t* value)> KOVAGetPropValueInt{
    "KOVAGetPropValueInt"};
inline constinit HostService<bool(KOVAObject, const char* name, int32_t value)> KOVASetPropValueInt{
    "KOVASetPropValueInt"};
inline constinit HostService<bool(KOVAObject, const char* name, KOVAString value)> KOVASetPropValueString{
    "KOVASetPropValueString"};
inline constinit HostService<HostFunction(KOVAObject, const char* declaration)> KOVALoadObjectMethod{
    "KOVALoadObjectMethod"};

// Arrays of strings. RuntimeUBound is the last valid index, -1 for an empty array. Elements are borrowed.
inline constinit HostService<int32_t(KOVAArray)> RuntimeUBound{"RuntimeUBound"};
inline constinit HostService<KOVAString(KOVAArray, int32_t index)> RuntimeDirectReadStringArray{
    "RuntimeDirectReadStringArray"};

// The two services whose wrappers take other arguments than the host.
namespace service {
inline constinit HostService<HostFunction(KOVAObject, uint32_t hostSlot)> GetEventInstance{"GetEventInstance"};
inline constinit HostService<HostFunction(KOVAObject none, const char* declaration)> KOVALoadGlobalMethod{
    "KOVALoadGlobalMethod"};
} // namespace service

// The program's handler of an event of an object, 0 when it has none (or an exception is pending).
inline HostFunction GetEventInstance(KOVAObject object, const EventDefinition& event) {
    return service::GetEventInstance(object, event.hostSlot);
}

inline HostFunction KOVALoadGlobalMethod(const char* declaration) {
    return service::KOVALoadGlobalMethod(nullptr, declaration);
}

} // namespace kova
