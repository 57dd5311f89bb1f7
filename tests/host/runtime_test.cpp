// What plug-ins and programs' objects can do to the runtime that no program shows: calls by address, records with
// faults, references, and what is lent.
#include "host/runtime/array.h"
#include "host/runtime/call.h"
#include "host/runtime/encoding.h"
#include "host/runtime/object.h"
#include "host/runtime/plugin.h"
#include "host/runtime/property.h"
#include "host/runtime/string.h"
#include "host/runtime/utf8.h"
#include "tests/host/runtime_fixture.h"

#include <functional>

namespace host::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A program class with one field, Next, released by its destructor.
struct LinkClass {
    static inline Object* saved = nullptr;
    static inline int finalized = 0;
    static inline bool saves = false;
    Class* cls;

    explicit LinkClass(ClassHook finalizer = nullptr, Class* super = nullptr) {
        static int count = 0;
        finalized = 0;
        saves = false;
        ClassDescription description;
        description.name = "Link" + std::to_string(++count);
        description.super = super;
        description.dataSize = 4;
        description.finalizer = finalizer;
        description.destructor = [](Object* object, Class* level) {
            Log().push_back("release " + level->name.substr(0, 4));
            UnlockObject(Next(object, level));
        };
        description.fields = {{"Next", TypeNamed("Link"), 0}};
        cls = DefineClass(description);
    }
    ~LinkClass() { EXPECT_TRUE(RemoveClass(cls)); }

    static Object*& Next(Object* object, Class* level) { return DataAt<Object*>(object, level->dataOffset); }

    static void Finalize(Object* object, Class*) {
        ++finalized;
        Log().emplace_back("finalize");
        if (!saves) return;
        LockObject(object);
        saved = object;
    }
};

TEST_F(RuntimeTest, LongChainsAreFreedWithoutDeepRecursion) {
    LinkClass link;
    Object* head = nullptr;
    for (int i = 0; i < 1000000; ++i) {
        Object* object = NewObject(link.cls);
        LinkClass::Next(object, link.cls) = head;
        head = object;
    }
    EXPECT_EQ(link.cls->liveCount, 1000000U);
    UnlockObject(head);
    EXPECT_EQ(link.cls->liveCount, 0U);
}

TEST_F(RuntimeTest, FinalizersRunBeforeAnyDestructor) {
    LinkClass base(LinkClass::Finalize);
    {
        LinkClass derived(LinkClass::Finalize, base.cls);
        UnlockObject(NewObject(derived.cls));
    }
    EXPECT_THAT(Log(), ElementsAre("finalize", "finalize", "release Link", "release Link"));
}

TEST_F(RuntimeTest, AFinalizerMaySaveTheObjectOnce) {
    LinkClass link(LinkClass::Finalize);
    LinkClass::saves = true;
    Object* object = NewObject(link.cls);
    UnlockObject(object);
    ASSERT_EQ(LinkClass::saved, object);
    EXPECT_EQ(link.cls->liveCount, 1U);
    EXPECT_THAT(Log(), ElementsAre("finalize")) << "its data is whole";
    LockObject(object);
    UnlockObject(object);
    UnlockObject(object);
    EXPECT_EQ(link.cls->liveCount, 0U);
    EXPECT_THAT(Log(), ElementsAre("finalize", "release Link"));
}

TEST_F(RuntimeTest, ReferencesTakenByADestructorKeepOnlyTheMemory) {
    static Object* kept = nullptr;
    ClassDescription description;
    description.name = "Keeper";
    description.destructor = [](Object* object, Class*) {
        LockObject(object);
        UnlockObject(object);
        Log().emplace_back("destroy");
        LockObject(object);
        kept = object;
    };
    Class* cls = DefineClass(description);
    UnlockObject(NewObject(cls));
    EXPECT_EQ(cls->liveCount, 1U) << "its memory is still referred to";
    UnlockObject(kept); // frees the memory, destroys nothing again
    EXPECT_THAT(Log(), ElementsAre("destroy"));
    EXPECT_TRUE(RemoveClass(cls));
}

TEST_F(RuntimeTest, AFinalizerDoesNotMeetAnEarlierException) {
    LinkClass link([](Object*, Class*) {
        Log().emplace_back(IsExceptionPending() ? "pending" : "clear");
        RaiseNew("NilObjectException", 2, "later");
    });
    RaiseNew("RuntimeException", 1, "first");
    UnlockObject(NewObject(link.cls));
    EXPECT_EQ(Log().front(), "clear");
    EXPECT_EQ(ProgramException(TakePendingException()).number, 1);
}

