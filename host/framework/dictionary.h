// Dictionaries for other parts of the framework, and for the language, which passes keys and values without boxes.
#pragma once

#include "host/runtime/value.h"

#include <cstdint>
#include <functional>

namespace host {

ObjectRef NewDictionary();
bool IsDictionary(const Object* object);

// The methods that stand below as functions; to assign to VALUE is SetEntry.
enum class EntryAccess : uint8_t { NONE, VALUE, LOOKUP, HAS_KEY };
EntryAccess EntryAccessOf(const void* function);

// Keys and values are of any kind. What is found is a Variant, borrowed until the dictionary changes.
const ObjectRef* FindEntry(Object* dictionary, Kind kind, const Slot& key);  // nullptr: no such key
const ObjectRef* EntryValue(Object* dictionary, Kind kind, const Slot& key); // and KeyNotFoundException is raised
void SetEntry(Object* dictionary, Kind keyKind, const Slot& key, Kind kind, const Slot& value);

// Keys and values, borrowed, in the order in which the keys came, until `visit` answers false.
void VisitEntries(Object* dictionary, const std::function<bool(const Value& key, Object* value)>& visit);

} // namespace host
