#include "tests/host/runtime_fixture.h"

#include <functional>

namespace host::test {

namespace {

using RuntimeClass = RuntimeTest;
using testing::HasSubstr;

TEST_F(RuntimeClass, RegistrationWritesTheRecord) {
    Class* sensor = FindClass("SENSOR");
    ASSERT_NE(sensor, nullptr);
    EXPECT_EQ(SensorRecord().name, sensor);
    EXPECT_EQ(SensorRecord().dataOffset, sensor->dataOffset);
    EXPECT_GE(sensor->dataOffset, static_cast<int32_t>(sizeof(Object)));
    EXPECT_EQ(ChangedEvent().hostSlot, sensor->FindEvent("changed"));
    Class* precise = FindClass("PreciseSensor");
    EXPECT_GE(precise->dataOffset, sensor->dataOffset + sensor->dataSize);
    EXPECT_EQ(precise->dataOffset % 8, 0);
    EXPECT_TRUE(precise->IsA(sensor));
    EXPECT_FALSE(sensor->IsA(precise));
    EXPECT_FALSE(precise->IsA(FindClass("RuntimeException")));
}

TEST_F(RuntimeClass, MembersAreFoundAlongTheChain) {
    Class* precise = FindClass("PreciseSensor");
    EXPECT_EQ(precise->FindMethods("DESCRIBE").size(), 2U);
    EXPECT_EQ(precise->FindMethods("nothing").size(), 0U);
    EXPECT_EQ(std::get<int32_t>(precise->FindConstant("min_level")->value), -100);
    EXPECT_EQ(precise->FindConstant("other"), nullptr);
    EXPECT_EQ(precise->FindMethods("Constructor").size(), 1U) << "of the nearest class that has one";
    EXPECT_TRUE(precise->FindMethods("Constructor")[0]->IsConstructor());
    const Method* mix = precise->FindMethods("Mix")[0];
    EXPECT_EQ(mix->signature.Text(),
              "Mix(a As Double, b As Integer, c As Double, s As String, flag As Boolean) As Double");
}

TEST_F(RuntimeClass, MethodsAreMatchedByDeclaration) {
    auto* load = ServiceNamed<void*(Object*, const char*)>("KOVALoadObjectMethod");
    ObjectRef sensor = Create("PreciseSensor");
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

TEST_F(RuntimeClass, DamagedRecordsAreRefusedByName) {
    RegisterFunctions({}, "Encodings");
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
        {[](auto& r) { r.record.name = "Encodings"; }, "class Encodings: a module of this name exists already"},
        {[](auto& r) { r.record.name = FindClass("Sensor"); }, "class Sensor: its record is registered already"},
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
    EXPECT_TRUE(RemoveClass(RegisterClass(whole.record)));
}

TEST_F(RuntimeClass, ModulesHoldConstantsFunctionsAndProperties) {
    static const ConstantDefinition constants[] = {{"FIRST = 1", {}}, {"LAST = 13", {}}};
    ModuleDefinition record{};
    record.version = RECORD_VERSION;
    record.name = "Kinds";
    record.constants = constants;
    record.constantCount = 2;
    auto* registerModule = ServiceNamed<void(const ModuleDefinition*)>("PluginRegisterModule");
    registerModule(&record);
    EXPECT_THAT(TakeRegistrationErrors(), testing::IsEmpty());
    ASSERT_NE(FindModule("kinds"), nullptr);
    EXPECT_EQ(std::get<int32_t>(FindModule("kinds")->FindConstant("last")->value), 13);

    struct Case {
        int32_t version;
        const char* name;
        int32_t count;
        const char* message;
    };
    const Case cases[] = {
        {RECORD_VERSION, "KINDS", 2, "module KINDS: a module of this name exists already"},
        {RECORD_VERSION, "SENSOR", 2, "module SENSOR: a class of this name exists already"},
        {RECORD_VERSION, nullptr, 2, "module without name"},
        {RECORD_VERSION, "Other", -3, "module Other: the record counts -3 constants"},
        {11, "Other", 2, "module Other: the record is of version 11"},
    };
    for (const Case& test : cases) {
        record.version = test.version;
        record.name = test.name;
        record.constantCount = test.count;
        registerModule(&record);
        EXPECT_THAT(TakeRegistrationErrors(), testing::ElementsAre(HasSubstr(test.message)));
    }

    static auto* answer = +[](Object* object, int32_t param) -> int32_t { return object != nullptr ? -1 : param; };
    static auto* twice = +[](int32_t value) -> int32_t { return 2 * value; };
    const PropertyDefinition properties[] = {{0, "Answer", "Integer", 0, Address(answer), nullptr, 42, {}}};
    const GlobalFunction functions[] = {{"Twice(value as Integer) as Integer", Address(twice)}};
    RegisterModuleProperties(properties, "Kinds");
    Module* module = RegisterFunctions(functions, "Kinds");
    EXPECT_EQ(module, FindModule("Kinds"));
    EXPECT_THROW(RegisterFunctions(functions, "Kinds"), DefinitionError);
    EXPECT_THROW(RegisterModuleProperties(properties, "Kinds"), DefinitionError);
    EXPECT_NE(module->FindProperty("answer"), nullptr);
    Slot result{};
    Slot argument{.integer = 21};
    Method* function = module->FindFunctions("twice").at(0);
    CallNative(function->shape, function->function, &argument, &result);
    EXPECT_EQ(result.integer, 42);
}

TEST_F(RuntimeClass, ProgramClassesServeNativeCallers) {
    static int32_t factor = 3;
    ClassDescription description;
    description.name = "Scaled";
    description.super = FindClass("Sensor");
    description.dataSize = 16;
    description.fields = {{"Total", TypeNamed("Integer"), 0}, {"Mean", TypeNamed("Double"), 8}};
    description.methods = {
        {ParseSignature("Times(value as Double, n as Integer) as Double"), &factor,
         [](void* context, const Slot* arguments, Slot* result) {
             Log().push_back("times " + arguments[0].object->cls->name);
             result->number = arguments[1].number * arguments[2].integer * *static_cast<int32_t*>(context);
         }},
        {ParseSignature("Fault(number as Integer)"), nullptr,
         [](void*, const Slot* arguments, Slot*) { Log().push_back("own " + std::to_string(arguments[1].integer)); }},
    };
    Class* cls = DefineClass(description);
    {
        ObjectRef object = Create(cls);
        auto* load = ServiceNamed<void*(Object*, const char*)>("KOVALoadObjectMethod");
        void* times = load(object.Get(), "Times(value as Double, n as Integer) as Double");
        ASSERT_NE(times, nullptr);
        EXPECT_EQ(reinterpret_cast<double (*)(Object*, double, int32_t)>(times)(object.Get(), 0.5, 4), 6.0);
        EXPECT_EQ(Log().back(), "times Scaled");
        Call(object, "Fault", {8});
        EXPECT_EQ(Log().back(), "own 8") << "a method hides the inherited one";
        int32_t total = 0;
        auto* set = ServiceNamed<int32_t(Object*, const char*, int32_t)>("KOVASetPropValueInt");
        auto* get = ServiceNamed<int32_t(Object*, const char*, int32_t*)>("KOVAGetPropValueInt");
        EXPECT_TRUE(set(object.Get(), "total", 17));
        EXPECT_TRUE(get(object.Get(), "TOTAL", &total));
        EXPECT_EQ(total, 17);
        SetProperty(object, "Mean", 1.5);
        EXPECT_EQ(GetProperty(object, "Mean").Double(), 1.5);
        EXPECT_FALSE(RemoveClass(cls)) << "an object is alive";
        EXPECT_THROW(AddMethod(cls, description.methods[0]), DefinitionError);
    }
    EXPECT_FALSE(RemoveClass(FindClass("Sensor"))) << "it has subclasses";
    EXPECT_TRUE(RemoveClass(cls));
    EXPECT_EQ(FindClass("Scaled"), nullptr);
    description.fields[1].offset = 12;
    EXPECT_THROW(DefineClass(description), DefinitionError);
    EXPECT_EQ(FindClass("Scaled"), nullptr);
}

} // namespace

} // namespace host::test
