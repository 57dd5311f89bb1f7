// The hidden per-document object: library handles and state that all wrappers of one document share.
#pragma once

#include "dom/classes.h"
#include "glue/objects.h"
#include "sablotron/sablot.h"
#include "sablotron/sdom.h"

#include <cstddef>
#include <cstdint>

namespace kova {

// Instance data of `Xml`. The host object lives as long as a node wrapper, a node list or a running transformation
// holds it.
struct XmlData {
    KOVAObject self;
    KOVAObject xsltHandler; // receives the events of the run in progress
    uint32_t unused;
    SablotSituation situation;
    SablotHandle processor;
    SablotMessageHandler messageHandler;
    SDOM_Document document; // null: the document is gone
    bool preserveWhitespace;
    KOVAString encoding;
    int32_t status;               // 0: ready; -1: no situation or document; else the library's code
    int32_t documentWrapperCount; // nothing reads it
    int32_t minimumMessageLevel;  // messages below it raise nothing
    int32_t loadedFromText;       // 1: the first two attribute entries of each element are hidden
};

static_assert(sizeof(XmlData) == 60 && offsetof(XmlData, document) == 32 && offsetof(XmlData, loadedFromText) == 56);

// Null for nil.
inline XmlData* XmlOf(KOVAObject xml) { return xml != nullptr ? InstanceData<XmlData>(xml, xmlClass) : nullptr; }

// Tells the processors that ever lived apart, also when one has the address of a former one. 0: none lives there.
uint32_t ProcessorSerial(SablotHandle processor);

} // namespace kova
