// What the exception carries, and its properties.
#include "reader/reader_exception.h"

#include "glue/strings.h"
#include "reader/members.h"

#include <expat.h>

namespace kova {

namespace {

const XmlReaderExceptionData& Data(KOVAObject self) {
    return *InstanceData<XmlReaderExceptionData>(self, xmlReaderExceptionClass);
}

// The text for an error code; null for XML_ERROR_NONE and for codes above 27.
const char* ErrorText(XML_Error code) {
    // Programs know the texts of codes up to this one; what Expat has added since goes by its number alone.
    if (code > XML_ERROR_UNBOUND_PREFIX) return nullptr;
    // Expat has reworded this one; programs know the older text.
    if (code == XML_ERROR_MISPLACED_XML_PI) return "xml declaration not at start of external entity";
    return XML_ErrorString(code);
}

void Raise(XML_Parser main, XML_Error code, const char* message) {
    KOVAObject exception = NewException(xmlReaderExceptionClass, code);
    if (exception == nullptr) return;
    auto& data = *InstanceData<XmlReaderExceptionData>(exception, xmlReaderExceptionClass);
    data.lineNumber = static_cast<int32_t>(XML_GetCurrentLineNumber(main));
    data.columnNumber = static_cast<int32_t>(XML_GetCurrentColumnNumber(main));
    data.byteIndex = static_cast<int32_t>(XML_GetCurrentByteIndex(main));
    data.byteCount = static_cast<int32_t>(XML_GetCurrentByteCount(main));
    SetExceptionMessage(exception, xmlReaderExceptionClass, BuildUTF8String(message));
    RuntimeRaiseException(exception);
}

} // namespace

void RaiseReaderException(XML_Parser main) {
    const XML_Error code = XML_GetErrorCode(main);
    Raise(main, code, ErrorText(code));
}

void RaiseReaderBusy(XML_Parser main) {
    Raise(main, XML_ERROR_UNEXPECTED_STATE, "a reader cannot parse inside one of its own events");
}

KOVAInteger XmlReaderException_GetCurrentLineNumber(KOVAObject self, uint32_t) { return Data(self).lineNumber; }

KOVAInteger XmlReaderException_GetCurrentColumnNumber(KOVAObject self, uint32_t) { return Data(self).columnNumber; }

KOVAInteger XmlReaderException_GetCurrentByteIndex(KOVAObject self, uint32_t) { return Data(self).byteIndex; }

KOVAInteger XmlReaderException_GetCurrentByteCount(KOVAObject self, uint32_t) { return Data(self).byteCount; }

} // namespace kova
