// A small host: loads the bundle kova-xml.so, makes an XmlReader and prints the elements of a file, or the error in it.
// Usage: host BUNDLE FILE
#include "kova_plugin.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct KOVAStringRecord {
    int32_t references;
    uint32_t encoding;
    int32_t length;
    char bytes[]; // and a NUL
};

// Instance data follows; its offset is the same for all classes here, since none of those used inherits any.
struct KOVAObjectRecord {
    int32_t references;
    const KOVAClass* record;
    KOVAString message; // of exceptions: the properties of RuntimeException
    int32_t errorNumber;
};

// What a class reference points to.
typedef struct {
    char name[64];
    KOVAClass* record;
} Class;

static Class classes[64];
static int classCount;
static KOVAObject raised; // the exception that is on its way to the program

// ---- Services -------------------------------------------------------------------------------------------------------

static void RegisterPluginVersion(int32_t version) {
    if (version != KOVA_VERSION) exit(1);
}

static void PluginRegisterClass(KOVAClass* record) {
    static uint32_t slots;
    if (classCount == (int)(sizeof classes / sizeof *classes)) exit(1);
    Class* class = &classes[classCount++];
    snprintf(class->name, sizeof class->name, "%s", record->name);
    class->record = record;
    record->name = (const char*)class;
    record->dataOffset = sizeof(struct KOVAObjectRecord);
    for (int32_t i = 0; i < record->eventCount; ++i) record->events[i].hostSlot = ++slots;
}

static KOVAObject PluginNewInstance(const void* reference) {
    const Class* class = reference;
    if (class < classes || class >= classes + classCount) return NULL; // a class of the framework, by its name
    KOVAObject object = calloc(1, sizeof *object + class->record->dataSize);
    if (!object) abort();
    object->references = 1;
    object->record = class->record;
    if (class->record->constructor) class->record->constructor(object);
    return object;
}

static void LockString(KOVAString string) {
    if (string) ++string->references;
}

static void UnlockString(KOVAString string) {
    if (string && --string->references == 0) free(string);
}

static void LockObject(KOVAObject object) {
    if (object) ++object->references;
}

static void UnlockObject(KOVAObject object) {
    if (!object || --object->references > 0) return;
    if (object->record->destructor) object->record->destructor(object);
    UnlockString(object->message);
    free(object);
}

static KOVAString BuildString(const char* bytes, int32_t length) {
    KOVAString string = calloc(1, sizeof *string + (size_t)length + 1);
    if (!string) abort();
    string->references = 1;
    string->length = length;
    memcpy(string->bytes, bytes, (size_t)length);
    return string;
}

static const char* StringBytes(KOVAString string) { return string ? string->bytes : ""; }

static void SetEncoding(KOVAString string, uint32_t encoding) {
    if (string) string->encoding = encoding;
}

static int32_t LenB(KOVAString string) { return string ? string->length : 0; }

static KOVAFunction LoadGlobalMethod(KOVAObject none, const char* declaration) {
    (void)none;
    return strcmp(declaration, "LenB( s as string ) as integer") == 0 ? (KOVAFunction)LenB : NULL;
}

static int SetPropInt(KOVAObject object, const char* name, int32_t value) {
    if (strcmp(name, "ErrorNumber") != 0) return 0;
    object->errorNumber = value;
    return 1;
}

static int SetPropString(KOVAObject object, const char* name, KOVAString value) {
    if (strcmp(name, "Message") != 0) return 0;
    LockString(value);
    UnlockString(object->message);
    object->message = value;
    return 1;
}

// Raising returns; the program meets the exception when the member that raised it has returned. The first one counts.
static void RaiseException(KOVAObject exception) {
    if (raised)
        UnlockObject(exception);
    else
        raised = exception;
}

static KOVAFunction EventInstance(KOVAObject object, uint32_t slot);

