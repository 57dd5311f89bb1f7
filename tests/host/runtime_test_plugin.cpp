// A small plug-in, written against nothing but the interface. TEST_PLUGIN_KIND: 0 is sound, 1 has a faulty class, 2
// speaks an older version.
#include <cstdint>
#include <cstring>
#include <string>

namespace {

using Resolver = void* (*)(const char*);

Resolver resolver = nullptr;

template <typename Function>
Function* Service(const char* name) {
    return reinterpret_cast<Function*>(resolver(name));
}

void* Greet(void*, void* name) {
    std::string text = std::string("Hello ") + Service<const char*(void*)>("StringGetCString")(name);
    void* greeting =
        Service<void*(const char*, int32_t)>("KOVABuildString")(text.c_str(), static_cast<int32_t>(text.size()));
    Service<void(void*, uint32_t)>("KOVASetStringEncoding")(greeting, 0x08000100);
    return greeting;
}

struct MethodRecord {
    void* function;
    void* setter;
    const char* declaration;
    uint32_t rest[3];
};
MethodRecord methods[] = {{reinterpret_cast<void*>(Greet), nullptr, "Greet(name as String) as String", {4, 0, 0}}};

// Class and module records are filled word by word.
uint32_t Word(const void* pointer) { return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(pointer)); }

uint32_t classes[2][25] = {};
uint32_t module[14] = {10};
uint32_t constants[5] = {};

void RegisterNamed(uint32_t* record, const char* name, const char* super) {
    record[0] = 10;
    record[1] = Word(name);
    record[2] = Word(super);
    Service<void(uint32_t*)>("PluginRegisterClass")(record);
}

} // namespace

extern "C" __attribute__((visibility("default"))) void KOVAPluginMain(Resolver hostResolver) {
    resolver = hostResolver;
    Service<void(int32_t)>("RegisterPluginVersion")(TEST_PLUGIN_KIND == 2 ? 9 : 10);
    if (TEST_PLUGIN_KIND == 1) {
        RegisterNamed(classes[0], "Broken", "Nothing");
        RegisterNamed(classes[1], "Sound", nullptr);
    } else if (TEST_PLUGIN_KIND == 0) {
        classes[0][9] = Word(methods);
        classes[0][10] = 1;
        RegisterNamed(classes[0], "Greeter", nullptr);
        constants[0] = Word("POLITE = 1");
        module[1] = Word("Greetings");
        module[4] = Word(constants);
        module[5] = 1;
        Service<void(uint32_t*)>("PluginRegisterModule")(module);
    }
}