TEST_F(RuntimeTest, PropertyServicesTellSuccess) {
    auto* get = ServiceNamed<int32_t(Object*, const char*, int32_t*)>("KOVAGetPropValueInt");
    auto* set = ServiceNamed<int32_t(Object*, const char*, int32_t)>("KOVASetPropValueInt");
    auto* setString = ServiceNamed<int32_t(Object*, const char*, String*)>("KOVASetPropValueString");
    ObjectRef sensor = Create("Sensor");
    LinkClass program(nullptr, sensor.Get()->cls);
    ObjectRef derived = Create(program.cls);
    for (Object* object : {sensor.Get(), derived.Get()}) {
        int32_t value = 99;
        EXPECT_TRUE(set(object, "LEVEL", 12));
        EXPECT_TRUE(get(object, "level", &value));
        EXPECT_EQ(value, 12);
        value = 99;
        EXPECT_FALSE(get(object, "label", &value)) << "a String";
        EXPECT_FALSE(get(object, "secret", &value)) << "write-only";
        EXPECT_FALSE(get(object, "length", &value));
        EXPECT_FALSE(get(object, nullptr, &value));
        EXPECT_EQ(value, 99);
        EXPECT_FALSE(set(object, "levelonly", 1)) << "read-only";
        StringRef text("label");
        EXPECT_TRUE(setString(object, "label", text.Get()));
        EXPECT_EQ(text.Get()->references, 2U);
        EXPECT_FALSE(setString(object, "level", text.Get()));
        EXPECT_TRUE(setString(object, "label", nullptr));
    }
    int32_t value = 0;
    EXPECT_FALSE(get(nullptr, "level", &value));
    EXPECT_FALSE(set(nullptr, "level", 1));
}

TEST_F(RuntimeTest, ArraysAreReadByNativeCallers) {
    Value strings(std::vector<std::string>{"a", "b"});
    Object* array = strings.GetObject().Get();
    auto* upperBound = ServiceNamed<int32_t(Object*)>("RuntimeUBound");
    auto* read = ServiceNamed<String*(Object*, int32_t)>("RuntimeDirectReadStringArray");
    EXPECT_EQ(upperBound(array), 1);
    EXPECT_EQ(upperBound(nullptr), -1);
    EXPECT_EQ(read(array, 1)->View(), "b");
    EXPECT_EQ(read(array, 1)->references, 1U) << "borrowed";
    ObjectRef numbers = ObjectRef::Adopt(NewArray(TypeNamed("Double"), 3));
    const std::pair<Object*, int32_t> CASES[] = {{array, -1}, {array, 2}, {numbers.Get(), 0}};
    for (auto [object, index] : CASES) {
        EXPECT_EQ(read(object, index), nullptr);
        EXPECT_EQ(ProgramException(TakePendingException()).className, "OutOfBoundsException");
    }
}

TEST_F(RuntimeTest, MethodsAreMatchedByDeclaration) {
    auto* load = ServiceNamed<void*(Object*, const char*)>("KOVALoadObjectMethod");
    ObjectRef sensor = Create("Sensor");
    const char* const found[] = {
        "Describe(value as Integer) as String", "describe( x AS integer )as string", "Fault(number as integer)",
        "Constructor(level as Integer, label as String)", // defaults and names of parameters do not count
    };
    for (const char* declaration : found) EXPECT_NE(load(sensor.Get(), declaration), nullptr) << declaration;
    EXPECT_NE(load(sensor.Get(), found[0]), load(sensor.Get(), "Describe(value as String) as String"));
    EXPECT_EQ(load(sensor.Get(), found[0]), load(sensor.Get(), found[1]));
    const char* const missing[] = {
        "Describe(value as Integer)",
        "Describe(value as Double) as String",
        "Describe(value() as Integer) as String",
        "Describe(ByRef value as Integer) as String",
        "Describe() as String",
        "Close()",
        "not a declaration (",
        "",
    };
    for (const char* declaration : missing) EXPECT_EQ(load(sensor.Get(), declaration), nullptr) << declaration;
    EXPECT_EQ(load(sensor.Get(), nullptr), nullptr);
    EXPECT_EQ(load(nullptr, found[0]), nullptr);

    auto* loadGlobal = ServiceNamed<void*(Object*, const char*)>("KOVALoadGlobalMethod");
    auto* lenB = reinterpret_cast<int32_t (*)(String*)>(loadGlobal(nullptr, "LenB( s as string ) as integer"));
    ASSERT_NE(lenB, nullptr);
    EXPECT_EQ(lenB(StringRef("abc").Get()), 3);
    EXPECT_EQ(loadGlobal(nullptr, "LenC( s as string ) as integer"), nullptr);
}

