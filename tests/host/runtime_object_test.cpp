#include "host/runtime/array.h"
#include "host/runtime/object.h"
#include "host/runtime/property.h"
#include "host/runtime/variant.h"
#include "tests/host/runtime_fixture.h"

#include <sstream>

namespace host::test {

namespace {

using RuntimeObject = RuntimeTest;
using testing::ElementsAre;

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

TEST_F(RuntimeObject, ConstructsBaseFirstAndDestroysDerivedFirst) {
    Object* object = NewObject("precisesensor");
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->cls->name, "PreciseSensor");
    LockObject(object);
    UnlockObject(object);
    EXPECT_THAT(Log(), ElementsAre("construct Sensor", "construct PreciseSensor"));
    Log().clear();
    UnlockObject(object);
    EXPECT_THAT(Log(), ElementsAre("destroy PreciseSensor", "destroy Sensor"));
    EXPECT_EQ(NewObject("NoSuchClass"), nullptr);
}

TEST_F(RuntimeObject, IsMadeByReferenceOrByName) {
    auto* make = ServiceNamed<Object*(const void*)>("PluginNewInstance");
    for (const void* reference : {SensorRecord().name, static_cast<const void*>("Sensor")}) {
        ObjectRef sensor = ObjectRef::Adopt(make(reference));
        ASSERT_TRUE(sensor);
        EXPECT_EQ(sensor.Get()->cls->name, "Sensor");
        EXPECT_EQ(sensor.Get()->references, 1U);
        EXPECT_EQ(DataAt<SensorData>(sensor.Get(), SensorRecord().dataOffset).level, 0);
    }
    EXPECT_EQ(make("NoSuchClass"), nullptr);
    EXPECT_EQ(make(""), nullptr);
    EXPECT_EQ(make(nullptr), nullptr);
}

TEST_F(RuntimeObject, LongChainsAreFreedWithoutDeepRecursion) {
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

TEST_F(RuntimeObject, FinalizersRunBeforeAnyDestructor) {
    LinkClass base(LinkClass::Finalize);
    {
        LinkClass derived(LinkClass::Finalize, base.cls);
        UnlockObject(NewObject(derived.cls));
    }
    EXPECT_THAT(Log(), ElementsAre("finalize", "finalize", "release Link", "release Link"));
}

TEST_F(RuntimeObject, AFinalizerMaySaveTheObjectOnce) {
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

TEST_F(RuntimeObject, ReferencesTakenByADestructorKeepOnlyTheMemory) {
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

TEST_F(RuntimeObject, AFinalizerDoesNotMeetAnEarlierException) {
    LinkClass link([](Object*, Class*) {
        Log().emplace_back(IsExceptionPending() ? "pending" : "clear");
        RaiseNew("NilObjectException", 2, "later");
    });
    RaiseNew("RuntimeException", 1, "first");
    UnlockObject(NewObject(link.cls));
    EXPECT_EQ(Log().front(), "clear");
    EXPECT_EQ(ProgramException(TakePendingException()).number, 1);
}

TEST_F(RuntimeObject, ReportsWhatIsAliveByClass) {
    LiveCounts before = CountLive();
    {
        ObjectRef one = Create("Sensor");
        ObjectRef two = Create("Sensor");
        StringRef text("text");
        Value box = Value::Adopt(Kind::VARIANT, {.object = BoxInteger(1)});
        std::ostringstream out;
        EXPECT_TRUE(ReportLeaks(out, before));
        EXPECT_EQ(out.str(), "still alive: 1 string\nstill alive: 2 Sensor\nstill alive: 1 Integer in a Variant\n");
    }
    std::ostringstream out;
    EXPECT_FALSE(ReportLeaks(out, before));
    EXPECT_EQ(out.str(), "");
}

TEST_F(RuntimeObject, PropertiesByEveryAccess) {
    ObjectRef sensor = Create("PreciseSensor");
    SetProperty(sensor, "level", 5);
    EXPECT_EQ(GetProperty(sensor, "LEVELONLY").Integer(), 5);
    SetProperty(sensor, "Secret", 3);
    EXPECT_EQ(GetProperty(sensor, "Level").Integer(), -3);
    SetProperty(sensor, "Label", "north");
    EXPECT_EQ(GetProperty(sensor, "Label").Text(), "north");
    EXPECT_THAT(Log(), testing::Contains("set label 42")) << "the accessor gets its parameter word";
    SetProperty(sensor, "Scale", 0.25);
    EXPECT_EQ(GetProperty(sensor, "Scale").Double(), 0.25);
    ObjectRef peer = Create("Sensor");
    SetProperty(sensor, "Peer", peer);
    EXPECT_EQ(peer.Get()->references, 2U);
    EXPECT_EQ(GetProperty(sensor, "Peer").GetObject().Get(), peer.Get());
    SetProperty(sensor, "Peer", {});
    EXPECT_EQ(peer.Get()->references, 1U);

    EXPECT_THROW(GetProperty(sensor, "Secret"), DefinitionError);
    EXPECT_THROW(SetProperty(sensor, "LevelOnly", 1), DefinitionError);
    EXPECT_THROW(SetProperty(sensor, "Level", "x"), DefinitionError);
    EXPECT_THROW(GetProperty(sensor, "Depth"), DefinitionError);
    EXPECT_THROW(GetProperty({}, "Level"), DefinitionError);
}

TEST_F(RuntimeObject, PropertyServicesTellSuccess) {
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

TEST_F(RuntimeObject, ArraysOwnTheirElements) {
    Value strings(std::vector<std::string>{"a", "b"});
    Array* array = AsArray(strings.GetObject().Get());
    auto* upperBound = ServiceNamed<int32_t(Object*)>("RuntimeUBound");
    auto* read = ServiceNamed<String*(Object*, int32_t)>("RuntimeDirectReadStringArray");
    EXPECT_EQ(upperBound(array), 1);
    EXPECT_EQ(read(array, 1)->View(), "b");
    EXPECT_EQ(read(array, 1)->references, 1U) << "borrowed";
    EXPECT_EQ(upperBound(nullptr), -1);
    for (int32_t index : {-1, 2}) {
        EXPECT_EQ(read(array, index), nullptr);
        EXPECT_EQ(ProgramException(TakePendingException()).className, "OutOfBoundsException");
    }

    EXPECT_TRUE(ArrayInsert(array, 0, {.string = StringRef("z").Detach()}));
    EXPECT_TRUE(ArrayInsert(array, 3, {.string = StringRef("y").Detach()}));
    EXPECT_EQ(StringRef::Adopt(ArrayTake(array, 1).string).View(), "a");
    ArraySet(array, 0, {.string = nullptr});
    EXPECT_TRUE(ArrayResize(array, 10));
    EXPECT_EQ(ArrayGet(array, 9).string, nullptr);
    EXPECT_EQ(StringView(ArrayGet(array, 2).string), "y");
    EXPECT_TRUE(ArrayResize(array, 2));
    EXPECT_EQ(upperBound(array), 1);

    ObjectRef numbers = ObjectRef::Adopt(NewArray(TypeNamed("Double"), 3));
    ArraySet(AsArray(numbers.Get()), 2, {.number = 0.5});
    EXPECT_EQ(AsArray(numbers.Get())->Numbers()[2], 0.5);
    EXPECT_EQ(read(numbers.Get(), 0), nullptr) << "no array of strings";
    EXPECT_EQ(ProgramException(TakePendingException()).className, "OutOfBoundsException");
    EXPECT_FALSE(ArrayResize(AsArray(numbers.Get()), 0x7FFFFFFF));
    EXPECT_EQ(ProgramException(TakePendingException()).className, "OutOfMemoryException");
    EXPECT_EQ(ArrayClass(TypeNamed("STRING")), array->cls) << "one class for each element type";
    EXPECT_EQ(FindClass("String()"), nullptr);
}

TEST_F(RuntimeObject, VariantsTellWhatTheyHold) {
    StringRef text("text");
    ObjectRef integer = ObjectRef::Adopt(BoxInteger(-5));
    ObjectRef boolean = ObjectRef::Adopt(BoxBoolean(-1));
    ObjectRef number = ObjectRef::Adopt(BoxDouble(2.5));
    ObjectRef string = ObjectRef::Adopt(BoxString(text.Get()));
    ObjectRef sensor = Create("Sensor");
    EXPECT_EQ(VariantKind(nullptr), Kind::NOTHING);
    EXPECT_EQ(VariantKind(sensor.Get()), Kind::OBJECT);
    EXPECT_EQ(VariantKind(integer.Get()), Kind::INTEGER);
    EXPECT_EQ(VariantKind(boolean.Get()), Kind::BOOLEAN);
    EXPECT_EQ(UnboxInteger(integer.Get()), -5);
    EXPECT_EQ(UnboxInteger(boolean.Get()), -1) << "the word is kept";
    EXPECT_EQ(UnboxDouble(number.Get()), 2.5);
    EXPECT_EQ(UnboxString(string.Get()), text.Get());
    EXPECT_EQ(text.Get()->references, 2U);
}

} // namespace

} // namespace host::test
