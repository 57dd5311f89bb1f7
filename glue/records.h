// Definition records: the wire format in which classes and modules are handed to the host.
//
// Little-endian 32-bit words; every text is NUL-terminated, every table a contiguous array. The records are writable
// and live as long as the process: the host writes name, dataOffset and hostSlot, the plug-in reads them back.
#pragma once

#include "glue/host_types.h"

#include <cstddef>

namespace kova {

constexpr int32_t INTERFACE_VERSION = 10;

struct PropertyDefinition {
    uint32_t reserved0 = 0;
    const char* name = nullptr;
    const char* type = nullptr;
    uint32_t flags = 0;
    HostFunction getter = nullptr; // (object, param) -> value; 0 write-only; DIRECT_ACCESS: the host reads the field
    HostFunction setter = nullptr; // (object, param, value); 0 read-only; DIRECT_ACCESS: the host writes the field
    uint32_t param = 0;            // direct access: byte offset of a 32-bit field of the instance data
    uint32_t reserved28[5] = {};
};

struct MethodDefinition {
    HostFunction function = nullptr; // (object, declared arguments...) -> declared result
    HostFunction setter = nullptr;   // (object, declared arguments..., value) for a call that can be assigned to
    const char* declaration = nullptr;
    uint32_t flags = 0;
    uint32_t reserved16[2] = {};
};

struct EventDefinition {
    const char* declaration = nullptr;
    uint32_t hostSlot = 0; // the host's; what GetEventInstance is given
    uint32_t reserved8[2] = {};
};

struct ConstantDefinition {
    const char* declaration = nullptr; // "NAME = decimal"
    uint32_t reserved4[4] = {};
};

struct ClassDefinition {
    int32_t version = INTERFACE_VERSION;
    ClassReference name = nullptr; // after registration the class reference
    const char* superclass = nullptr;
    int32_t dataSize = 0;
    uint32_t dataOffset = 0; // the host's; instance data begins at the object's address plus this
    void (*constructor)(KOVAObject) = nullptr;
    void (*destructor)(KOVAObject) = nullptr;
    PropertyDefinition* properties = nullptr;
    int32_t propertyCount = 0;
    MethodDefinition* methods = nullptr;
    int32_t methodCount = 0;
    EventDefinition* events = nullptr;
    int32_t eventCount = 0;
    uint32_t reserved52[5] = {};
    ConstantDefinition* constants = nullptr;
    int32_t constantCount = 0;
    uint32_t flags = 0;
    uint32_t reserved84[4] = {};
};

struct ModuleDefinition {
    int32_t version = INTERFACE_VERSION;
    const char* name = nullptr;
    uint32_t reserved8[2] = {};
    ConstantDefinition* constants = nullptr;
    int32_t constantCount = 0;
    uint32_t reserved24[8] = {};
};

static_assert(sizeof(PropertyDefinition) == 48);
static_assert(offsetof(PropertyDefinition, reserved0) == 0 && offsetof(PropertyDefinition, name) == 4
              && offsetof(PropertyDefinition, type) == 8 && offsetof(PropertyDefinition, flags) == 12
              && offsetof(PropertyDefinition, getter) == 16 && offsetof(PropertyDefinition, setter) == 20
              && offsetof(PropertyDefinition, param) == 24 && offsetof(PropertyDefinition, reserved28) == 28);

static_assert(sizeof(MethodDefinition) == 24);
static_assert(offsetof(MethodDefinition, function) == 0 && offsetof(MethodDefinition, setter) == 4
              && offsetof(MethodDefinition, declaration) == 8 && offsetof(MethodDefinition, flags) == 12
              && offsetof(MethodDefinition, reserved16) == 16);

static_assert(sizeof(EventDefinition) == 16);
static_assert(offsetof(EventDefinition, declaration) == 0 && offsetof(EventDefinition, hostSlot) == 4
              && offsetof(EventDefinition, reserved8) == 8);

static_assert(sizeof(ConstantDefinition) == 20);
static_assert(offsetof(ConstantDefinition, declaration) == 0 && offsetof(ConstantDefinition, reserved4) == 4);

static_assert(sizeof(ClassDefinition) == 100);
static_assert(offsetof(ClassDefinition, version) == 0 && offsetof(ClassDefinition, name) == 4
              && offsetof(ClassDefinition, superclass) == 8 && offsetof(ClassDefinition, dataSize) == 12
              && offsetof(ClassDefinition, dataOffset) == 16 && offsetof(ClassDefinition, constructor) == 20
              && offsetof(ClassDefinition, destructor) == 24 && offsetof(ClassDefinition, properties) == 28
              && offsetof(ClassDefinition, propertyCount) == 32 && offsetof(ClassDefinition, methods) == 36
              && offsetof(ClassDefinition, methodCount) == 40 && offsetof(ClassDefinition, events) == 44
              && offsetof(ClassDefinition, eventCount) == 48 && offsetof(ClassDefinition, reserved52) == 52
              && offsetof(ClassDefinition, constants) == 72 && offsetof(ClassDefinition, constantCount) == 76
              && offsetof(ClassDefinition, flags) == 80 && offsetof(ClassDefinition, reserved84) == 84);

static_assert(sizeof(ModuleDefinition) == 56);
static_assert(offsetof(ModuleDefinition, version) == 0 && offsetof(ModuleDefinition, name) == 4
              && offsetof(ModuleDefinition, reserved8) == 8 && offsetof(ModuleDefinition, constants) == 16
              && offsetof(ModuleDefinition, constantCount) == 20 && offsetof(ModuleDefinition, reserved24) == 24);

} // namespace kova