// A record without fault, which each case below damages in one place.
struct DamagedRecord {
    static int32_t Get(Object*, int32_t) { return 0; }
    static void Do(Object*) {}

    PropertyDefinition properties[2] = {{0, "Size", "Integer", 4, Address(Get), nullptr, 0, {}},
                                        {0, "Count", "Integer", 4, DIRECT, DIRECT, 4, {}}};
    MethodDefinition methods[2] = {{Address(Do), nullptr, "Run()", 4, {}}, {Address(Do), nullptr, "Stop()", 4, {}}};
    EventDefinition events[2] = {{"Started()", nullptr, {}}, {"Stopped()", nullptr, {}}};
    ConstantDefinition constants[2] = {{"ONE = 1", {}}, {"TWO = 2", {}}};
    ClassDefinition record{};

    DamagedRecord() {
        record.version = RECORD_VERSION;
        record.name = "Damaged";
        record.dataSize = 8;
        record.properties = properties;
        record.methods = methods;
        record.events = events;
        record.constants = constants;
        record.propertyCount = record.methodCount = record.eventCount = record.constantCount = 2;
    }
};

TEST_F(RuntimeTest, DamagedRecordsAreRefusedByName) {
    struct Case {
        std::function<void(DamagedRecord&)> damage;
        const char* message;
    };
    const Case cases[] = {
        {[](auto& r) { r.record.name = nullptr; }, "class without name"},
        {[](auto& r) { r.record.name = ""; }, "\"\" is no name of a class"},
        {[](auto& r) { r.record.name = "Two Words"; }, "\"Two Words\" is no name of a class"},
        {[](auto& r) { r.record.name = "Integer"; }, "class Integer: the name is that of a built-in type"},
        {[](auto& r) { r.record.name = "sensor"; }, "class sensor: a class of this name exists already"},
        {[](auto& r) { r.record.version = 9; },
         "class Damaged: the record is of version 9, this host reads version 10"},
        {[](auto& r) { r.record.superclass = "Nobody"; }, "class Damaged: its superclass Nobody is not registered"},
        {[](auto& r) { r.record.dataSize = -4; }, "class Damaged: the data size is -4"},
        {[](auto& r) { r.record.dataSize = 0x7FFFFFFF; }, "class Damaged: the data size of 2147483647 bytes"},
        {[](auto& r) { r.record.propertyCount = -1; }, "class Damaged: the record counts -1 properties"},
        {[](auto& r) { r.record.methodCount = 0x7FFFFFFF; }, "class Damaged: the record counts 2147483647 methods"},
        {[](auto& r) { r.record.events = nullptr; }, "counts 2 events but has no table of them"},
        {[](auto& r) { r.properties[1].name = nullptr; }, "class Damaged: property without name"},
        {[](auto& r) { r.properties[1].name = "a b"; }, "property \"a b\": the property has no valid name"},
        {[](auto& r) { r.properties[1].type = nullptr; }, "property \"Count\": the property has no type"},
        {[](auto& r) { r.properties[1].type = "()"; }, "property \"Count\": \"()\" is no type"},
        {[](auto& r) { r.properties[1].type = "1x"; }, "property \"Count\": \"1x\" is no type"},
        {[](auto& r) { r.properties[0].getter = nullptr; }, "property \"Size\": the property can be neither read nor"},
        {[](auto& r) { r.properties[1].param = 8; }, "its field at offset 8 is not within the 8 bytes"},
        {[](auto& r) { r.properties[1].param = -4; }, "property \"Count\": its field at offset -4"},
        {[](auto& r) { r.properties[1].type = "Double"; }, "property \"Count\": its field at offset 4"},
        {[](auto& r) { r.properties[1].name = "SIZE"; }, "property \"SIZE\": the class has a property of this name"},
        {[](auto& r) { r.methods[1].declaration = nullptr; }, "method without name: the declaration is missing"},
        {[](auto& r) { r.methods[1].declaration = "Stop("; }, "class Damaged: method \"Stop(\": declaration"},
        {[](auto& r) { r.methods[1].function = nullptr; }, "method \"Stop()\": the method has no function"},
        {[](auto& r) { r.methods[1].declaration = "RUN( )"; },
         "method \"RUN( )\": the class has a method of this name"},
        {[](auto& r) { r.methods[1].setter = r.methods[1].function; }, "a method without result cannot be assigned to"},
        {[](auto& r) { r.events[1].declaration = nullptr; }, "event without name"},
        {[](auto& r) { r.events[1].declaration = "Stopped(x)"; }, "event \"Stopped(x)\""},
        {[](auto& r) { r.events[1].declaration = "started()"; }, "the class has an event of this name already"},
        {[](auto& r) { r.constants[1].declaration = nullptr; }, "constant without name"},
        {[](auto& r) { r.constants[1].declaration = "TWO"; }, "constant \"TWO\": column"},
        {[](auto& r) { r.constants[1].declaration = "one = 3"; }, "there is a constant of this name already"},
    };
    for (const Case& test : cases) {
        DamagedRecord damaged;
        test.damage(damaged);
        const void* name = damaged.record.name;
        ServiceNamed<void(ClassDefinition*)>("PluginRegisterClass")(&damaged.record);
        EXPECT_THAT(TakeRegistrationErrors(), testing::ElementsAre(HasSubstr(test.message)));
        EXPECT_EQ(damaged.record.name, name) << test.message;
        EXPECT_EQ(damaged.record.dataOffset, 0) << test.message;
        EXPECT_EQ(damaged.events[0].hostSlot, nullptr) << test.message;
        EXPECT_EQ(FindClass("Damaged"), nullptr);
    }
    ServiceNamed<void(ClassDefinition*)>("PluginRegisterClass")(nullptr);
    EXPECT_THAT(TakeRegistrationErrors(), testing::ElementsAre("class without record"));
    DamagedRecord whole;
    Class* registered = RegisterClass(whole.record);
    ServiceNamed<void(ClassDefinition*)>("PluginRegisterClass")(&whole.record);
    EXPECT_THAT(TakeRegistrationErrors(), testing::ElementsAre("class Damaged: its record is registered already"));
    EXPECT_TRUE(RemoveClass(registered));
}

