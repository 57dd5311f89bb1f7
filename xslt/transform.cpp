// The `Transform` methods of `XmlDocument`.
#include "dom/exceptions.h"
#include "dom/library_strings.h"
#include "dom/node.h"
#include "glue/exceptions.h"
#include "glue/objects.h"
#include "glue/strings.h"
#include "xslt/members.h"
#include "xslt/xslt_handler.h"

#include <cstring>
#include <new>

namespace kova {

namespace {

enum class ResultEncoding { UNMARKED, UTF8 };

// Runs the document's processor; `addStyle` binds the stylesheet.
template <typename AddStyle>
KOVAString Run(KOVAObject self, ResultEncoding encoding, AddStyle addStyle) {
    NodeData& wrapper = *NodeOf(self);
    const XmlData& xml = *XmlOf(wrapper.xml);
    const SablotSituation situation = xml.situation;
    const SablotHandle processor = xml.processor;
    // An encoding stays with the processor, also when the property is nil again.
    if (xml.encoding != nullptr) SablotSetEncoding(processor, StringGetCString(xml.encoding));

    int32_t& lastError = wrapper.lastError;
    ResultString text;
    const FailureWatch watch;
    lastError = addStyle(situation, processor);
    if (lastError == 0) lastError = SablotAddArgTree(situation, processor, "doc", xml.document);
    if (lastError == 0) lastError = SablotRunProcessorGen(situation, processor, "arg:/style", "arg:/doc", "arg:/out");
    if (lastError == 0) lastError = SablotGetResultArg(processor, "arg:/out", text.Out());
    if (lastError != 0) {
        // The message handler has raised one with the details before; the host keeps the first.
        if (!watch.RanOutOfMemory(lastError)) RaiseXmlException(lastError, nullptr, nullptr, nullptr);
        return nullptr;
    }
    KOVAString result = nullptr;
    if (text.Text() != nullptr) result = KOVABuildString(text.Text(), static_cast<int32_t>(std::strlen(text.Text())));
    if (encoding == ResultEncoding::UTF8) KOVASetStringEncoding(result, UTF8_ENCODING);
    return result;
}

// Runs `transform` with the handler registered.
template <typename Transform>
KOVAString RunWithHandler(KOVAObject self, KOVAObject handler, Transform transform) {
    NodeData& wrapper = *NodeOf(self);
    if (wrapper.xml == nullptr) {
        CheckDocument(wrapper);
        return nullptr;
    }
    if (handler == nullptr) {
        RaiseNilObjectException();
        return nullptr;
    }
    // An event may let the program's last reference to any of them go.
    const OwnedObject ownedDocument = OwnedObject::Share(self);
    const OwnedObject ownedXml = OwnedObject::Share(wrapper.xml);
    const OwnedObject ownedHandler = OwnedObject::Share(handler);
    XmlData& xml = *XmlOf(wrapper.xml);
    xml.xsltHandler = handler;
    KOVAString result = nullptr;
    try {
        const HandlerRegistration registration(handler, xml.processor);
        result = transform();
    } catch (const std::bad_alloc&) {
        RaiseOutOfMemoryException();
    }
    xml.xsltHandler = nullptr;
    return result;
}

} // namespace

KOVAString XmlDocument_Transform(KOVAObject self, KOVAString xsl) {
    if (CheckDocument(*NodeOf(self))) return nullptr;
    return Run(self, ResultEncoding::UTF8, [&](SablotSituation situation, SablotHandle processor) {
        return SablotAddArgBuffer(situation, processor, "style", CStringOrEmpty(xsl));
    });
}

// Deliberately does not mark the result as UTF-8, unlike the form above.
KOVAString XmlDocument_TransformStyleSheet(KOVAObject self, KOVAObject xsl) {
    if (CheckDocument(*NodeOf(self))) return nullptr;
    if (xsl == nullptr) {
        RaiseNilObjectException();
        return nullptr;
    }
    NodeData& style = *NodeOf(xsl);
    if (CheckDocument(style)) return nullptr;
    return Run(self, ResultEncoding::UNMARKED, [&](SablotSituation situation, SablotHandle processor) {
        return SablotAddArgTree(situation, processor, "style", XmlOf(style.xml)->document);
    });
}

KOVAString XmlDocument_TransformEvents(KOVAObject self, KOVAString xsl, KOVAObject handler) {
    return RunWithHandler(self, handler, [&] { return XmlDocument_Transform(self, xsl); });
}

KOVAString XmlDocument_TransformStyleSheetEvents(KOVAObject self, KOVAObject xsl, KOVAObject handler) {
    return RunWithHandler(self, handler, [&] { return XmlDocument_TransformStyleSheet(self, xsl); });
}

} // namespace kova
