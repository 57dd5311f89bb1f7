// The events of a result, by a walk of its tree.
#include "sablotron/transform/output.h"
#include "sablotron/tree/tree.h"

#include <vector>

namespace sablot {
namespace {

class EventSender {
public:
    explicit EventSender(SablotHandle processor)
        : processor_(processor), record_(processor->outputHandler), userData_(processor->outputData) {}

    void Send(const xmlDoc* result, bool isText) {
        Call(&SablotOutputHandler::startDocument);
        WalkTree(
            AsNode(result), [&](const xmlNode* node) { Enter(*node, isText); },
            [&](const xmlNode* node) { Leave(*node, isText); });
        FlushText();
        Call(&SablotOutputHandler::endDocument);
    }

private:
    // The handler may go, or another one come, in any event.
    bool IsWanted() const { return (record_ != nullptr) && processor_->outputHandler == record_; }

    template <typename Function, typename... Arguments>
    void Call(Function SablotOutputHandler::*event, Arguments... arguments) {
        if (IsWanted() && record_->*event) (record_->*event)(userData_, processor_, arguments...);
    }

    void FlushText() {
        if (text_.empty()) return;
        const std::string text = std::move(text_);
        text_.clear();
        Call(&SablotOutputHandler::characters, text.c_str(), static_cast<int>(text.size()));
    }

    void Enter(const xmlNode& node, bool isText) {
        if (node.type == XML_TEXT_NODE || node.type == XML_CDATA_SECTION_NODE) {
            text_.append(View(node.content));
            return;
        }
        if (isText) return; // markup is not written: what is left is one text
        switch (node.type) {
        case XML_ELEMENT_NODE:
            FlushText();
            StartElement(node);
            break;
        case XML_COMMENT_NODE:
            FlushText();
            Call(&SablotOutputHandler::comment, Text(node.content));
            break;
        case XML_PI_NODE:
            FlushText();
            Call(&SablotOutputHandler::processingInstruction, Text(node.name), Text(node.content));
            break;
        default: break;
        }
    }

    void Leave(const xmlNode& node, bool isText) {
        if (!IsElement(&node) || isText) return;
        FlushText();
        Call(&SablotOutputHandler::endElement, Name(node.ns, node.name).c_str());
        const std::vector<const xmlNs*> bindings = Bindings(node);
        for (auto binding = bindings.rbegin(); binding != bindings.rend(); ++binding)
            Call(&SablotOutputHandler::endNamespace, Text((*binding)->prefix));
        if (HasImplicitDefault(node)) Call(&SablotOutputHandler::endNamespace, "");
    }

    void StartElement(const xmlNode& node) {
        if (HasImplicitDefault(node)) Call(&SablotOutputHandler::startNamespace, "", "");
        for (const xmlNs* binding : Bindings(node))
            Call(&SablotOutputHandler::startNamespace, Text(binding->prefix), Text(binding->href));
        std::vector<std::string> texts;
        for (const xmlAttr* attribute = node.properties; attribute != nullptr; attribute = attribute->next) {
            texts.push_back(Name(attribute->ns, attribute->name));
            std::string& value = texts.emplace_back();
            for (const xmlNode* part = attribute->children; part != nullptr; part = part->next)
                value.append(View(part->content));
        }
        std::vector<const char*> attributes;
        attributes.reserve(texts.size() + 1);
        for (const std::string& text : texts) attributes.push_back(text.c_str());
        attributes.push_back(nullptr);
        Call(&SablotOutputHandler::startElement, Name(node.ns, node.name).c_str(), attributes.data());
    }

    // A top element in no namespace starts the binding of the empty prefix to none.
    static bool HasImplicitDefault(const xmlNode& node) {
        if ((node.ns != nullptr) || IsElement(node.parent)) return false;
        for (const xmlNs* binding = node.nsDef; binding != nullptr; binding = binding->next)
            if (binding->prefix == nullptr) return false;
        return true;
    }
    static std::vector<const xmlNs*> Bindings(const xmlNode& node) {
        std::vector<const xmlNs*> bindings;
        for (const xmlNs* binding = node.nsDef; binding != nullptr; binding = binding->next)
            bindings.push_back(binding);
        return bindings;
    }
    static const char* Text(const xmlChar* text) { return text != nullptr ? Chars(text) : ""; }
    static std::string Name(const xmlNs* binding, const xmlChar* name) {
        std::string result;
        if ((binding != nullptr) && (binding->prefix != nullptr)) result.append(Chars(binding->prefix)).append(":");
        return result.append(Chars(name));
    }

    SablotHandle processor_;
    const SablotOutputHandler* record_;
    void* userData_;
    std::string text_;
};

} // namespace

void SendEvents(const xmlDoc* result, bool isText, SablotHandle processor) {
    EventSender(processor).Send(result, isText);
}

} // namespace sablot
