// Variants: nil, an object, or a value boxed in an object of an internal class.
#pragma once

#include "host/runtime/call.h"
#include "host/runtime/object.h"
#include "host/runtime/signature.h"
#include "host/runtime/string.h"

#include <cstdint>

namespace host {

// New boxes with one reference; a Variant holding them is one pointer. BoxString adds a reference to the string; the
// nil string gives a box too.
Object* BoxInteger(int32_t value);
Object* BoxBoolean(int32_t value); // keeps the word
Object* BoxDouble(double value);
Object* BoxString(String* value);
Object* BoxInt64(int64_t value);
// A value of any of these kinds; an object or Variant as it is, with one reference more.
Object* Box(Kind kind, const Slot& value);

void FreeBox(Object* box); // only for ReleaseObject

// Kind::NOTHING for nil; for a box the kind of its value; Array for an array; else Object.
Kind VariantKind(const Object* variant);

// The value of a box of that kind.
int32_t UnboxInteger(Object* box); // Integer and Boolean
double UnboxDouble(Object* box);
String* UnboxString(Object* box); // borrowed
int64_t UnboxWide(Object* box);   // Int64 and Currency
// The value of any box, borrowed; an object or nil as it is.
Slot Unbox(Object* variant);

} // namespace host
