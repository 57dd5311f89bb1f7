#include "xslt/xslt_handler.h"

#include "dom/xml.h"
#include "glue/events.h"
#include "glue/objects.h"
#include "glue/strings.h"
#include "reader/attribute_list.h"
#include "registration/records.h"

#include <unordered_map>

namespace kova {

namespace {

XsltHandlerData& DataOf(KOVAObject handler) { return *InstanceData<XsltHandlerData>(handler, XmlXsltHandlerRecord); }

// Which processor a handler keeps: an address alone may since have passed to another document's. An entry ends when its
// handler's address is used for a new handler.
std::unordered_map<const XsltHandlerData*, std::uint32_t>& KeptProcessors() {
    static std::unordered_map<const XsltHandlerData*, std::uint32_t> serials;
    return serials;
}

// The attribute list of one event. Afterwards the list is empty, should the program have kept it.
class EventAttributes {
public:
    explicit EventAttributes(const char** attributes) : list_(PluginNewInstance(XmlAttributeListRecord.name)) {
        if (list_.Get() == nullptr) return;
        std::int32_t entries = 0;
        while (attributes != nullptr && attributes[entries] != nullptr) ++entries;
        Data() = {entries / 2, attributes};
    }
    ~EventAttributes() {
        if (list_.Get() != nullptr) Data() = {0, nullptr};
    }
    EventAttributes(const EventAttributes&) = delete;
    EventAttributes& operator=(const EventAttributes&) = delete;

    KOVAObject Get() const { return list_.Get(); }

private:
    AttributeListData& Data() const { return *InstanceData<AttributeListData>(list_.Get(), XmlAttributeListRecord); }

    OwnedObject list_;
};

enum Event {
    START_DOCUMENT,
    START_ELEMENT,
    END_ELEMENT,
    START_NAMESPACE,
    END_NAMESPACE,
    COMMENT,
    PROCESSING_INSTRUCTION,
    CHARACTERS,
    END_DOCUMENT
};

template <typename... Arguments>
int Deliver(void* handler, Event event, Arguments... arguments) {
    RaiseEvent(static_cast<KOVAObject>(handler), XmlXsltHandlerEvents[event], arguments...);
    return 0;
}

OwnedString Text(const char* text) { return OwnedString(BuildUTF8String(text)); }

int StartDocument(void* handler, SablotHandle) { return Deliver(handler, START_DOCUMENT); }

int StartElement(void* handler, SablotHandle, const char* name, const char** attributes) {
    const OwnedString nameText = Text(name);
    const EventAttributes list(attributes);
    return Deliver(handler, START_ELEMENT, nameText.Get(), list.Get());
}

int EndElement(void* handler, SablotHandle, const char* name) {
    return Deliver(handler, END_ELEMENT, Text(name).Get());
}

int StartNamespace(void* handler, SablotHandle, const char* prefix, const char* uri) {
    return Deliver(handler, START_NAMESPACE, Text(prefix).Get(), Text(uri).Get());
}

int EndNamespace(void* handler, SablotHandle, const char* prefix) {
    return Deliver(handler, END_NAMESPACE, Text(prefix).Get());
}

int Comment(void* handler, SablotHandle, const char* contents) {
    return Deliver(handler, COMMENT, Text(contents).Get());
}

int ProcessingInstruction(void* handler, SablotHandle, const char* target, const char* contents) {
    return Deliver(handler, PROCESSING_INSTRUCTION, Text(target).Get(), Text(contents).Get());
}

int Characters(void* handler, SablotHandle, const char* contents, int length) {
    const OwnedString text(BuildUTF8String(contents, length));
    return Deliver(handler, CHARACTERS, text.Get());
}

int EndDocument(void* handler, SablotHandle) { return Deliver(handler, END_DOCUMENT); }

constexpr SablotOutputHandler CALLBACKS = {StartDocument,         StartElement, EndElement,
                                           StartNamespace,        EndNamespace, Comment,
                                           ProcessingInstruction, Characters,   EndDocument};

} // namespace

HandlerRegistration::HandlerRegistration(KOVAObject handler, SablotHandle processor) : handler_(handler) {
    XsltHandlerData& data = DataOf(handler);
    std::uint32_t& kept = KeptProcessors()[&data];
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

void XmlXsltHandler_Construct(KOVAObject object) {
    XsltHandlerData& data = DataOf(object);
    data = XsltHandlerData{};
    data.self = object;
    data.callbacks = CALLBACKS;
    KeptProcessors().erase(&data);
}

} // namespace kova
