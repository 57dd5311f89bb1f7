// The class that stands for a plug-in's in the tests of the runtime.
#include "tests/host/runtime_fixture.h"

#include "tests/host/host_fixture.h"

#include <sstream>

namespace host::test {

namespace {

SensorData& Data(Object* sensor) { return DataAt<SensorData>(sensor, SensorRecord().dataOffset); }

void DestroySensor(Object* sensor) {
    UnlockString(Data(sensor).label);
    UnlockObject(Data(sensor).peer);
}

String* GetLabel(Object* sensor, int32_t) {
    LockString(Data(sensor).label);
    return Data(sensor).label;
}

void SetLabel(Object* sensor, int32_t, String* label) {
    LockString(label);
    UnlockString(std::exchange(Data(sensor).label, label));
}

void SetSecret(Object* sensor, int32_t, int32_t value) { Data(sensor).level = -value; }

void Initialize(Object* sensor, int32_t level, String* label) {
    Data(sensor).level = level;
    SetLabel(sensor, 0, label);
}

// Every width in an order in which a misplaced word shows.
double Mix(Object* sensor, double a, int32_t b, double c, String* s, int32_t flag) {
    return a + 10 * b + 100 * c + 1000 * static_cast<double>(StringView(s).size()) + (flag ? 10000 : 0)
           + Data(sensor).level;
}

// Two overloads, told apart by their addresses only.
String* DescribeNumber(Object*, int32_t) { return StringRef("number").Detach(); }
String* DescribeText(Object*, String*) { return StringRef("text").Detach(); }

int32_t KeepPeer(Object* sensor, Object* peer) {
    LockObject(peer);
    UnlockObject(std::exchange(Data(sensor).peer, peer));
    return peer != nullptr ? -1 : 0; // a Boolean that is not 1
}

void Fault(Object*, int32_t) {}

String* GetSlot(Object* sensor, int32_t index) {
    return StringRef(std::to_string(index) + "=" + std::to_string(Data(sensor).level)).Detach();
}
void SetSlot(Object* sensor, int32_t index, String* value) {
    Data(sensor).level = index * 100 + static_cast<int32_t>(StringView(value).size());
}

int32_t Convert(Object*, String* text) {
    auto* convert = ServiceNamed<String*(String*, uint32_t)>("KOVAConvertString");
    return static_cast<int32_t>(StringView(convert(text, 0x0100)).size()); // lent: nothing to release
}

const PropertyDefinition SENSOR_PROPERTIES[] = {
    {0, "Level", "Integer", 4, DIRECT, DIRECT, offsetof(SensorData, level), {}},
    {0, "LevelOnly", "Integer", 4, DIRECT, nullptr, offsetof(SensorData, level), {}},
    {0, "Label", "String", 4, Address(GetLabel), Address(SetLabel), 42, {}},
    {0, "Secret", "Integer", 4, nullptr, Address(SetSecret), 0, {}},
};

const MethodDefinition SENSOR_METHODS[] = {
    {Address(Initialize), nullptr, "Constructor(level as Integer, label as String = \"none\")", 4, {}},
    {Address(Mix),
     nullptr,
     "Mix(a as Double, b as Integer, c as Double, s as String, flag as Boolean) as Double",
     4,
     {}},
    {Address(DescribeNumber), nullptr, "Describe (value as Integer) as String", 4, {}},
    {Address(DescribeText), nullptr, "Describe(value as String) as String", 4, {}},
    {Address(KeepPeer), nullptr, "Keep(peer as Sensor) as Boolean", 4, {}},
    {Address(Fault), nullptr, "Fault(number as integer)", 4, {}},
    {Address(GetSlot), Address(SetSlot), "Slot(index as Integer) as String", 4, {}},
    {Address(Convert), nullptr, "UTF16Length(text as String) as Integer", 4, {}},
};

EventDefinition sensorEvents[] = {
    {"Changed(level as Integer, label as String) as Boolean", nullptr, {}},
    {"Measured(value as Double, source as Sensor, exact as Boolean) as Double", nullptr, {}},
};

ClassDefinition MakeSensorRecord() {
    ClassDefinition record{};
    record.version = RECORD_VERSION;
    record.name = "Sensor";
    record.dataSize = sizeof(SensorData);
    record.destructor = Address(DestroySensor);
    record.properties = SENSOR_PROPERTIES;
    record.propertyCount = std::size(SENSOR_PROPERTIES);
    record.methods = SENSOR_METHODS;
    record.methodCount = std::size(SENSOR_METHODS);
    record.events = sensorEvents;
    record.eventCount = std::size(sensorEvents);
    record.flags = 4;
    return record;
}

} // namespace

std::vector<std::string>& Log() {
    static std::vector<std::string> log;
    return log;
}

ClassDefinition& SensorRecord() {
    static ClassDefinition record = MakeSensorRecord();
    return record;
}

EventDefinition& ChangedEvent() { return sensorEvents[0]; }
EventDefinition& MeasuredEvent() { return sensorEvents[1]; }

void RegisterTestClasses() {
    static bool isDone = false;
    if (std::exchange(isDone, true)) return;
    PrepareHost();
    ServiceNamed<void(ClassDefinition*)>("PluginRegisterClass")(&SensorRecord());
}

void RuntimeTest::SetUp() {
    RegisterTestClasses();
    Log().clear();
    before_ = CountLive();
}

void RuntimeTest::TearDown() {
    EXPECT_FALSE(IsExceptionPending());
    EXPECT_EQ(CountLive().strings, before_.strings);
    std::ostringstream leaks;
    EXPECT_FALSE(ReportLeaks(leaks, before_)) << leaks.str();
    EXPECT_EQ(CountLive().objects, before_.objects);
}

} // namespace host::test
