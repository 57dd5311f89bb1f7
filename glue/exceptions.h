// Raising host exceptions. A raise records the exception and returns: the method that raised must still run to its end.
#pragma once

#include "glue/objects.h"

namespace kova {

// How the instance data of each of the plug-in's exception classes begins.
struct ExceptionData {
    KOVAString message;
    int32_t errorNumber;
};

// A new exception of the class of `record` with its error number set, in its data and as "ErrorNumber"; nil if the
// host makes no instance. The caller owns it, normally until RuntimeRaiseException takes it over.
KOVAObject NewException(const ClassDefinition& record, int32_t errorNumber);

// Stores the message, whose reference passes to the exception, and sets it as "Message".
void SetExceptionMessage(KOVAObject exception, const ClassDefinition& record, KOVAString message);

// The host's own exception for a nil argument, without code and message.
void RaiseNilObjectException();

// The host's own exception for a member that could not do its work for want of memory.
void RaiseOutOfMemoryException();

} // namespace kova
