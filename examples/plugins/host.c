// A small host: loads the bundle kova-xml.so, makes an XmlReader and prints the elements of what it reads, or the
// error. Usage: host BUNDLE < FILE
#include "kova_plugin.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

struct KOVAStringRecord {
    int32_t references, length;
    char bytes[]; // and a NUL
};

// Instance data follows; its offset is the same for all classes here, since none of those used inherits any.
struct KOVAObjectRecord {
    int32_t references;
    const KOVAClass* record;
    KOVAString message; // of exceptions: a property of RuntimeException
};

static KOVAClass* classes[64];
static const char* names[64]; // of the classes
static int classCount;
static KOVAObject raised; // the exception that is on its way to the program

// ---- Services -------------------------------------------------------------------------------------------------------

static void RegisterPluginVersion(int32_t version) {
    if (version != KOVA_VERSION) exit(1);
}

// Class references and slots are what a host likes: here they are the addresses of the records.
static void PluginRegisterClass(KOVAClass* record) {
    if (classCount == sizeof classes / sizeof *classes) exit(1);
    names[classCount] = record->name;
    classes[classCount++] = record;
    record->name = (const char*)record;
    record->dataOffset = sizeof(struct KOVAObjectRecord);
    for (int32_t i = 0; i < record->eventCount; ++i) record->events[i].hostSlot = (uintptr_t)&record->events[i];
}

static KOVAObject PluginNewInstance(const void* reference) {
    int i = 0;
    while (i < classCount && classes[i] != reference) ++i;
    if (i == classCount) return NULL; // a class of the framework, by its name
    KOVAObject object = calloc(1, sizeof *object + classes[i]->dataSize);
    if (!object) abort();
    object->references = 1;
    object->record = classes[i];
    if (classes[i]->constructor) classes[i]->constructor(object);
    return object;
}

// Of strings and objects alike.
static void Lock(void* counted) {
    if (counted) ++*(int32_t*)counted;
}

static void UnlockString(KOVAString string) {
    if (string && --string->references == 0) free(string);
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

static int32_t LenB(KOVAString string) { return string ? string->length : 0; }

static KOVAFunction LoadGlobalMethod(KOVAObject object, const char* declaration) {
    (void)object;
    return strcmp(declaration, "LenB( s as string ) as integer") == 0 ? (KOVAFunction)LenB : NULL;
}

static int SetPropString(KOVAObject object, const char* name, KOVAString value) {
    if (strcmp(name, "Message") != 0) return 0;
    Lock(value);
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

// ---- The program ----------------------------------------------------------------------------------------------------

static KOVAFunction FindMethod(const KOVAClass* record, const char* declaration) {
    for (int32_t i = 0; i < record->methodCount; ++i)
        if (strcmp(record->methods[i].declaration, declaration) == 0) return record->methods[i].function;
    exit(1);
}

static int32_t GetInteger(KOVAObject object, const char* name) {
    const KOVAProperty* property = object->record->properties;
    while (strcmp(property->name, name) != 0) ++property;
    return ((int32_t(*)(KOVAObject, uint32_t))property->getter)(object, property->param);
}

static void OnStartElement(KOVAObject reader, KOVAString name, KOVAObject attributes) {
    (void)reader;
    KOVAFunction value = FindMethod(attributes->record, "Value(key as String) as String");
    KOVAString key = BuildString("id", 2);
    KOVAString id = ((KOVAString(*)(KOVAObject, KOVAString))value)(attributes, key);
    printf("%s %s\n", StringBytes(name), StringBytes(id));
    UnlockString(id);
    UnlockString(key);
}

static KOVAFunction EventInstance(KOVAObject object, uint32_t slot) {
    (void)object;
    const KOVAEvent* event = (const KOVAEvent*)(uintptr_t)slot;
    return strncmp(event->declaration, "StartElement(", 13) == 0 ? (KOVAFunction)OnStartElement : NULL;
}

// A service that is not there answers 0, and the plug-in goes on without.
static KOVAFunction Resolve(const char* name) {
#define SERVICE(service, function)                                                                                     \
    if (strcmp(name, service) == 0) return (KOVAFunction)(function)
    SERVICE("RegisterPluginVersion", RegisterPluginVersion);
    SERVICE("PluginRegisterClass", PluginRegisterClass);
    SERVICE("PluginNewInstance", PluginNewInstance);
    SERVICE("KOVALockString", Lock);
    SERVICE("KOVAUnlockString", UnlockString);
    SERVICE("KOVALockObject", Lock);
    SERVICE("KOVAUnlockObject", UnlockObject);
    SERVICE("KOVABuildString", BuildString);
    SERVICE("StringGetCString", StringBytes);
    SERVICE("KOVALoadGlobalMethod", LoadGlobalMethod);
    SERVICE("KOVASetPropValueString", SetPropString);
    SERVICE("RuntimeRaiseException", RaiseException);
    SERVICE("GetEventInstance", EventInstance);
    return NULL;
}

int main(int count, char** arguments) {
    void* bundle = count == 2 ? dlopen(arguments[1], RTLD_NOW) : NULL;
    void (*start)(KOVAResolver) = bundle ? (void (*)(KOVAResolver))dlsym(bundle, "KOVAPluginMain") : NULL;
    if (!start) {
        fprintf(stderr, "usage: host BUNDLE < FILE\n");
        return 2;
    }
    start(Resolve);
    int reading = 0;
    while (reading < classCount && strcmp(names[reading], "XmlReader") != 0) ++reading;
    if (reading == classCount) return 2;
    KOVAObject reader = PluginNewInstance(classes[reading]);
    ((void (*)(KOVAObject))FindMethod(reader->record, "Constructor()"))(reader);
    KOVAFunction parse = FindMethod(reader->record, "Parse(s as String, isFinal as Boolean)");
    char piece[4096];
    while (!raised && !feof(stdin)) {
        KOVAString text = BuildString(piece, (int32_t)fread(piece, 1, sizeof piece, stdin));
        ((void (*)(KOVAObject, KOVAString, int32_t))parse)(reader, text, feof(stdin) != 0);
        UnlockString(text);
    }
    if (raised) printf("line %d: %s\n", GetInteger(raised, "CurrentLineNumber"), StringBytes(raised->message));
    const int failed = raised != NULL;
    UnlockObject(raised);
    UnlockObject(reader);
    return failed;
}
