// Dictionaries for other parts of the framework.
#pragma once

#include "host/runtime/object.h"

#include <functional>

namespace host {

ObjectRef NewDictionary();
bool IsDictionary(const Object* object);
// Sets a value; both are Variants, and stay the caller's.
void SetEntry(Object* dictionary, Object* key, Object* value);
// Keys and values, borrowed, in the order in which the keys came, until `visit` answers false.
void VisitEntries(Object* dictionary, const std::function<bool(Object* key, Object* value)>& visit);

} // namespace host
