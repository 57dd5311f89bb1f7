// Builders for the framework's definition records, so that a table has one line for each member.
#pragma once

#include "host/runtime/guarded.h"
#include "host/runtime/object.h"
#include "host/runtime/records.h"

#include <span>

namespace host {

constexpr uint32_t MEMBER_FLAGS = 4; // what plug-ins give their members

// Getters are Result(Object*, int32_t param), setters void(Object*, int32_t param, Value).
inline PropertyDefinition ReadOnly(const char* name, const char* type, void* getter, int32_t param = 0) {
    return {0, name, type, MEMBER_FLAGS, getter, nullptr, param, {}};
}

inline PropertyDefinition ReadWrite(const char* name, const char* type, void* getter, void* setter) {
    return {0, name, type, MEMBER_FLAGS, getter, setter, 0, {}};
}

inline MethodDefinition Member(const char* declaration, void* function, void* setter = nullptr) {
    return {function, setter, declaration, MEMBER_FLAGS, {}};
}

inline ConstantDefinition ConstantRow(const char* declaration) { return {declaration, {}}; }

struct ClassParts {
    const char* name;
    const char* super = nullptr;
    int32_t dataSize = 0;
    void* constructor = nullptr;
    void* destructor = nullptr;
    std::span<const PropertyDefinition> properties = {};
    std::span<const MethodDefinition> methods = {};
};

inline ClassDefinition ClassRecord(const ClassParts& parts) {
    ClassDefinition record{};
    record.version = RECORD_VERSION;
    record.name = parts.name;
    record.superclass = parts.super;
    record.dataSize = parts.dataSize;
    record.constructor = parts.constructor;
    record.destructor = parts.destructor;
    record.properties = parts.properties.data();
    record.propertyCount = static_cast<int32_t>(parts.properties.size());
    record.methods = parts.methods.data();
    record.methodCount = static_cast<int32_t>(parts.methods.size());
    return record;
}

// A class whose instance data is a C++ object of type Data, made and destroyed with the host object.
// `Data::Record()` answers the class's definition record.
template <typename Data>
Data& DataOf(Object* object) {
    return DataAt<Data>(object, Data::Record().dataOffset);
}

template <typename Data>
void ConstructData(Object* object) {
    new (&DataOf<Data>(object)) Data();
}

template <typename Data>
void DestroyData(Object* object) {
    DataOf<Data>(object).~Data();
}

template <typename Data>
ClassDefinition ClassRecordOf(const char* name, std::span<const PropertyDefinition> properties,
                              std::span<const MethodDefinition> methods) {
    return ClassRecord({
        .name = name,
        .dataSize = sizeof(Data),
        .constructor = Native<ConstructData<Data>>(),
        .destructor = Native<DestroyData<Data>>(),
        .properties = properties,
        .methods = methods,
    });
}

// A new object of the class that a registered record describes.
inline ObjectRef NewInstance(const ClassDefinition& record) {
    return ObjectRef::Adopt(NewObject(static_cast<Class*>(const_cast<void*>(record.name))));
}

} // namespace host
