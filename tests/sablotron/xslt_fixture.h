// A processor with a message handler that keeps what it gets.
#pragma once

#include "sablotron/sablot.h"
#include "sablotron/sdom.h"
#include "sablotron/tree/xpath.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

constexpr const char* XSLT_PROLOG = "<xsl:stylesheet version='1.0' "
                                    "xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>";

// A stylesheet with this content; its content begins in line 1.
inline std::string Sheet(const std::string& content) { return XSLT_PROLOG + content + "</xsl:stylesheet>"; }
// A stylesheet whose template for the root has this content.
inline std::string Template(const std::string& content) {
    return Sheet("<xsl:template match='/'>" + content + "</xsl:template>");
}

class XsltFixture : public testing::Test {
protected:
    struct Message {
        int code;
        int level;
        std::vector<std::string> fields;

        // The value of a field; "" when there is none.
        std::string Field(const std::string& name) const {
            for (const std::string& field : fields)
                if (field.rfind(name + ":", 0) == 0) return field.substr(name.size() + 1);
            return "";
        }
    };

    XsltFixture() {
        SablotCreateSituation(&situation);
        SablotCreateProcessorForSituation(situation, &processor);
        SablotRegHandler(processor, SABLOT_HANDLER_MESSAGE, &handler, this);
    }
    ~XsltFixture() override {
        if (processor != nullptr) SablotDestroyProcessor(processor);
        for (SDOM_Document document : documents) SablotDestroyDocument(situation, document);
        SablotDestroySituation(situation);
        sablot::maxXPathOperations = operationLimit;
    }

    SDOM_Document Parse(const std::string& text) {
        SDOM_Document document = nullptr;
        EXPECT_EQ(SablotParseBuffer(situation, text.c_str(), &document), 0) << text;
        documents.push_back(document);
        return document;
    }
    std::string Text(SDOM_Document document) {
        char* text = nullptr;
        SDOM_docToString(situation, document, &text);
        const std::string result = text != nullptr ? text : "";
        SablotFree(text);
        return result;
    }
    SDOM_Node Root(SDOM_Document document) {
        SDOM_Node node = nullptr;
        SDOM_getFirstChild(situation, reinterpret_cast<SDOM_Node>(document), &node);
        return node;
    }

    int Run() {
        messages.clear();
        return SablotRunProcessorGen(situation, processor, "arg:/style", "arg:/doc", "arg:/out");
    }
    int Transform(const std::string& stylesheet, const std::string& source) {
        SablotAddArgBuffer(situation, processor, "style", stylesheet.c_str());
        SablotAddArgBuffer(situation, processor, "doc", source.c_str());
        return Run();
    }
    int Transform(SDOM_Document stylesheet, SDOM_Document source) {
        SablotAddArgTree(situation, processor, "style", stylesheet);
        SablotAddArgTree(situation, processor, "doc", source);
        return Run();
    }
    int Transform(const std::string& stylesheet, SDOM_Document source) {
        SablotAddArgBuffer(situation, processor, "style", stylesheet.c_str());
        SablotAddArgTree(situation, processor, "doc", source);
        return Run();
    }
    // The result; "(none)" when there is none.
    std::string Out() {
        char* text = nullptr;
        EXPECT_EQ(SablotGetResultArg(processor, "arg:/out", &text), 0);
        const std::string result = text != nullptr ? text : "(none)";
        std::free(text);
        return result;
    }
    // The result of a run that succeeds, without its XML declaration and the last line break.
    std::string Result(const std::string& stylesheet, const std::string& source) {
        if (const int code = Transform(stylesheet, source); code != 0)
            return "code " + std::to_string(code) + ": " + (messages.empty() ? "" : messages[0].Field("msg"));
        return Content(Out());
    }
    static std::string Content(std::string text) {
        if (text.rfind("<?xml", 0) == 0) text.erase(0, text.find("?>") + 2);
        if (!text.empty() && text.back() == '\n') text.pop_back();
        return text;
    }

    static int Keep(void* self, SablotHandle, int code, int level, char** fields) {
        Message message{code, level, {}};
        for (; *fields != nullptr; ++fields) message.fields.emplace_back(*fields);
        static_cast<XsltFixture*>(self)->messages.push_back(message);
        return 0;
    }

    const unsigned long operationLimit = sablot::maxXPathOperations; // which a test may change
    SablotSituation situation = nullptr;
    SablotHandle processor = nullptr;
    SablotMessageHandler handler{[](void* self, SablotHandle, int latest, unsigned short, unsigned short code) {
                                     static_cast<XsltFixture*>(self)->severity = latest;
                                     return static_cast<int>(code);
                                 },
                                 Keep, Keep};
    int severity = -1; // of the latest message
    std::vector<Message> messages;
    std::vector<SDOM_Document> documents;
};
