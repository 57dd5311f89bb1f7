// Access to properties, directly or by their functions.
#include "host/runtime/property.h"

#include "host/runtime/class.h"

#include <algorithm>
#include <cstring>

namespace host {

namespace {

Property* PropertyOf(Object* object, std::string_view name) {
    return object != nullptr ? object->cls->FindProperty(name) : nullptr;
}

bool IsWord(const Property& property) {
    return property.type.kind == Kind::INTEGER || property.type.kind == Kind::BOOLEAN;
}

} // namespace

Slot ReadProperty(Object* object, const Property& property) {
    Slot value{};
    if (property.read == Access::FUNCTION) {
        Slot arguments[] = {{.object = object}, {.integer = property.param}};
        CallNative(property.getterShape, property.getter, arguments, &value);
        return value;
    }
    Kind kind = property.type.kind;
    if (IsWide(kind)) {
        value.wide = DataAt<int64_t>(object, property.offset);
    } else {
        value.integer = DataAt<int32_t>(object, property.offset);
    }
    if (kind == Kind::STRING) LockString(value.string);
    if (HoldsObject(kind)) LockObject(value.object);
    return value;
}

void WriteProperty(Object* object, const Property& property, Slot value) {
    if (property.write == Access::FUNCTION) {
        Slot arguments[] = {{.object = object}, {.integer = property.param}, value};
        CallNative(property.setterShape, property.setter, arguments, nullptr);
        return;
    }
    switch (property.type.kind) {
    case Kind::DOUBLE:
    case Kind::INT64:
    case Kind::CURRENCY: DataAt<int64_t>(object, property.offset) = value.wide; break;
    case Kind::STRING:
        LockString(value.string);
        UnlockString(std::exchange(DataAt<String*>(object, property.offset), value.string));
        break;
    case Kind::OBJECT:
    case Kind::VARIANT:
    case Kind::ARRAY:
        LockObject(value.object);
        UnlockObject(std::exchange(DataAt<Object*>(object, property.offset), value.object));
        break;
    default: DataAt<int32_t>(object, property.offset) = value.integer; break;
    }
}

bool GetIntegerProperty(Object* object, std::string_view name, int32_t& value) {
    const Property* property = PropertyOf(object, name);
    if ((property == nullptr) || property->read == Access::NONE) return false;
    const bool isInt64 = property->type.kind == Kind::INT64;
    if (!isInt64 && !IsWord(*property)) return false;
    const Slot slot = ReadProperty(object, *property);
    value = isInt64 ? static_cast<int32_t>(std::clamp<int64_t>(slot.wide, INT32_MIN, INT32_MAX)) : slot.integer;
    return true;
}

bool SetIntegerProperty(Object* object, std::string_view name, int32_t value) {
    const Property* property = PropertyOf(object, name);
    if ((property == nullptr) || property->write == Access::NONE || !IsWord(*property)) return false;
    WriteProperty(object, *property, {.integer = value});
    return true;
}

bool GetStringProperty(Object* object, std::string_view name, StringRef& value) {
    const Property* property = PropertyOf(object, name);
    if ((property == nullptr) || property->read == Access::NONE || property->type.kind != Kind::STRING) return false;
    value = StringRef::Adopt(ReadProperty(object, *property).string);
    return true;
}

bool SetStringProperty(Object* object, std::string_view name, String* value) {
    const Property* property = PropertyOf(object, name);
    if ((property == nullptr) || property->write == Access::NONE || property->type.kind != Kind::STRING) return false;
    WriteProperty(object, *property, {.string = value});
    return true;
}

} // namespace host
