// Results as text and as events.
#include "tests/sablotron/xslt_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

struct Output {
    const char* name;
    std::string stylesheet;
    const char* setEncoding; // null: not set
    std::string expected;
};

std::string WithOutput(const char* attributes, const char* content) {
    return Sheet(std::string("<xsl:output ") + attributes + "/><xsl:template match='/'>" + content + "</xsl:template>");
}

const std::string UTF8 = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

const Output OUTPUTS[] = {
    {"Plain", Template("<a/>"), nullptr, UTF8 + "<a/>\n"},
    {"CData", WithOutput("cdata-section-elements='a'", "<a>1&lt;2]]&gt;</a>"), nullptr,
     UTF8 + "<a><![CDATA[1<2]]]]><![CDATA[>]]></a>\n"},
    {"NothingAtAll", Template(""), nullptr, UTF8 + "\n"},
    {"Latin1", WithOutput("encoding='ISO-8859-1'", "<a>\xC3\xA4\xE2\x82\xAC</a>"), nullptr,
     "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE4&#8364;</a>\n"},
    {"Windows1252", WithOutput("encoding='windows-1252'", "<a b='\xE2\x82\xAC'>\xC3\xA4\xD0\xAF</a>"), nullptr,
     "<?xml version=\"1.0\" encoding=\"windows-1252\"?><a b=\"\x80\">\xE4&#1071;</a>\n"},
    {"SetEncodingWins", WithOutput("encoding='ISO-8859-1'", "<a>\xC3\xA4</a>"), "US-ASCII",
     "<?xml version=\"1.0\" encoding=\"US-ASCII\"?><a>&#228;</a>\n"},
    {"SetEncodingOfHtml", WithOutput("method='html'", "<p>\xC3\xA4</p>"), "ISO-8859-1", "<p>\xE4</p>\n"},
    {"Html", WithOutput("method='html'", "<html><head><title>t</title></head><body><br/>&lt;</body></html>"), nullptr,
     "<html>\n<head>\n<meta http-equiv=\"Content-Type\" content=\"text/html; charset=UTF-8\">\n<title>t</title>\n"
     "</head>\n<body>\n<br>&lt;</body>\n</html>\n"},
    {"Text", WithOutput("method='text'", "<a>1 &lt; 2</a>\xC3\xA4"), nullptr, "1 < 2\xC3\xA4"},
    {"TextInLatin1", WithOutput("method='text'", "\xC3\xA4"), "ISO-8859-1", "\xE4"},
    {"NoText", WithOutput("method='text'", ""), nullptr, ""},
};

class Outputs : public XsltFixture, public testing::WithParamInterface<Output> {};

TEST_P(Outputs, AreAsXslOutputSays) {
    SablotSetEncoding(processor, GetParam().setEncoding);
    ASSERT_EQ(Transform(GetParam().stylesheet, "<r>x</r>"), 0);
    EXPECT_EQ(Out(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Xslt, Outputs, testing::ValuesIn(OUTPUTS),
                         [](const auto& test) { return std::string(test.param.name); });

// ---- Events ---------------------------------------------------------------------------------------------------------

class Events : public XsltFixture {
protected:
    Events() { SablotRegHandler(processor, SABLOT_HANDLER_OUTPUT, &recorder, this); }

    static int Add(void* self, const std::string& event) {
        auto& events = *static_cast<Events*>(self);
        events.seen.push_back(event);
        if (events.onEvent) events.onEvent(event);
        return 0;
    }

    SablotOutputHandler recorder{
        [](void* self, SablotHandle) { return Add(self, "start document"); },
        [](void* self, SablotHandle, const char* name, const char** attributes) {
            std::string event = std::string("<") + name;
            for (; *attributes != nullptr; attributes += 2)
                event += std::string(" ") + attributes[0] + "='" + attributes[1] + "'";
            return Add(self, event);
        },
        [](void* self, SablotHandle, const char* name) { return Add(self, std::string("</") + name); },
        [](void* self, SablotHandle, const char* prefix, const char* uri) {
            return Add(self, std::string("+'") + prefix + "' '" + uri + "'");
        },
        [](void* self, SablotHandle, const char* prefix) { return Add(self, std::string("-'") + prefix + "'"); },
        [](void* self, SablotHandle, const char* text) { return Add(self, std::string("!") + text); },
        [](void* self, SablotHandle, const char* target, const char* data) {
            return Add(self, std::string("?") + target + " " + data);
        },
        [](void* self, SablotHandle, const char* text, int length) {
            return Add(self, "\"" + std::string(text, static_cast<size_t>(length)) + "\"");
        },
        [](void* self, SablotHandle) { return Add(self, "end document"); }};
    std::vector<std::string> seen;
    std::function<void(const std::string&)> onEvent;
};

TEST_F(Events, AreNotSentWhenTheRunFailsOrTheHandlerHasGone) {
    EXPECT_EQ(Transform(Template("<a/><xsl:value-of select='$v'/>"), "<r/>"), 46);
    EXPECT_TRUE(seen.empty());
    onEvent = [this](const std::string& event) {
        if (event == "<b") SablotUnregHandler(processor, SABLOT_HANDLER_OUTPUT, nullptr, nullptr);
    };
    EXPECT_EQ(Transform(Template("<a><b/><c/></a>"), "<r/>"), 0);
    EXPECT_EQ(seen.back(), "<b");
    EXPECT_EQ(Content(Out()), "<a><b/><c/></a>");
}

// An event may run, query, edit and destroy whatever the run works on; the run is what it was.
TEST_F(Events, MayDoAnything) {
    SDOM_Document style = nullptr;
    ASSERT_EQ(SablotParseStylesheetBuffer(situation, Template("<a><b/><xsl:copy-of select='r'/></a>").c_str(), &style),
              0);
    SDOM_Document source = Parse("<r>x</r>");
    int depth = 0;
    onEvent = [&](const std::string& event) {
        if (event != "<b") return;
        if (++depth < 3) {
            EXPECT_EQ(Transform(style, source), 0);
            return;
        }
        if (depth > 3) return;
        SDOM_NodeList list = nullptr;
        EXPECT_EQ(SDOM_xql(situation, "//text()", reinterpret_cast<SDOM_Node>(source), &list), SDOM_OK);
        SDOM_disposeNodeList(situation, list);
        EXPECT_EQ(SDOM_setAttribute(situation, Root(source), "edited", "1"), SDOM_OK);
        EXPECT_EQ(Transform(style, source), 0);
        SablotDestroyDocument(situation, style);
        style = nullptr;
    };
    EXPECT_EQ(Transform(style, source), 0);
    EXPECT_EQ(style, nullptr);
    EXPECT_EQ(Content(Out()), "<a><b/><r>x</r></a>");
    // The third nested run was the last one that started and saw the edit.
    EXPECT_THAT(seen, testing::Contains("<r edited='1'"));
    EXPECT_EQ(std::count(seen.begin(), seen.end(), "end document"), 4);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), "<r"), 3);
    EXPECT_EQ(Run(), 65); // the stylesheet that was bound is gone
}

TEST_F(Events, MayDestroyTheProcessor) {
    onEvent = [this](const std::string& event) {
        if (event != "<b") return;
        SablotDestroyProcessor(processor);
        processor = nullptr;
    };
    EXPECT_EQ(Transform(Template("<a><b/></a>"), "<r/>"), 0);
    EXPECT_EQ(seen.back(), "<b");
}

} // namespace
