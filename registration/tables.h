// What the record tables are written with: one call per row, which checks that the function fits the member.
#pragma once

#include "glue/records.h"

#include <cstddef>
#include <type_traits>

namespace kova {

// The flags words as the host expects them; their meaning is the host's.
constexpr uint32_t CLASS_FLAG = 4;
constexpr uint32_t METHOD_FLAG = 4;
constexpr uint32_t PROPERTY_FLAGS_4 = 4;
constexpr uint32_t PROPERTY_FLAGS_6 = 6;

template <typename Record, size_t COUNT>
constexpr int32_t Count(const Record (&)[COUNT]) {
    return static_cast<int32_t>(COUNT);
}

// In place of a getter or setter: the host itself reads or writes the field.
inline HostFunction DirectAccess() { return reinterpret_cast<HostFunction>(0xFFFFFFFFu); }

template <typename Value>
PropertyDefinition ReadOnly(const char* name, const char* type, uint32_t flags, Value (*getter)(KOVAObject, uint32_t)) {
    return {.name = name, .type = type, .flags = flags, .getter = reinterpret_cast<HostFunction>(getter)};
}

template <typename Value>
PropertyDefinition WriteOnly(const char* name, const char* type, uint32_t flags,
                             void (*setter)(KOVAObject, uint32_t, Value)) {
    return {.name = name, .type = type, .flags = flags, .setter = reinterpret_cast<HostFunction>(setter)};
}

template <typename Value>
PropertyDefinition ReadWrite(const char* name, const char* type, uint32_t flags, Value (*getter)(KOVAObject, uint32_t),
                             void (*setter)(KOVAObject, uint32_t, Value)) {
    return {.name = name,
            .type = type,
            .flags = flags,
            .getter = reinterpret_cast<HostFunction>(getter),
            .setter = reinterpret_cast<HostFunction>(setter)};
}

inline PropertyDefinition DirectReadOnly(const char* name, const char* type, uint32_t flags, uint32_t offset) {
    return {.name = name, .type = type, .flags = flags, .getter = DirectAccess(), .param = offset};
}

inline PropertyDefinition DirectReadWrite(const char* name, const char* type, uint32_t flags, uint32_t offset) {
    return {.name = name,
            .type = type,
            .flags = flags,
            .getter = DirectAccess(),
            .setter = DirectAccess(),
            .param = offset};
}

template <typename Result, HostWord... Args>
MethodDefinition Method(const char* declaration, Result (*function)(KOVAObject, Args...)) {
    return {.function = reinterpret_cast<HostFunction>(function), .declaration = declaration, .flags = METHOD_FLAG};
}

// A method whose call can also be assigned to.
template <typename Result, HostWord... Args>
MethodDefinition AssignableMethod(const char* declaration, Result (*function)(KOVAObject, Args...),
                                  std::type_identity_t<void (*)(KOVAObject, Args..., Result)> setter) {
    return {.function = reinterpret_cast<HostFunction>(function),
            .setter = reinterpret_cast<HostFunction>(setter),
            .declaration = declaration,
            .flags = METHOD_FLAG};
}

} // namespace kova