static const struct {
    const char* name;
    KOVAFunction function;
} services[] = {
    {"RegisterPluginVersion", (KOVAFunction)RegisterPluginVersion},
    {"PluginRegisterClass", (KOVAFunction)PluginRegisterClass},
    {"PluginNewInstance", (KOVAFunction)PluginNewInstance},
    {"KOVALockString", (KOVAFunction)LockString},
    {"KOVAUnlockString", (KOVAFunction)UnlockString},
    {"KOVALockObject", (KOVAFunction)LockObject},
    {"KOVAUnlockObject", (KOVAFunction)UnlockObject},
    {"KOVABuildString", (KOVAFunction)BuildString},
    {"StringGetCString", (KOVAFunction)StringBytes},
    {"KOVASetStringEncoding", (KOVAFunction)SetEncoding},
    {"KOVALoadGlobalMethod", (KOVAFunction)LoadGlobalMethod},
    {"KOVASetPropValueInt", (KOVAFunction)SetPropInt},
    {"KOVASetPropValueString", (KOVAFunction)SetPropString},
    {"RuntimeRaiseException", (KOVAFunction)RaiseException},
    {"GetEventInstance", (KOVAFunction)EventInstance},
};

// A service that is not there answers 0, and the plug-in goes on without.
static KOVAFunction Resolve(const char* name) {
    for (size_t i = 0; i < sizeof services / sizeof *services; ++i)
        if (strcmp(services[i].name, name) == 0) return services[i].function;
    return NULL;
}

// ---- The program ----------------------------------------------------------------------------------------------------

static const Class* FindClass(const char* name) {
    for (int i = 0; i < classCount; ++i)
        if (strcmp(classes[i].name, name) == 0) return &classes[i];
    exit(1);
}

static KOVAFunction FindMethod(const char* class, const char* declaration) {
    const KOVAClass* record = FindClass(class)->record;
    for (int32_t i = 0; i < record->methodCount; ++i)
        if (strcmp(record->methods[i].declaration, declaration) == 0) return record->methods[i].function;
    exit(1);
}

static int32_t GetInteger(KOVAObject object, const char* name) {
    for (int32_t i = 0; i < object->record->propertyCount; ++i) {
        const KOVAProperty* property = &object->record->properties[i];
        if (strcmp(property->name, name) == 0)
            return ((int32_t(*)(KOVAObject, uint32_t))property->getter)(object, property->param);
    }
    exit(1);
}

static void OnStartElement(KOVAObject reader, KOVAString name, KOVAObject attributes) {
    (void)reader;
    KOVAString (*value)(KOVAObject, KOVAString) =
        (KOVAString(*)(KOVAObject, KOVAString))FindMethod("XmlAttributeList", "Value(key as String) as String");
    KOVAString key = BuildString("id", 2);
    KOVAString id = value(attributes, key);
    printf("%s%s%s\n", StringBytes(name), id ? " " : "", StringBytes(id));
    UnlockString(id);
    UnlockString(key);
}

static KOVAFunction EventInstance(KOVAObject object, uint32_t slot) {
    for (int32_t i = 0; i < object->record->eventCount; ++i) {
        const KOVAEvent* event = &object->record->events[i];
        if (event->hostSlot == slot && strncmp(event->declaration, "StartElement(", 13) == 0)
            return (KOVAFunction)OnStartElement;
    }
    return NULL;
}

static KOVAString ReadFile(const char* path) {
    FILE* file = fopen(path, "rb");
    if (!file) return NULL;
    fseek(file, 0, SEEK_END);
    const long length = ftell(file);
    rewind(file);
    char* bytes = malloc((size_t)length + 1);
    if (!bytes) abort();
    KOVAString text = BuildString(bytes, (int32_t)fread(bytes, 1, (size_t)length, file));
    free(bytes);
    fclose(file);
    return text;
}

int main(int count, char** arguments) {
    void* bundle = count == 3 ? dlopen(arguments[1], RTLD_NOW) : NULL;
    KOVAString text = count == 3 ? ReadFile(arguments[2]) : NULL;
    void (*start)(KOVAResolver) = bundle ? (void (*)(KOVAResolver))dlsym(bundle, "KOVAPluginMain") : NULL;
    if (!start || !text) {
        fprintf(stderr, "usage: host BUNDLE FILE\n");
        return 2;
    }
    start(Resolve);
    KOVAObject reader = PluginNewInstance(FindClass("XmlReader"));
    ((void (*)(KOVAObject))FindMethod("XmlReader", "Constructor()"))(reader);
    ((void (*)(KOVAObject, KOVAString))FindMethod("XmlReader", "Parse(s as String)"))(reader, text);
    const int failed = raised != NULL;
    if (raised)
        printf("line %d: %s (%d)\n", GetInteger(raised, "CurrentLineNumber"), StringBytes(raised->message),
               raised->errorNumber);
    UnlockObject(raised);
    UnlockObject(reader);
    UnlockString(text);
    return failed;
}
