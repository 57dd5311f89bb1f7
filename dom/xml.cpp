// The library objects of a document, made and released with its `Xml` object.
#include "dom/xml.h"

#include "dom/classes.h"
#include "dom/exceptions.h"
#include "dom/members.h"
#include "glue/objects.h"
#include "glue/strings.h"

#include <new>
#include <unordered_map>

namespace kova {

namespace {

std::unordered_map<SablotHandle, uint32_t>& ProcessorSerials() {
    static std::unordered_map<SablotHandle, uint32_t> serials;
    return serials;
}

void BuildLibraryObjects(XmlData& xml) {
    if (SablotCreateSituation(&xml.situation) != 0) {
        xml.situation = nullptr;
        xml.status = -1;
        return;
    }
    if (SablotCreateDocument(xml.situation, &xml.document) != 0) {
        xml.document = nullptr;
        xml.status = -1;
        return;
    }
    xml.status = SablotCreateProcessorForSituation(xml.situation, &xml.processor);
    if (xml.status != 0) {
        xml.processor = nullptr;
        return;
    }
    static uint32_t lastSerial = 0;
    ProcessorSerials()[xml.processor] = ++lastSerial;
    xml.status = SablotRegHandler(xml.processor, SABLOT_HANDLER_MESSAGE, &xml.messageHandler, xml.self);
}

} // namespace

uint32_t ProcessorSerial(SablotHandle processor) {
    const auto found = ProcessorSerials().find(processor);
    return found != ProcessorSerials().end() ? found->second : 0;
}

void Xml_Initialize(KOVAObject self) {
    XmlData& xml = *XmlOf(self);
    xml = XmlData{};
    xml.self = self;
    xml.minimumMessageLevel = 3;
    xml.messageHandler = XML_MESSAGE_HANDLER;
    try {
        BuildLibraryObjects(xml);
    } catch (const std::bad_alloc&) {
        xml.status = -1;
    }
}

void Xml_Finalize(KOVAObject self) {
    XmlData& xml = *XmlOf(self);
    if (xml.processor != nullptr) {
        xml.status = SablotUnregHandler(xml.processor, SABLOT_HANDLER_MESSAGE, nullptr, nullptr);
        ProcessorSerials().erase(xml.processor);
        SablotDestroyProcessor(xml.processor);
    }
    xml.processor = nullptr;
    if (xml.document != nullptr) SablotDestroyDocument(xml.situation, xml.document);
    xml.document = nullptr;
    if (xml.situation != nullptr) SablotDestroySituation(xml.situation);
    xml.situation = nullptr;
    KOVAUnlockString(xml.encoding);
    xml.encoding = nullptr;
}

} // namespace kova
