// A situation, and the interface with C++ strings, for tests of the document object model.
#pragma once

#include "sablotron/sdom.h"

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sablot::test {

constexpr const char* XML_DECLARATION = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

class Dom {
public:
    Dom() { SablotCreateSituation(&situation); }
    Dom(const Dom&) = delete;
    Dom& operator=(const Dom&) = delete;
    ~Dom() { SablotDestroySituation(situation); }

    SDOM_Document Create() const {
        SDOM_Document document = nullptr;
        EXPECT_EQ(SablotCreateDocument(situation, &document), 0);
        return document;
    }
    SDOM_Document Parse(const std::string& text, int code = 0) const {
        SDOM_Document document = nullptr;
        EXPECT_EQ(SablotParseBuffer(situation, text.c_str(), &document), code) << text.substr(0, 200);
        return document;
    }
    static SDOM_Node Node(SDOM_Document document) { return reinterpret_cast<SDOM_Node>(document); }

    // Calls a function whose last argument is the result; `code` is what it must answer.
    template <typename Result, typename... Parameters, typename... Arguments>
    Result Get(SDOM_Exception (*function)(Parameters...), Arguments... arguments) const {
        Result result{};
        function(situation, arguments..., &result);
        return result;
    }
    // The same for a string; nothing for a null.
    template <typename... Parameters, typename... Arguments>
    std::optional<std::string> Text(SDOM_Exception (*function)(Parameters...), Arguments... arguments) const {
        char* result = Get<char*>(function, arguments...);
        if (!result) return std::nullopt;
        std::string text = result;
        ::operator delete(result);
        return text;
    }
    // Calls a factory, whose result comes after the document.
    template <typename... Parameters, typename... Arguments>
    SDOM_Node Make(SDOM_Exception (*function)(SablotSituation, SDOM_Document, SDOM_Node*, Parameters...),
                   SDOM_Document document, Arguments... arguments) const {
        SDOM_Node node = nullptr;
        function(situation, document, &node, arguments...);
        return node;
    }

    std::string Name(SDOM_Node node) const { return Text(SDOM_getNodeName, node).value_or("(null)"); }
    std::string Value(SDOM_Node node) const { return Text(SDOM_getNodeValue, node).value_or("(null)"); }
    SDOM_Node Root(SDOM_Document document) const { return Get<SDOM_Node>(SDOM_getDocumentElement, document); }
    SDOM_Node Child(SDOM_Node node, int index) const { return Get<SDOM_Node>(SDOM_getChildNodeIndex, node, index); }
    int Count(SDOM_Node node) const { return Get<int>(SDOM_getChildNodeCount, node); }
    int Compare(SDOM_Node node, SDOM_Node other) const { return Get<int>(SDOM_compareNodes, node, other); }
    SDOM_Exception Recorded() const { return SDOM_getExceptionCode(situation); }

    // The document without its XML declaration.
    std::string Markup(SDOM_Document document) const {
        std::string text = Freeable(Get<char*>(SDOM_docToString, document));
        EXPECT_TRUE(text.starts_with(XML_DECLARATION)) << text.substr(0, 100);
        return text.substr(std::string(XML_DECLARATION).size());
    }
    std::string Markup(SDOM_Node node) const {
        return Freeable(Get<char*>(SDOM_nodeToString, Get<SDOM_Document>(SDOM_getOwnerDocument, node), node));
    }

    // The attribute list as "name=value" items.
    std::vector<std::string> Attributes(SDOM_Node element) const {
        std::vector<std::string> attributes;
        int count = Get<int>(SDOM_getAttributeNodeCount, element);
        for (int i = 0; i < count; ++i) {
            auto attribute = Get<SDOM_Node>(SDOM_getAttributeNodeIndex, element, i);
            attributes.push_back(Name(attribute) + "=" + Value(attribute));
        }
        return attributes;
    }

    SablotSituation situation = nullptr;

private:
    static std::string Freeable(char* text) {
        std::string copy = text != nullptr ? text : "(null)";
        SablotFree(text);
        return copy;
    }
};

} // namespace sablot::test