TEST_F(RuntimeTest, DamagedModulesAreRefusedByName) {
    static const ConstantDefinition constants[] = {{"FIRST = 1", {}}, {"LAST = 13", {}}};
    ModuleDefinition record{};
    record.constants = constants;
    struct Case {
        int32_t version;
        const char* name;
        int32_t count;
        std::vector<std::string> errors;
    };
    const Case cases[] = {
        {RECORD_VERSION, "Kinds", 2, {}},
        {RECORD_VERSION, "KINDS", 2, {"module KINDS: a module of this name exists already"}},
        {RECORD_VERSION, nullptr, 2, {"module without name"}},
        {RECORD_VERSION, "Other", -3, {"module Other: the record counts -3 constants"}},
        {11, "Other", 2, {"module Other: the record is of version 11, this host reads version 10"}},
    };
    for (const Case& test : cases) {
        record.version = test.version;
        record.name = test.name;
        record.constantCount = test.count;
        ServiceNamed<void(const ModuleDefinition*)>("PluginRegisterModule")(&record);
        EXPECT_EQ(TakeRegistrationErrors(), test.errors);
    }
}

TEST_F(RuntimeTest, PassesEveryKindOfArgument) {
    ObjectRef sensor = Create("Sensor", {7, "north"});
    EXPECT_EQ(Call(sensor, "Mix", {0.5, 2, 3.0, "four", true}).Double(), 0.5 + 20 + 300 + 4000 + 10000 + 7);
    EXPECT_EQ(Call(sensor, "Keep", {sensor}).Integer(), -1) << "the word of a Boolean is kept";
    EXPECT_EQ(sensor.Get()->references, 2U);
    Call(sensor, "Keep", {Value()});
    EXPECT_EQ(sensor.Get()->references, 1U) << "arguments are borrowed";
    Assign(sensor, "Slot", {3}, "12345");
    EXPECT_EQ(Call(sensor, "Slot", {1}).Text(), "1=305");
}

