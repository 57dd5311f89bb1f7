// Raising, and what the library's messages become.
#include "dom/exceptions.h"

#include "dom/classes.h"
#include "dom/members.h"
#include "dom/xml.h"
#include "glue/exceptions.h"
#include "glue/objects.h"
#include "glue/strings.h"

#include <strings.h>

#include <cstring>
#include <string_view>

namespace kova {

namespace {

const XmlExceptionData& DataOf(KOVAObject exception) {
    return *InstanceData<XmlExceptionData>(exception, xmlExceptionClass);
}

int MakeCode(void*, SablotHandle, int, unsigned short, unsigned short code) { return code; }

// Raises nothing; a host that has a place for such texts is given them.
int Log(void*, SablotHandle, int code, int, char** fields) {
    constexpr std::string_view NAME = "msg:";
    for (; fields != nullptr && *fields != nullptr; ++fields) {
        if (std::string_view(*fields).starts_with(NAME))
            RuntimeLogMessage(OwnedString(BuildUTF8String(*fields + NAME.size())).Get());
    }
    return code;
}

// The fields of a message that an exception shows, each with its name ("line:12").
struct MessageFields {
    KOVAString line = nullptr;
    KOVAString node = nullptr;
    KOVAString message = nullptr;
    KOVAString token = nullptr; // built, not used and never released, on purpose
};

// What an XmlException keeps for good, like the token, is made here.
MessageFields ReadFields(char** fields) {
    MessageFields read;
    const struct {
        const char* name;
        KOVAString& value;
    } wanted[] = {{"line", read.line}, {"node", read.node}, {"msg", read.message}, {"token", read.token}};
    for (; fields != nullptr && *fields != nullptr; ++fields) {
        const std::string_view field = *fields;
        const std::string_view name = field.substr(0, field.find(':'));
        for (const auto& each : wanted) {
            if (name.size() == std::strlen(each.name) && strncasecmp(name.data(), each.name, name.size()) == 0)
                ReplaceString(each.value, BuildUTF8String(*fields));
        }
    }
    return read;
}

// Messages of failures, told so far.
uint32_t errorMessages = 0;

int Error(void* userData, SablotHandle, int code, int level, char** fields) {
    const XmlData& xml = *XmlOf(static_cast<KOVAObject>(userData));
    ++errorMessages;
    if (xml.minimumMessageLevel > level) return level;
    const MessageFields read = ReadFields(fields);
    RaiseXmlException(code, read.message, read.line, read.node);
    return code;
}

} // namespace

void RaiseXmlException(int32_t code, KOVAString message, KOVAString line, KOVAString node) {
    const KOVAObject exception = NewException(xmlExceptionClass, code);
    if (exception == nullptr) {
        for (const KOVAString each : {message, line, node}) KOVAUnlockString(each);
        return;
    }
    SetExceptionMessage(exception, xmlExceptionClass, message);
    auto& data = *InstanceData<XmlExceptionData>(exception, xmlExceptionClass);
    ReplaceString(data.line, line);
    ReplaceString(data.node, node);
    RuntimeRaiseException(exception);
}

void RaiseDomException(int32_t code, const char* message) {
    const KOVAObject exception = NewException(xmlDomExceptionClass, code);
    if (exception == nullptr) return;
    SetExceptionMessage(exception, xmlDomExceptionClass, BuildUTF8String(message));
    RuntimeRaiseException(exception);
}

const SablotMessageHandler XML_MESSAGE_HANDLER = {MakeCode, Log, Error};

FailureWatch::FailureWatch() : messagesBefore_(errorMessages) {}

bool FailureWatch::RanOutOfMemory(int32_t code) const {
    if (code == 0 || errorMessages != messagesBefore_) return false;
    RaiseOutOfMemoryException();
    return true;
}

KOVAString XmlException_GetLine(KOVAObject self, uint32_t) { return LockedString(DataOf(self).line); }
KOVAString XmlException_GetNode(KOVAObject self, uint32_t) { return LockedString(DataOf(self).node); }
KOVAString XmlException_GetToken(KOVAObject self, uint32_t) { return LockedString(DataOf(self).token); }

} // namespace kova
