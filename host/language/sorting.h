// Sorts arrays.
#pragma once

#include "host/language/delegate.h"
#include "host/runtime/array.h"

namespace host::language {

// Numbers and strings, ascending.
void SortArray(Array& array);

// In the order that a function of the program tells: one that compares two elements (below, equal or above 0), or one
// that gives the key of an element. Elements that are equal keep their order. `call` calls it. false after an
// exception, with the array as it was.
bool SortArrayBy(Array& array, Delegate& delegate, DelegateCall call);

} // namespace host::language
