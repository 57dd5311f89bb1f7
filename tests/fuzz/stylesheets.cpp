// Stylesheets and what they are applied to: given as text, as a document, and with a handler of events.
#include "dom/node.h"
#include "sablotron/transform/processor.h"
#include "sablotron/tree/xpath.h"
#include "tests/fuzz/plugin.h"

namespace {

using host::Call;
using host::ObjectRef;

enum Option { FORM, KEEPS_SOURCE = 2 };

const host::HandlerClass& Handlers() {
    static auto& handlers = *[] {
        auto* made = new host::HandlerClass("XmlXsltHandler");
        for (const auto& event : made->Get()->super->events)
            made->On(event->signature.name, [](const ObjectRef&, host::Arguments) { return host::Value(); });
        return made;
    }();
    return handlers;
}

ObjectRef Source(const Input& input) {
    ObjectRef document = host::Create("XmlDocument", {}, "Constructor()");
    const std::string text =
        input.texts.size() > 1 && input.Has(KEEPS_SOURCE) ? input.texts[1] : "<a b='1'><c>t</c><c/></a>";
    if (!Completes([&] { Call(document, "LoadXml(doc as String)", {text}); })) return {};
    auto* wrapper = kova::NodeOf(reinterpret_cast<kova::KOVAObject>(document.Get()));
    SablotHandle processor = kova::XmlOf(wrapper->xml)->processor;
    processor->maxInstructions = 20'000;
    processor->maxMemory = size_t{1} << 26;
    return document;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartHost();
    sablot::maxXPathOperations = 200'000;
    const Input input(data, size);
    const ObjectRef document = Source(input);
    if (!document) return 0;
    const std::string before = TextOf(document, "ToString");
    const std::string& style = input.texts[0];
    switch ((input.options >> FORM) & 3) {
    case 0: Completes([&] { Call(document, "Transform(xsl as String) as String", {style}); }); break;
    case 1:
        Completes([&] {
            const ObjectRef handler = Handlers().Create();
            Call(document, "Transform(xsl as String, saxHandler as XmlXsltHandler) as String", {style, handler});
        });
        break;
    default:
        Completes([&] {
            const ObjectRef sheet = host::Create("XmlStyleSheet", {style}, "Constructor(xmlDoc as String)");
            for (int i = 0; i < 2; ++i)
                Completes([&] { Call(document, "Transform(xsl as XmlStylesheet) as String", {sheet}); });
        });
    }
    Require(TextOf(document, "ToString") == before, "transformations change nothing");
    return 0;
}
