// Access to properties, directly or by their functions.
#include "host/runtime/property.h"

#include "host/runtime/class.h"

#include <cstring>

namespace host {

namespace {

bool IsObjectKind(Kind kind) { return kind == Kind::OBJECT || kind == Kind::VARIANT || kind == Kind::ARRAY; }

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
    if (kind == Kind::DOUBLE) {
        value.number = DataAt<double>(object, property.offset);
    } else {
        value.integer = DataAt<int32_t>(object, property.offset);
    }
    if (kind == Kind::STRING) LockString(value.string);
    if (IsObjectKind(kind)) LockObject(value.object);
    return value;
}

void WriteProperty(Object* object, const Property& property, Slot value) {
    if (property.write == Access::FUNCTION) {
        Slot arguments[] = {{.object = object}, {.integer = property.param}, value};
        CallNative(property.setterShape, property.setter, arguments, nullptr);
        return;
    }
    switch (property.type.kind) {
    case Kind::DOUBLE: DataAt<double>(object, property.offset) = value.number; break;
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
    if ((property == nullptr) || property->read == Access::NONE || !IsWord(*property)) return false;
    value = ReadProperty(object, *property).integer;
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
