// Registering the handler, and the events that the library's callbacks become.
#include "xslt/xslt_handler.h"

#include "dom/xml.h"
#include "glue/events.h"
#include "glue/objects.h"
#include "glue/strings.h"
#include "reader/attribute_list.h"
#include "xslt/classes.h"
#include "xslt/members.h"

#include <unordered_map>

namespace kova {

namespace {

XsltHandlerData& DataOf(KOVAObject handler) { return *InstanceData<XsltHandlerData>(handler, xmlXsltHandlerClass); }

// Which processor a handler keeps: an address alone may since have passed to another document's. An entry ends when its
// handler's address is used for a new handler.
std::unordered_map<const XsltHandlerData*, uint32_t>& KeptProcessors() {
    static std::unordered_map<const XsltHandlerData*, uint32_t> serials;
    return serials;
}

template <typename... Arguments>
int Deliver(void* handler, XsltEvent event, Arguments... arguments) {
    RaiseEvent(static_cast<KOVAObject>(handler), EventRecord(event), arguments...);
    return 0;
}

OwnedString Text(const char* text) { return OwnedString(BuildUTF8String(text)); }

int StartDocument(void* handler, SablotHandle) { return Deliver(handler, XsltEvent::START_DOCUMENT); }

int StartElement(void* handler, SablotHandle, const char* name, const char** attributes) {
    const OwnedString nameText = Text(name);
    AttributeListView list;
    list.Show(attributes);
    return Deliver(handler, XsltEvent::START_ELEMENT, nameText.Get(), list.Get());
}

int EndElement(void* handler, SablotHandle, const char* name) {
    return Deliver(handler, XsltEvent::END_ELEMENT, Text(name).Get());
}

int StartNamespace(void* handler, SablotHandle, const char* prefix, const char* uri) {
    return Deliver(handler, XsltEvent::START_NAMESPACE, Text(prefix).Get(), Text(uri).Get());
}

int EndNamespace(void* handler, SablotHandle, const char* prefix) {
    return Deliver(handler, XsltEvent::END_NAMESPACE, Text(prefix).Get());
}

int Comment(void* handler, SablotHandle, const char* contents) {
    return Deliver(handler, XsltEvent::COMMENT, Text(contents).Get());
}

int ProcessingInstruction(void* handler, SablotHandle, const char* target, const char* contents) {
    return Deliver(handler, XsltEvent::PROCESSING_INSTRUCTION, Text(target).Get(), Text(contents).Get());
}

int Characters(void* handler, SablotHandle, const char* contents, int length) {
    const OwnedString text(BuildUTF8String(contents, length));
    return Deliver(handler, XsltEvent::CHARACTERS, text.Get());
}

int EndDocument(void* handler, SablotHandle) { return Deliver(handler, XsltEvent::END_DOCUMENT); }

constexpr SablotOutputHandler CALLBACKS = {StartDocument,         StartElement, EndElement,
                                           StartNamespace,        EndNamespace, Comment,
                                           ProcessingInstruction, Characters,   EndDocument};

} // namespace

HandlerRegistration::HandlerRegistration(KOVAObject handler, SablotHandle processor) : handler_(handler) {
    XsltHandlerData& data = DataOf(handler);
    uint32_t& kept = KeptProcessors()[&data];
    if (kept == 0 || kept != ProcessorSerial(data.processor)) {
        data.processor = processor;
        kept = ProcessorSerial(processor);
    }
    processorSerial_ = kept;
    data.registrationCode = SablotRegHandler(data.processor, SABLOT_HANDLER_OUTPUT, &data.callbacks, data.self);
}

HandlerRegistration::~HandlerRegistration() {
    XsltHandlerData& data = DataOf(handler_);
    // An event may have let the last reference to the first document go.
    if (ProcessorSerial(data.processor) == processorSerial_)
        SablotUnregHandler(data.processor, SABLOT_HANDLER_OUTPUT, &data.callbacks, data.self);
}

void XmlXsltHandler_Initialize(KOVAObject self) {
    XsltHandlerData& data = DataOf(self);
    data = XsltHandlerData{};
    data.self = self;
    data.callbacks = CALLBACKS;
    KeptProcessors().erase(&data);
}

} // namespace kova
