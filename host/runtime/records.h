// The definition records by which a plug-in (and the host's own framework) describes classes and modules. Little-endian
// 32-bit words, pointers 32 bits wide, texts NUL-terminated, counts signed. Reserved words are 0.
#pragma once

#include <cstddef>
#include <cstdint>

namespace host {

inline constexpr int32_t RECORD_VERSION = 10;

// In the getter or setter field of a property: the host reads or writes the field at `param` of the instance data
// itself.
inline constexpr uintptr_t DIRECT_ACCESS = 0xFFFFFFFF;

struct PropertyDefinition {
    uint32_t reserved0;
    const char* name;
    const char* type; // "Integer", "String", … or a class name
    uint32_t flags;
    void* getter; // result(object, param); 0 for write-only, DIRECT_ACCESS for direct read
    void* setter; // void(object, param, value); 0 for read-only, DIRECT_ACCESS for direct write
    int32_t param;
    uint32_t reserved[5];
};

struct MethodDefinition {
    void* function;          // result(object, declared arguments…)
    void* setter;            // 0, or void(object, declared arguments…, value): the method can be assigned to
    const char* declaration; // "Parse(s as String, isFinal as Boolean)"; "Constructor(…)" declares a constructor
    uint32_t flags;
    uint32_t reserved[2];
};

struct EventDefinition {
    const char* declaration;
    const void* hostSlot; // written by the host at registration; handed back to GetEventInstance
    uint32_t reserved[2];
};

struct ConstantDefinition {
    const char* declaration; // "XML_CQUANT_OPT = 1"
    uint32_t reserved[4];
};

struct ClassDefinition {
    int32_t version;
    const void* name;       // const char*; after registration the class reference
    const char* superclass; // 0 for none
    int32_t dataSize;       // bytes of instance data this class adds
    int32_t dataOffset;     // written by the host: where they begin, counted from the object's address
    void* constructor;      // void(object), or 0
    void* destructor;       // void(object), or 0
    const PropertyDefinition* properties;
    int32_t propertyCount;
    const MethodDefinition* methods;
    int32_t methodCount;
    EventDefinition* events;
    int32_t eventCount;
    uint32_t reserved0[5];
    const ConstantDefinition* constants;
    int32_t constantCount;
    uint32_t flags;
    uint32_t reserved1[4];
};

struct ModuleDefinition {
    int32_t version;
    const char* name;
    uint32_t reserved0[2];
    const ConstantDefinition* constants;
    int32_t constantCount;
    uint32_t reserved1[8];
};

static_assert(sizeof(void*) == 4, "the record formats are those of a 32-bit process");
static_assert(sizeof(PropertyDefinition) == 48 && offsetof(PropertyDefinition, param) == 24);
static_assert(sizeof(MethodDefinition) == 24 && offsetof(MethodDefinition, declaration) == 8);
static_assert(sizeof(EventDefinition) == 16 && offsetof(EventDefinition, hostSlot) == 4);
static_assert(sizeof(ConstantDefinition) == 20);
static_assert(sizeof(ClassDefinition) == 100 && offsetof(ClassDefinition, constants) == 72
              && offsetof(ClassDefinition, flags) == 80);
static_assert(sizeof(ModuleDefinition) == 56 && offsetof(ModuleDefinition, constantCount) == 20);

} // namespace host
