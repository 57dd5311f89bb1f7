#include "host/runtime/call.h"
#include "host/runtime/encoding.h"
#include "tests/host/runtime_fixture.h"

namespace host::test {

namespace {

using RuntimeCall = RuntimeTest;
using testing::ElementsAre;

TEST_F(RuntimeCall, PassesEveryKindOfArgument) {
    ObjectRef sensor = Create("Sensor", {7, "north"});
    EXPECT_EQ(Call(sensor, "Mix", {0.5, 2, 3.0, "four", true}).Double(), 0.5 + 20 + 300 + 4000 + 10000 + 7);
    EXPECT_EQ(Call(sensor, "Describe", {5}).Text(), "number 5");
    EXPECT_EQ(Call(sensor, "Describe", {"five"}).Text(), "text five");
    EXPECT_EQ(Call(sensor, "Describe(value as String) as String", {Value()}).Text(), "text ");
    EXPECT_EQ(Call(sensor, "Keep", {sensor}).Integer(), -1) << "the word of a Boolean is kept";
    EXPECT_EQ(sensor.Get()->references, 2U);
    Call(sensor, "Keep", {Value()});
    EXPECT_EQ(sensor.Get()->references, 1U) << "arguments are borrowed";
    EXPECT_EQ(GetProperty(Create("Sensor", {1}), "Label").Text(), "none") << "a default argument";
    Assign(sensor, "Slot", {3}, "12345");
    EXPECT_EQ(Call(sensor, "Slot", {1}).Text(), "1=305");
    EXPECT_EQ(CallGlobal("LenB", {"abcd"}).Integer(), 4);

    EXPECT_THROW(Call(sensor, "Describe", {1.5}), DefinitionError);
    EXPECT_THROW(Call(sensor, "Describe"), DefinitionError);
    EXPECT_THROW(Call(sensor, "Nothing"), DefinitionError);
    EXPECT_THROW(Call(sensor, "Keep", {Create("RuntimeException")}), DefinitionError) << "an object of another class";
    EXPECT_THROW(Assign(sensor, "Describe", {1}, "x"), DefinitionError);
    EXPECT_THROW(Create("Nothing"), DefinitionError);
}

TEST_F(RuntimeCall, PassesMoreArgumentsThanTheStackBlockHolds) {
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

TEST_F(RuntimeCall, EventsReachTheirHandlers) {
    HandlerClass loud("Sensor");
    loud.On("changed", [](const ObjectRef& self, Arguments arguments) {
        Log().push_back("changed " + std::to_string(arguments[0].Integer()) + " " + arguments[1].Text() + " "
                        + std::to_string(self.Get()->cls->depth));
        return Value(true);
    });
    loud.On("Measured", [](const ObjectRef& self, Arguments arguments) {
        EXPECT_EQ(arguments[1].GetObject().Get(), self.Get());
        EXPECT_TRUE(arguments[2].Boolean());
        return Value(arguments[0].Double() * 2);
    });
    {
        ObjectRef sensor = loud.Create({1, "x"});
        StringRef label("north");
        Log().clear();
        EXPECT_EQ(Call(sensor, "Fire", {label}).Double(), 6.0);
        EXPECT_THAT(Log(), ElementsAre("changed 7 north 1"));
        EXPECT_EQ(sensor.Get()->references, 1U);
        EXPECT_EQ(label.Get()->references, 1U);
    }
    EXPECT_EQ(Call(Create("Sensor"), "Fire", {"x"}).Double(), 0.0) << "no handlers in the base class";
}

TEST_F(RuntimeCall, HandlersAreInheritedAndReplaced) {
    auto answering = [](double answer) { return [answer](const ObjectRef&, Arguments) { return Value(answer); }; };
    HandlerClass base("Sensor", "BaseSensor");
    base.On("Measured", answering(1));
    {
        HandlerClass heir("BaseSensor");
        HandlerClass rebel("BaseSensor");
        rebel.On("Measured", answering(2));
        EXPECT_EQ(Call(heir.Create(), "Fire", {"x"}).Double(), 1.0);
        EXPECT_EQ(Call(rebel.Create(), "Fire", {"x"}).Double(), 2.0);
        base.On("Measured", answering(3));
        EXPECT_EQ(Call(heir.Create(), "Fire", {"x"}).Double(), 3.0) << "a later handler reaches subclasses";
        EXPECT_EQ(Call(rebel.Create(), "Fire", {"x"}).Double(), 2.0);
    }
    EXPECT_THROW(base.On("Nothing", answering(0)), DefinitionError);
    EXPECT_THROW(SetEventHandler(FindClass("RuntimeException"), base.Get()->FindEvent("Measured"), nullptr),
                 DefinitionError);
}

TEST_F(RuntimeCall, GetEventInstanceIsSafeWithForeignObjects) {
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

TEST_F(RuntimeCall, TheFirstExceptionWins) {
    ObjectRef sensor = Create("Sensor");
    try {
        Call(sensor, "Fault", {12});
        FAIL() << "no exception";
    } catch (const ProgramException& error) {
        EXPECT_EQ(error.className, "RuntimeException");
        EXPECT_EQ(error.number, 12);
        EXPECT_EQ(error.message, "fault 12");
        EXPECT_STREQ(error.what(), "RuntimeException 12: fault 12");
        EXPECT_EQ(error.exception.Get()->references, 1U);
    }
    auto* raise = ServiceNamed<void(Object*)>("RuntimeRaiseException");
    ObjectRef first = Create("RuntimeException");
    ObjectRef second = Create("NilObjectException");
    raise(ObjectRef(first).Detach());
    raise(ObjectRef(second).Detach());
    raise(nullptr);
    EXPECT_EQ(second.Get()->references, 1U) << "a later one is released";
    EXPECT_EQ(TakePendingException().Get(), first.Get());
    raise(nullptr);
    EXPECT_EQ(ProgramException(TakePendingException()).className, "NilObjectException");
    RaiseNew("NoSuchException", 3, {});
    EXPECT_EQ(ProgramException(TakePendingException()).className, "RuntimeException");
}

TEST_F(RuntimeCall, NoHandlerRunsWhileAnExceptionIsPending) {
    HandlerClass failing("Sensor");
    failing.On("Changed", [](const ObjectRef& self, Arguments) -> Value {
        Call(self, "Fault", {1});
        return true;
    });
    failing.On("Measured", [](const ObjectRef&, Arguments) {
        Log().emplace_back("measured");
        return Value(1.0);
    });
    ObjectRef sensor = failing.Create();
    EXPECT_THROW(Call(sensor, "Fire", {"x"}), ProgramException);
    EXPECT_THAT(Log(), testing::Not(testing::Contains("measured")));
    EXPECT_EQ(Call(sensor, "Describe", {1}).Text(), "number 1") << "and then all goes on";
}

TEST_F(RuntimeCall, NativeCallersReachProgramCodeWhileAnExceptionIsPending) {
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

TEST_F(RuntimeCall, EveryServiceCanBeSwitchedOff) {
    for (const Service& service : Services()) {
        EXPECT_EQ(ResolveService(service.name), service.function);
        EXPECT_TRUE(SetServiceEnabled(service.name, false));
        EXPECT_EQ(ResolveService(service.name), nullptr) << service.name;
        EXPECT_TRUE(SetServiceEnabled(service.name, true));
        EXPECT_EQ(ResolveService(service.name), service.function);
    }
    EXPECT_FALSE(SetServiceEnabled("NoSuchService", false));
    EXPECT_EQ(ResolveService("NoSuchService"), nullptr);
    EXPECT_EQ(ResolveService("kovabuildstring"), nullptr) << "services are named exactly";
    EXPECT_EQ(ResolveService(nullptr), nullptr);
    EXPECT_GT(ServiceNamed<double()>("KOVAGetKVVersion")(), 0.0);
}

} // namespace

} // namespace host::test