TEST_F(RuntimeTest, PassesMoreArgumentsThanTheStackBlockHolds) {
    constexpr size_t COUNT = 40;
    static double sum = 0;
    std::vector<Kind> kinds(COUNT, Kind::DOUBLE);
    kinds[1] = Kind::INTEGER;
    const CallShape* shape = ShapeOf(kinds, Kind::DOUBLE);
    EXPECT_EQ(ShapeOf(kinds, Kind::DOUBLE), shape) << "shapes are shared";
    Closure closure(
        shape,
        [](void*, const Slot* arguments, Slot* result) {
            sum = arguments[1].integer;
            for (size_t i = 0; i < COUNT; ++i) sum += i == 1 ? 0 : arguments[i].number;
            result->number = sum / 2;
        },
        nullptr);
    std::vector<Slot> slots(COUNT);
    for (Slot& slot : slots) slot.number = 1.25;
    slots[1].integer = 1000;
    Slot result{};
    CallNative(shape, closure.Function(), slots.data(), &result);
    EXPECT_EQ(sum, 1000 + 39 * 1.25);
    EXPECT_EQ(result.number, sum / 2);
}

TEST_F(RuntimeTest, GetEventInstanceIsSafeWithForeignObjects) {
    auto* getEventInstance = ServiceNamed<void*(Object*, const void*)>("GetEventInstance");
    HandlerClass loud("Sensor");
    loud.On("Measured", [](const ObjectRef&, Arguments) { return Value(1.0); });
    static EventDefinition otherEvents[] = {{"A()", nullptr, {}}, {"B()", nullptr, {}}, {"C()", nullptr, {}}};
    ClassDefinition record{};
    record.version = RECORD_VERSION;
    record.name = "OtherSource";
    record.events = otherEvents;
    record.eventCount = 3;
    Class* other = RegisterClass(record);
    {
        ObjectRef sensor = loud.Create();
        ObjectRef stranger = Create("RuntimeException");
        ObjectRef source = Create("OtherSource");
        EXPECT_NE(getEventInstance(sensor.Get(), MeasuredEvent().hostSlot), nullptr);
        EXPECT_EQ(getEventInstance(sensor.Get(), ChangedEvent().hostSlot), nullptr);
        EXPECT_EQ(getEventInstance(stranger.Get(), MeasuredEvent().hostSlot), nullptr);
        EXPECT_EQ(getEventInstance(source.Get(), MeasuredEvent().hostSlot), nullptr);
        EXPECT_EQ(getEventInstance(sensor.Get(), otherEvents[1].hostSlot), nullptr);
        EXPECT_EQ(getEventInstance(sensor.Get(), otherEvents[2].hostSlot), nullptr);
        EXPECT_EQ(getEventInstance(nullptr, MeasuredEvent().hostSlot), nullptr);
        EXPECT_EQ(getEventInstance(sensor.Get(), nullptr), nullptr) << "of a record that is not registered";
    }
    EXPECT_TRUE(RemoveClass(other));
}

TEST_F(RuntimeTest, NativeCallersReachProgramCodeWhileAnExceptionIsPending) {
    static bool wasPending = true;
    Closure closure(
        ShapeOf({}, Kind::NOTHING),
        [](void*, const Slot*, Slot*) {
            wasPending = IsExceptionPending();
            RaiseNew("NilObjectException", 2, {});
        },
        nullptr);
    RaiseNew("RuntimeException", 1, {});
    reinterpret_cast<void (*)()>(closure.Function())();
    EXPECT_FALSE(wasPending);
    EXPECT_EQ(ProgramException(TakePendingException()).number, 1);
}

StringRef Bytes(std::string_view bytes, uint32_t encoding) { return StringRef::Adopt(BuildString(bytes, encoding)); }

TEST_F(RuntimeTest, RaisesWhenMemoryIsMissing) {
    EXPECT_EQ(AllocateString(0xFFFFFFFE, 0), nullptr);
    EXPECT_THROW(ThrowPending(), ProgramException);
}

