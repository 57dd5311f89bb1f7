// What the runtime's tests share: exceptions, a class of records that stands for a plug-in's, and a balance of
// everything alive before and after each test.
#pragma once

#include "host/runtime/class_program.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/exception.h"
#include "host/runtime/leaks.h"
#include "host/runtime/module.h"
#include "host/runtime/records.h"
#include "host/runtime/registration.h"
#include "host/runtime/services.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace host::test {

// Calls a service as a plug-in does: by name, through the resolver.
template <typename Function>
Function* ServiceNamed(const char* name) {
    return reinterpret_cast<Function*>(ResolveService(name));
}

template <typename Function>
void* Address(Function* function) {
    return reinterpret_cast<void*>(function);
}

inline void* const DIRECT = reinterpret_cast<void*>(DIRECT_ACCESS);

// Every call of native code of the test classes notes itself here.
std::vector<std::string>& Log();

// "Sensor": native class with members of every form.
struct SensorData {
    int32_t level;
    String* label;
    Object* peer;
};
ClassDefinition& SensorRecord();
EventDefinition& ChangedEvent();  // Changed(level as Integer, label as String) as Boolean
EventDefinition& MeasuredEvent(); // Measured(value as Double, source as Sensor, exact as Boolean) as Double

// Registers the framework and Sensor, once.
void RegisterTestClasses();

// Fails a test after which more or less is alive than before, or an exception is pending.
class RuntimeTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

private:
    LiveCounts before_;
};

} // namespace host::test
