#include "tests/host/runtime_fixture.h"

#include <sstream>

namespace host::test {

namespace {

struct ExceptionData {
    int32_t number;
    String* message;
};

ClassDefinition exceptionRecord{};

void ReleaseMessage(Object* object) { UnlockString(DataAt<ExceptionData>(object, exceptionRecord.dataOffset).message); }

const PropertyDefinition EXCEPTION_PROPERTIES[] = {
    {0, "ErrorNumber", "Integer", 4, DIRECT, DIRECT, offsetof(ExceptionData, number), {}},
    {0, "Message", "String", 4, DIRECT, DIRECT, offsetof(ExceptionData, message), {}},
};

void RegisterException(const char* name, const char* super) {
    static std::vector<std::unique_ptr<ClassDefinition>> records;
    ClassDefinition& record =
        super != nullptr ? *records.emplace_back(std::make_unique<ClassDefinition>()) : exceptionRecord;
    record.version = RECORD_VERSION;
    record.name = name;
    record.superclass = super;
    if (super == nullptr) {
        record.dataSize = sizeof(ExceptionData);
        record.destructor = Address(ReleaseMessage);
        record.properties = EXCEPTION_PROPERTIES;
        record.propertyCount = 2;
    }
    RegisterClass(record);
}

SensorData& Data(Object* sensor) { return DataAt<SensorData>(sensor, SensorRecord().dataOffset); }

void ConstructSensor(Object* sensor) {
    Data(sensor).scale = 1;
    Log().emplace_back("construct Sensor");
}

void DestroySensor(Object* sensor) {
    Log().emplace_back("destroy Sensor");
    UnlockString(Data(sensor).label);
    UnlockObject(Data(sensor).peer);
}

void ConstructPreciseSensor(Object*) { Log().emplace_back("construct PreciseSensor"); }
void DestroyPreciseSensor(Object*) { Log().emplace_back("destroy PreciseSensor"); }

String* GetLabel(Object* sensor, int32_t param) {
    Log().push_back("get label " + std::to_string(param));
    LockString(Data(sensor).label);
    return Data(sensor).label;
}

void SetLabel(Object* sensor, int32_t param, String* label) {
    Log().push_back("set label " + std::to_string(param));
    LockString(label);
    UnlockString(std::exchange(Data(sensor).label, label));
}

void SetSecret(Object* sensor, int32_t, int32_t value) { Data(sensor).level = -value; }

double GetScale(Object* sensor, int32_t) { return Data(sensor).scale; }
void SetScale(Object* sensor, int32_t, double scale) { Data(sensor).scale = scale; }

void Initialize(Object* sensor, int32_t level, String* label) {
    Data(sensor).level = level;
    SetLabel(sensor, 0, label);
}

// Every width in an order in which a misplaced word shows.
double Mix(Object* sensor, double a, int32_t b, double c, String* s, int32_t flag) {
    return a + 10 * b + 100 * c + 1000 * static_cast<double>(StringView(s).size()) + (flag ? 10000 : 0)
           + Data(sensor).level;
}

String* DescribeNumber(Object*, int32_t number) { return StringRef("number " + std::to_string(number)).Detach(); }
String* DescribeText(Object*, String* text) { return StringRef("text " + std::string(StringView(text))).Detach(); }

int32_t KeepPeer(Object* sensor, Object* peer) {
    LockObject(peer);
    UnlockObject(std::exchange(Data(sensor).peer, peer));
    return peer != nullptr ? -1 : 0; // a Boolean that is not 1
}

void RaiseFault(Object*, int32_t number) { RaiseNew("RuntimeException", number, "fault " + std::to_string(number)); }

String* GetSlot(Object* sensor, int32_t index) {
    return StringRef(std::to_string(index) + "=" + std::to_string(Data(sensor).level)).Detach();
}
void SetSlot(Object* sensor, int32_t index, String* value) {
    Data(sensor).level = index * 100 + static_cast<int32_t>(StringView(value).size());
}

// Raises both events as a plug-in does and returns what the handlers answered.
double Fire(Object* sensor, String* label) {
    auto* getEventInstance = ServiceNamed<void*(Object*, const void*)>("GetEventInstance");
    double answer = 0;
    if (void* handler = getEventInstance(sensor, ChangedEvent().hostSlot)) {
        answer += reinterpret_cast<int32_t (*)(Object*, int32_t, String*)>(handler)(sensor, 7, label);
    }
    if (void* handler = getEventInstance(sensor, MeasuredEvent().hostSlot)) {
        answer += reinterpret_cast<double (*)(Object*, double, Object*, int32_t)>(handler)(sensor, 2.5, sensor, 1);
    }
    return answer;
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
    {0, "Scale", "Double", 4, Address(GetScale), Address(SetScale), 0, {}},
    {0, "Peer", "Sensor", 4, DIRECT, DIRECT, offsetof(SensorData, peer), {}},
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
    {Address(RaiseFault), nullptr, "Fault(number as integer)", 4, {}},
    {Address(GetSlot), Address(SetSlot), "Slot(index as Integer) as String", 4, {}},
    {Address(Fire), nullptr, "Fire(label as String) as Double", 4, {}},
    {Address(Convert), nullptr, "UTF16Length(text as String) as Integer", 4, {}},
};

EventDefinition sensorEvents[] = {
    {"Changed(level as Integer, label as String) as Boolean", nullptr, {}},
    {"Measured(value as Double, source as Sensor, exact as Boolean) as Double", nullptr, {}},
};

const ConstantDefinition SENSOR_CONSTANTS[] = {{"MAX_LEVEL = 100", {}}, {"MIN_LEVEL = -100", {}}};

ClassDefinition MakeSensorRecord() {
    ClassDefinition record{};
    record.version = RECORD_VERSION;
    record.name = "Sensor";
    record.dataSize = sizeof(SensorData);
    record.constructor = Address(ConstructSensor);
    record.destructor = Address(DestroySensor);
    record.properties = SENSOR_PROPERTIES;
    record.propertyCount = std::size(SENSOR_PROPERTIES);
    record.methods = SENSOR_METHODS;
    record.methodCount = std::size(SENSOR_METHODS);
    record.events = sensorEvents;
    record.eventCount = std::size(sensorEvents);
    record.constants = SENSOR_CONSTANTS;
    record.constantCount = std::size(SENSOR_CONSTANTS);
    record.flags = 4;
    return record;
}

int32_t LenB(String* text) { return static_cast<int32_t>(StringView(text).size()); }

const GlobalFunction FUNCTIONS[] = {{"LenB( s as string ) as integer", Address(LenB)}};

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
    RegisterException("RuntimeException", nullptr);
    for (const char* name : {"NilObjectException", "OutOfBoundsException", "OutOfMemoryException"}) {
        RegisterException(name, "RuntimeException");
    }
    ServiceNamed<void(ClassDefinition*)>("PluginRegisterClass")(&SensorRecord());
    static ClassDefinition precise{};
    precise.version = RECORD_VERSION;
    precise.name = "PreciseSensor";
    precise.superclass = "sensor"; // names have no case
    precise.dataSize = 12;
    precise.constructor = Address(ConstructPreciseSensor);
    precise.destructor = Address(DestroyPreciseSensor);
    RegisterClass(precise);
    RegisterFunctions(FUNCTIONS);
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
