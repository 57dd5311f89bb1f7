// Documents: loaded, walked, written and loaded again. What was written reads as the same document.
#include "tests/fuzz/plugin.h"

namespace {

using host::Call;
using host::ObjectRef;

enum Option { PRESERVED, FORM, STYLESHEET = FORM + 2 };

constexpr int MOST_NODES = 1000; // that are walked

void Look(const ObjectRef& node) {
    for (const char* property : {"Name", "LocalName", "Prefix", "NamespaceUri", "Value"})
        Completes([&] { TextOf(node, property); });
    const int count = host::GetProperty(node, "AttributeCount").Integer();
    for (int i = 0; i < std::min(count, 20); ++i) {
        const ObjectRef attribute = Call(node, "GetAttributeNode(index as Integer) as XmlAttribute", {i}).GetObject();
        if (attribute) Call(node, "GetAttribute(name as String) as String", {TextOf(attribute, "Name")});
    }
}

// Every node in document order, by links of the tree.
void Walk(const ObjectRef& document) {
    ObjectRef node = document;
    for (int count = 0; node && count < MOST_NODES; ++count) {
        Look(node);
        ObjectRef next = NodeOf(node, "FirstChild");
        while (node && !next) {
            next = NodeOf(node, "NextSibling");
            if (!next) node = NodeOf(node, "Parent");
        }
        node = next;
    }
}

ObjectRef Load(const char* className, bool preserved, const std::string& text) {
    const ObjectRef document = host::Create(className, {}, "Constructor()");
    host::SetProperty(document, "PreserveWhitespace", preserved);
    const bool loads = Completes([&] { Call(document, "LoadXml(doc as String)", {text}); });
    if (!loads) Completes([&] { TextOf(document, "ToString"); });
    return loads ? document : ObjectRef();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartHost();
    const Input input(data, size);
    const ObjectRef document = Load(input.Has(STYLESHEET) ? "XmlStyleSheet" : "XmlDocument", input.Has(PRESERVED),
                                    InForm(input.texts[0], Form{(input.options >> FORM) & 3}));
    if (!document) return 0;
    Walk(document);
    const std::string text = TextOf(document, "ToString");
    const ObjectRef again = Load("XmlDocument", true, text);
    Require(bool{again}, "what was written can be read");
    Require(TextOf(again, "ToString") == text, "what is read is written the same");
    return 0;
}
