// Making exceptions of the plug-in's and of the host's classes.
#include "glue/exceptions.h"

#include "glue/strings.h"

#include <cstdlib>
#include <memory>

namespace kova {

namespace {

// Memory that the host gets to make an exception with when there is no other left.
struct Reserve {
    static constexpr size_t SIZE = 64 * 1024;
    std::unique_ptr<void, decltype(&std::free)> memory{std::malloc(SIZE), std::free};
};
Reserve reserve;

} // namespace

KOVAObject NewException(const ClassDefinition& record, int32_t errorNumber) {
    KOVAObject exception = PluginNewInstance(record.name);
    if (exception == nullptr) return nullptr;
    InstanceData<ExceptionData>(exception, record)->errorNumber = errorNumber;
    KOVASetPropValueInt(exception, "ErrorNumber", errorNumber);
    return exception;
}

void SetExceptionMessage(KOVAObject exception, const ClassDefinition& record, KOVAString message) {
    ReplaceString(InstanceData<ExceptionData>(exception, record)->message, message);
    KOVASetPropValueString(exception, "Message", message);
}

void RaiseNilObjectException() { RuntimeRaiseException(PluginNewInstance("NilObjectException")); }

void RaiseOutOfMemoryException() {
    reserve.memory.reset();
    const KOVAObject exception = PluginNewInstance("OutOfMemoryException");
    const OwnedString message(BuildUTF8String("There is not enough memory."));
    KOVASetPropValueString(exception, "Message", message.Get());
    RuntimeRaiseException(exception);
    reserve = Reserve(); // as soon as there is memory again
}

} // namespace kova
