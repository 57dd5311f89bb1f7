// XmlReader: a document in pieces, in several encodings, with the entities that follow it. Pieces do not matter.
#include "tests/fuzz/plugin.h"
#include "tests/plugin/reader_trace.h"

namespace {

using host::Call;

enum Option { EXTERNAL_ENTITIES, DEFAULT_EVENTS, EXPANDED, NAMESPACES, NAMED_ENCODING, FORM };

class Target {
public:
    explicit Target() {
        trace_.On("ExternalEntityRef", [this](const host::ObjectRef& self, host::Arguments) -> host::Value {
            if (nextText_ >= input_->texts.size()) return true;
            const std::string& text = input_->texts[nextText_++];
            Call(self, "CreateExternalEntityReader", {""});
            const bool completes = Completes([&] { Call(self, "Parse", {text}); });
            Call(self, "FreeExternalEntityReader");
            return completes;
        });
        trace_.On("UnknownEncoding", [](const host::ObjectRef&, host::Arguments) -> host::Value { return false; });
    }

    std::vector<std::string> Events(const Input& input, size_t pieceSize) {
        input_ = &input;
        nextText_ = 1;
        const host::ObjectRef reader = NewReader();
        if (input.Has(DEFAULT_EVENTS))
            host::SetProperty(reader, input.Has(EXPANDED) ? "SetDefaultHandlerExpand" : "SetDefaultHandler", true);
        const std::string text = InForm(input.texts[0], Form{(input.options >> FORM) & 3});
        return pieceSize == 0 ? trace_.Parse(reader, text) : trace_.ParseChunks(reader, text, pieceSize);
    }

private:
    // An encoding that is named stays allocated on purpose: few inputs name one.
    host::ObjectRef NewReader() const {
        static const host::Value LATIN("ISO-8859-1");
        static const host::Value NONE("");
        if (input_->Has(NAMESPACES)) return trace_.NewReader({input_->Has(NAMED_ENCODING) ? LATIN : NONE, "|"});
        return input_->Has(NAMED_ENCODING) ? trace_.NewReader({LATIN}) : trace_.NewReader();
    }

    ReaderTrace trace_;
    const Input* input_ = nullptr;
    size_t nextText_ = 0;
};

bool Failed(const std::vector<std::string>& events) {
    return !events.empty() && events.back().starts_with("XmlReaderException");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static auto& target = *new Target;
    const Input input(data, size);
    const std::vector<std::string> whole = target.Events(input, 0);
    const std::vector<std::string> pieces = target.Events(input, 1 + input.options % 7);
    if (input.Has(DEFAULT_EVENTS) || Failed(whole) || Failed(pieces)) return 0; // these events come as they may
    Require(Joined(whole) == Joined(pieces), "pieces tell the same events");
    return 0;
}
