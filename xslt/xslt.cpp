// Members whose code is still to come: each raises an exception that says so, or does nothing where the host builds
// and destroys objects.
#include "xslt/members.h"

#include "glue/exceptions.h"
#include "glue/strings.h"

namespace kova {

namespace {

void RaiseMissing(const char* member) {
    constexpr std::int32_t UNSUPPORTED = 9;
    KOVAObject exception = PluginNewInstance("RuntimeException");
    if (!exception) return;
    const OwnedString message(BuildUTF8String(member));
    KOVASetPropValueInt(exception, "ErrorNumber", UNSUPPORTED);
    KOVASetPropValueString(exception, "Message", message.Get());
    RuntimeRaiseException(exception);
}

} // namespace

void XmlXsltHandler_Initialize(KOVAObject) {}
KOVAString XmlDocument_Transform(KOVAObject, KOVAString) {
    RaiseMissing("XmlDocument_Transform is not available");
    return nullptr;
}
KOVAString XmlDocument_TransformStyleSheet(KOVAObject, KOVAObject) {
    RaiseMissing("XmlDocument_TransformStyleSheet is not available");
    return nullptr;
}
KOVAString XmlDocument_TransformEvents(KOVAObject, KOVAString, KOVAObject) {
    RaiseMissing("XmlDocument_TransformEvents is not available");
    return nullptr;
}
KOVAString XmlDocument_TransformStyleSheetEvents(KOVAObject, KOVAObject, KOVAObject) {
    RaiseMissing("XmlDocument_TransformStyleSheetEvents is not available");
    return nullptr;
}

} // namespace kova
