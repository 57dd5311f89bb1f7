// Reading and writing properties of objects.
#pragma once

#include "host/runtime/call.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"

#include <cstdint>
#include <string_view>

namespace host {

struct Property;

// The value, with a reference for the caller; the property must be readable. The object is nil for a module's property.
Slot ReadProperty(Object* object, const Property& property);
// The value is borrowed; the property must be writable.
void WriteProperty(Object* object, const Property& property, Slot value);

// By name: false if the object is nil or has no such property, or it is of another type or not accessible that way.
// Integer access covers Boolean properties, and reads Int64 ones (what does not fit as the nearest Integer).
bool GetIntegerProperty(Object* object, std::string_view name, int32_t& value);
bool SetIntegerProperty(Object* object, std::string_view name, int32_t value);
bool GetStringProperty(Object* object, std::string_view name, StringRef& value);
bool SetStringProperty(Object* object, std::string_view name, String* value);

} // namespace host
