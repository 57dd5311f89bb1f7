// Dictionaries for other parts of the framework, and for the language, which passes keys and values without boxes.
#pragma once

#include "host/runtime/value.h"

#include <cstdint>

namespace host {

ObjectRef NewDictionary();
bool IsDictionary(const Object* object);

// The methods that read and write entries.
enum class EntryAccess : uint8_t { NONE, VALUE, LOOKUP, HAS_KEY };
EntryAccess EntryAccessOf(const void* function);

// KeyNotFoundException, for a key of any kind.
void RaiseMissingKey(Kind kind, const Slot& key);

} // namespace host
