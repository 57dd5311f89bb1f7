// The host's values as the plug-in sees them: 32-bit words whose meaning is the host's.
#pragma once

#include <cstdint>
#include <type_traits>

namespace kova {

struct HostObject;
struct HostString;
struct HostArray;

// Reference-counted by the host; 0 is nil, and the nil string is the empty string.
using KOVAObject = HostObject*;
using KOVAString = HostString*;
using KOVAArray = HostArray*;

using KOVAInteger = int32_t;
using KOVABoolean = int32_t; // any word; non-zero is True, and the raw word is kept
using KOVAEncoding = uint32_t;

// What PluginNewInstance takes: the name of a framework class, or the word that stands in the name field of a
// registered ClassDefinition (which then is no longer a text).
using ClassReference = const char*;

// A function of the host or for the host before its signature is known; cdecl, called only after a cast.
using HostFunction = void (*)();

// Maps the name of a host service to its function, 0 if the host has none of that name.
using HostResolver = HostFunction (*)(const char* name);

// What takes one 32-bit word as an argument: a handle or an integer.
template <typename T>
concept HostWord = (std::is_integral_v<T> && sizeof(T) == 4) || std::is_pointer_v<T>;

static_assert(sizeof(void*) == 4 && sizeof(HostFunction) == 4, "the interface is 32 bits wide");

} // namespace kova