TEST_F(RuntimeTest, ConvertsLongTextAcrossBufferEdges) {
    // Each length puts a character of two bytes across another edge of the converter's buffers.
    for (size_t length : {4095U, 4096U, 4097U, 100000U}) {
        StringRef latin = Bytes(std::string(length, '\xE4'), ENCODING_ISO_LATIN1);
        StringRef utf8 = ConvertString(latin.Get(), ENCODING_UTF8);
        EXPECT_EQ(utf8.Get()->length, 2 * length);
        EXPECT_EQ(CompareStrings(latin.Get(), utf8.Get()), 0) << length;
        EXPECT_EQ(ConvertString(utf8.Get(), ENCODING_ISO_LATIN1).View(), latin.View());
    }
}

TEST_F(RuntimeTest, LendsConvertedStringsForOneNativeCall) {
    ObjectRef sensor = Create("Sensor");
    const uint32_t before = LiveStringCount();
    EXPECT_EQ(Call(sensor, "UTF16Length", {Bytes("\xE4", ENCODING_ISO_LATIN1)}).Integer(), 4); // with byte order mark
    EXPECT_EQ(LiveStringCount(), before);

    String* lent = ConvertStringPooled(Bytes("\xE4", ENCODING_ISO_LATIN1).Get(), ENCODING_UTF8);
    EXPECT_EQ(lent->View(), "\xC3\xA4");
    EXPECT_EQ(Call(sensor, "UTF16Length", {"x"}).Integer(), 4);
    EXPECT_EQ(lent->View(), "\xC3\xA4") << "a call releases only what was lent in it";
    ReleaseConversionPool(0);
}

TEST_F(RuntimeTest, TellsValidUTF8) {
    struct Case {
        std::string_view bytes;
        bool valid;
    };
    const Case cases[] = {
        {"", true},
        {"a\x7F", true},
        {"\xC2\x80", true},
        {"\xEF\xBF\xBF", true},
        {"\xF4\x8F\xBF\xBF", true},
        {"\x80", false},
        {"\xC0\x80", false},         // overlong
        {"\xE0\x9F\xBF", false},     // overlong
        {"\xF0\x8F\xBF\xBF", false}, // overlong
        {"\xED\xA0\x80", false},     // surrogate
        {"\xF4\x90\x80\x80", false}, // above U+10FFFF
        {"\xE2\x82", false},         // cut off
        {"\xE2\x82z", false},
    };
    for (const Case& test : cases) EXPECT_EQ(IsValidUTF8(test.bytes), test.valid) << testing::PrintToString(test.bytes);
}

std::string LoadError(const std::string& path) {
    try {
        LoadPlugin(path);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "loaded";
}

TEST_F(RuntimeTest, LoadsABundleOnce) {
    const Plugin& plugin = LoadPlugin(TEST_PLUGIN);
    EXPECT_EQ(plugin.version, 10);
    ASSERT_EQ(plugin.classes.size(), 1U);
    EXPECT_EQ(plugin.classes[0]->name, "Greeter");
    ASSERT_EQ(plugin.modules.size(), 1U);
    EXPECT_EQ(plugin.modules[0]->name, "Greetings");
    Value text = Call(Create("Greeter"), "Greet", {"World"});
    EXPECT_EQ(text.Text(), "Hello World");
    EXPECT_EQ(text.GetString().Get()->encoding, ENCODING_UTF8);
    EXPECT_THAT(LoadError(TEST_PLUGIN), HasSubstr("the plug-in is loaded already"));
}

TEST_F(RuntimeTest, SaysWhyABundleCannotBeUsed) {
    EXPECT_EQ(LoadError("/no/such/plugin.so"), "/no/such/plugin.so: No such file or directory");
    EXPECT_THAT(LoadError(KOVA_SOURCE_DIR "/CMakeLists.txt"), HasSubstr("cannot be loaded as a plug-in: "));
    EXPECT_THAT(LoadError(KOVA_SYSROOT "/usr/lib/i386-linux-gnu/libxml2.so"),
                HasSubstr("this is no plug-in: it has no function KOVAPluginMain"));
    std::string error = LoadError(TEST_FAULTY_PLUGIN);
    EXPECT_THAT(error, HasSubstr("the plug-in has wrong definitions:\n  class Broken: its superclass Nothing"));
    EXPECT_NE(FindClass("Sound"), nullptr) << "what has no fault stays";
    EXPECT_THAT(LoadError(TEST_OLD_PLUGIN),
                HasSubstr("the plug-in speaks version 9 of the interface, this host version 10"));
}

} // namespace

} // namespace host::test
