// The TextEncoding objects of programs.
#pragma once

#include "host/runtime/object.h"

#include <cstdint>

namespace host {

// The TextEncoding object of an encoding value; nil for an encoding that the host does not know. There is one object
// for each encoding, so `Is` compares encodings.
ObjectRef TextEncodingObject(uint32_t encoding);

// The encoding value of a TextEncoding object; `otherwise` for nil.
uint32_t EncodingValue(Object* textEncoding, uint32_t otherwise);

} // namespace host
