// A small plug-in: the class WordCounter, which counts words and tells each of them by an event.
#include "kova_plugin.h"

#include <string.h>

static KOVAResolver resolve;

// A service as a function: result and parameters as docs/plugins.md lists them.
#define SERVICE(name, result, ...) ((result(*)(__VA_ARGS__))resolve(name))

typedef struct {
    int32_t total;
} Data;

static KOVAEvent events[] = {{.declaration = "Found(word as String)"}};

static int32_t CountWords(KOVAObject self, KOVAString text);
static KOVAMethod methods[] = {
    {.function = (KOVAFunction)CountWords, .declaration = "Count(text as String) as Integer", .flags = KOVA_FLAGS},
};
// The host reads the field itself.
static KOVAProperty properties[] = {
    {.name = "Total", .type = "Integer", .flags = KOVA_FLAGS, .getter = (KOVAFunction)KOVA_DIRECT, .param = 0},
};
static KOVAClass wordCounter = {
    .version = KOVA_VERSION,
    .name = "WordCounter",
    .dataSize = sizeof(Data),
    .properties = properties,
    .propertyCount = 1,
    .methods = methods,
    .methodCount = 1,
    .events = events,
    .eventCount = 1,
    .flags = KOVA_FLAGS,
};

static int32_t CountWords(KOVAObject self, KOVAString text) {
    Data* data = (Data*)((char*)self + wordCounter.dataOffset);
    void (*found)(KOVAObject, KOVAString) = (void (*)(KOVAObject, KOVAString))SERVICE(
        "GetEventInstance", KOVAFunction, KOVAObject, uint32_t)(self, events[0].hostSlot);
    const char* rest = SERVICE("StringGetCString", const char*, KOVAString)(text);
    int32_t count = 0;
    while (*(rest += strspn(rest, " \t\r\n")) != '\0') {
        const size_t length = strcspn(rest, " \t\r\n");
        if (found) {
            KOVAString word = SERVICE("KOVABuildString", KOVAString, const char*, int32_t)(rest, (int32_t)length);
            SERVICE("KOVASetStringEncoding", void, KOVAString, uint32_t)(word, KOVA_UTF8);
            found(self, word);
            SERVICE("KOVAUnlockString", void, KOVAString)(word); // made here, given back here
        }
        ++count;
        rest += length;
    }
    data->total += count;
    return count;
}

// The one function that a plug-in exports; called once.
__attribute__((visibility("default"))) void KOVAPluginMain(KOVAResolver resolver) {
    resolve = resolver;
    SERVICE("RegisterPluginVersion", void, int32_t)(KOVA_VERSION);
    SERVICE("PluginRegisterClass", void, KOVAClass*)(&wordCounter);
}
