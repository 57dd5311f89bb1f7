// The exceptions of the document model.
#pragma once

#include "glue/exceptions.h"
#include "sablotron/sablot.h"

#include <cstdint>

namespace kova {

// Instance data of `XmlException`. The class has no destructor: what the fields hold when the object dies is kept for
// good, on purpose.
struct XmlExceptionData : ExceptionData {
    KOVAString line;
    KOVAString node;
    KOVAString token; // never written, on purpose
};

// Instance data of `XmlDomException`, likewise without a destructor.
using XmlDomExceptionData = ExceptionData;

static_assert(sizeof(XmlExceptionData) == 20 && sizeof(XmlDomExceptionData) == 8);

// Both record the exception and return. The references of the strings pass to the exception.
void RaiseXmlException(int32_t code, KOVAString message, KOVAString line, KOVAString node);

// A null message gives none.
void RaiseDomException(int32_t code, const char* message);

// Turns the library's messages into XmlException. Its user data is the `Xml` object of the document.
extern const SablotMessageHandler XML_MESSAGE_HANDLER;

// Watches a call of the library, which tells each failure by a message but for want of memory: a failure without a
// message is that.
class FailureWatch {
public:
    FailureWatch();
    // Whether the call that answered `code` failed without a message; the host's OutOfMemoryException is raised then.
    bool RanOutOfMemory(int32_t code) const;

private:
    uint32_t messagesBefore_;
};

} // namespace kova
