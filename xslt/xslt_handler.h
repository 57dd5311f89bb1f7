// `XmlXsltHandler`: delivers the output of a transformation as host events.
#pragma once

#include "glue/host_types.h"
#include "sablotron/sablot.h"

#include <cstddef>
#include <cstdint>

namespace kova {

// Instance data of `XmlXsltHandler`.
struct XsltHandlerData {
    KOVAObject self;
    SablotHandle processor; // of the first document it served, deliberately; null before
    SablotOutputHandler callbacks;
    int32_t registrationCode; // kept and never read
};

static_assert(sizeof(XsltHandlerData) == 48 && offsetof(XsltHandlerData, callbacks) == 8);

// While it lives the handler receives the output of its processor. A handler that has no processor, or whose processor
// is gone with its document, takes the given one.
class HandlerRegistration {
public:
    HandlerRegistration(KOVAObject handler, SablotHandle processor);
    ~HandlerRegistration();
    HandlerRegistration(const HandlerRegistration&) = delete;
    HandlerRegistration& operator=(const HandlerRegistration&) = delete;

private:
    KOVAObject handler_;
    uint32_t processorSerial_;
};

} // namespace kova
