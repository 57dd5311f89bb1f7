// What the host's side of the plug-in boundary costs: calls both ways, event look-up, strings and objects. The direct
// call of the same function is the measure.
#include "host/runtime/class_program.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/encoding.h"
#include "host/runtime/property.h"
#include "host/runtime/registration.h"
#include "host/runtime/services.h"

#include <benchmark/benchmark.h>

#include <string>

namespace host {

namespace {

template <typename Function>
Function* ServiceNamed(const char* name) {
    return reinterpret_cast<Function*>(ResolveService(name));
}

// Out of line and opaque, as code of a bundle is.
[[gnu::noinline]] int32_t Handle(Object* object, String* name, Object* attributes) {
    benchmark::DoNotOptimize(object);
    benchmark::DoNotOptimize(attributes);
    return name != nullptr ? 1 : 0;
}

EventDefinition events[] = {{"StartElement(name as String, attributes as Source) as Boolean", nullptr, {}}};

const MethodDefinition METHODS[] = {
    {reinterpret_cast<void*>(Handle), nullptr, "Handle(name as String, attributes as Source) as Boolean", 4, {}},
    {reinterpret_cast<void*>(+[](Object*, double a, double b) { return a + b; }),
     nullptr,
     "Add(a as Double, b as Double) as Double",
     4,
     {}},
};

Class* SourceClass() {
    static Class* const cls = [] {
        static ClassDefinition record{};
        record.version = RECORD_VERSION;
        record.name = "Source";
        record.dataSize = 24;
        record.methods = METHODS;
        record.methodCount = 2;
        record.events = events;
        record.eventCount = 1;
        return RegisterClass(record);
    }();
    return cls;
}

// A class whose handler of StartElement is a closure, as a program's is.
Class* ProgramClass() {
    static Class* const cls = [] {
        ClassDescription description;
        description.name = "ProgramSource";
        description.super = SourceClass();
        Class* made = DefineClass(description);
        SetEventHandler(
            made, made->FindEvent("StartElement"),
            [](void*, const Slot* arguments, Slot* result) {
                result->integer = arguments[1].string != nullptr ? 1 : 0;
            },
            nullptr);
        return made;
    }();
    return cls;
}

void DirectCall(benchmark::State& state) {
    ObjectRef object = Create(SourceClass());
    auto* function = Handle;
    benchmark::DoNotOptimize(function);
    for (auto _ : state) benchmark::DoNotOptimize(function(object.Get(), nullptr, object.Get()));
}
BENCHMARK(DirectCall);

void CallOfMethod(benchmark::State& state, const char* name) {
    ObjectRef object = Create(SourceClass());
    const Method* method = SourceClass()->FindMethods(name).at(0);
    Slot arguments[] = {{.object = object.Get()}, {.number = 1}, {.number = 2}};
    Slot result{};
    for (auto _ : state) {
        CallNative(method->shape, method->function, arguments, &result);
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK_CAPTURE(CallOfMethod, words, "Handle");
BENCHMARK_CAPTURE(CallOfMethod, doubles, "Add");

void CallOfClosure(benchmark::State& state) {
    ObjectRef object = Create(ProgramClass());
    auto* handler = reinterpret_cast<int32_t (*)(Object*, String*, Object*)>(
        EventHandlerOf(object.Get(), SourceClass()->FindEvent("StartElement")));
    for (auto _ : state) benchmark::DoNotOptimize(handler(object.Get(), nullptr, object.Get()));
}
BENCHMARK(CallOfClosure);

void GetEventInstance(benchmark::State& state) {
    ObjectRef object = Create(ProgramClass());
    auto* getEventInstance = ServiceNamed<void*(Object*, const void*)>("GetEventInstance");
    for (auto _ : state) benchmark::DoNotOptimize(getEventInstance(object.Get(), events[0].hostSlot));
}
BENCHMARK(GetEventInstance);

void BuildAndUnlockString(benchmark::State& state) {
    auto* build = ServiceNamed<String*(const char*, int32_t)>("KOVABuildString");
    auto* setEncoding = ServiceNamed<void(String*, uint32_t)>("KOVASetStringEncoding");
    auto* unlock = ServiceNamed<void(String*)>("KOVAUnlockString");
    const std::string text(static_cast<size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        String* string = build(text.data(), static_cast<int32_t>(text.size()));
        setEncoding(string, ENCODING_UTF8);
        benchmark::DoNotOptimize(string);
        unlock(string);
    }
}
BENCHMARK(BuildAndUnlockString)->Arg(0)->Arg(8)->Arg(40)->Arg(400)->Arg(10000);

void NewAndUnlockObject(benchmark::State& state) {
    auto* make = ServiceNamed<Object*(const void*)>("PluginNewInstance");
    auto* unlock = ServiceNamed<void(Object*)>("KOVAUnlockObject");
    for (auto _ : state) {
        Object* object = make(SourceClass());
        benchmark::DoNotOptimize(object);
        unlock(object);
    }
}
BENCHMARK(NewAndUnlockObject);

// All that an event of a parser takes: two strings, an object, the look-up and the handler.
void WholeEvent(benchmark::State& state) {
    auto* build = ServiceNamed<String*(const char*, int32_t)>("KOVABuildString");
    auto* unlockString = ServiceNamed<void(String*)>("KOVAUnlockString");
    auto* make = ServiceNamed<Object*(const void*)>("PluginNewInstance");
    auto* unlockObject = ServiceNamed<void(Object*)>("KOVAUnlockObject");
    auto* getEventInstance = ServiceNamed<void*(Object*, const void*)>("GetEventInstance");
    ObjectRef object = Create(ProgramClass());
    for (auto _ : state) {
        String* name = build("glob-deleteall", 14);
        Object* attributes = make(SourceClass());
        if (void* handler = getEventInstance(object.Get(), events[0].hostSlot)) {
            reinterpret_cast<int32_t (*)(Object*, String*, Object*)>(handler)(object.Get(), name, attributes);
        }
        unlockString(name);
        unlockObject(attributes);
    }
}
BENCHMARK(WholeEvent);

void ConvertLatin1ToUTF8(benchmark::State& state) {
    StringRef latin = StringRef::Adopt(BuildString(std::string(10000, '\xE4'), ENCODING_ISO_LATIN1));
    for (auto _ : state) benchmark::DoNotOptimize(ConvertString(latin.Get(), ENCODING_UTF8).Get());
    state.SetBytesProcessed(state.iterations() * 10000);
}
BENCHMARK(ConvertLatin1ToUTF8);

} // namespace

} // namespace host
