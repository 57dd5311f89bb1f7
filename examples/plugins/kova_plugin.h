// The boundary between plug-ins and their host, for C: definition records and the resolver. All words have 32 bits,
// little-endian; all functions are cdecl. Reserved words are 0. See docs/plugins.md.
#pragma once

#include <stdint.h>

// Counted by the host; 0 is nil. The nil string is the empty string.
typedef struct KOVAObjectRecord* KOVAObject;
typedef struct KOVAStringRecord* KOVAString;
typedef struct KOVAArrayRecord* KOVAArray;

enum {
    KOVA_VERSION = 10,                // of the interface: in class and module records, and for RegisterPluginVersion
    KOVA_FLAGS = 4,                   // of classes and members
    KOVA_UTF8 = 0x08000100,           // the encoding of strings
    KOVA_DIRECT = (int32_t)0xFFFFFFFF // as getter or setter: the host itself reads or writes the field at `param`
};

typedef void (*KOVAFunction)(void);
// The function of a service by its name, 0 if the host has none.
typedef KOVAFunction (*KOVAResolver)(const char* name);

typedef struct {
    uint32_t reserved;
    const char* name;
    const char* type; // as the language spells it: "Integer", "String", "XmlNode"
    uint32_t flags;
    KOVAFunction getter; // value get(object, param); 0 for a write-only property
    KOVAFunction setter; // void set(object, param, value); 0 for a read-only property
    uint32_t param;      // for direct access: the offset of the field in the instance data
    uint32_t more[5];
} KOVAProperty;

typedef struct {
    KOVAFunction function;   // result call(object, arguments…)
    KOVAFunction setter;     // void set(object, arguments…, value) if a call can be assigned to
    const char* declaration; // "Name(a as String, b as Integer = 1) as Boolean"; "Constructor(…)" for constructors
    uint32_t flags;
    uint32_t more[2];
} KOVAMethod;

typedef struct {
    const char* declaration; // "Found(word as String)"
    uint32_t hostSlot;       // written by the host: what GetEventInstance takes
    uint32_t more[2];
} KOVAEvent;

typedef struct {
    const char* declaration; // "NAME = 1"
    uint32_t more[4];
} KOVAConstant;

typedef struct {
    uint32_t version;
    const char* name;       // after registration: the class reference, which PluginNewInstance takes
    const char* superclass; // registered before, or 0
    uint32_t dataSize;      // bytes of instance data, zero at first
    uint32_t dataOffset;    // written by the host: where the instance data begins in an object
    void (*constructor)(KOVAObject);
    void (*destructor)(KOVAObject);
    KOVAProperty* properties;
    int32_t propertyCount;
    KOVAMethod* methods;
    int32_t methodCount;
    KOVAEvent* events;
    int32_t eventCount;
    uint32_t reserved[5];
    KOVAConstant* constants;
    int32_t constantCount;
    uint32_t flags;
    uint32_t more[4];
} KOVAClass;

typedef struct {
    uint32_t version;
    const char* name;
    uint32_t reserved[2];
    KOVAConstant* constants;
    int32_t constantCount;
    uint32_t more[8];
} KOVAModule;

_Static_assert(sizeof(KOVAProperty) == 48 && sizeof(KOVAMethod) == 24 && sizeof(KOVAEvent) == 16, "members");
_Static_assert(sizeof(KOVAConstant) == 20 && sizeof(KOVAClass) == 100 && sizeof(KOVAModule) == 56, "records");
