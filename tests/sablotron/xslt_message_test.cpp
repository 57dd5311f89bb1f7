// Every kind of failure: one message with code, place and text, and the same code as the result of the call.
#include "tests/sablotron/xslt_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::HasSubstr;

struct Failure {
    const char* name;
    std::string stylesheet;
    int code;
    const char* line; // "" for none
    const char* node;
    const char* text; // part of the message
};

// Of every kind that is reported another way; host programs hold the texts of all.
const Failure FAILURES[] = {
    {"NotWellFormed", "<a>\n<b></a>", 2, "2", "", "XML parser error 76: Opening and ending tag mismatch"},
    {"UnknownInstruction", Template("\n<xsl:foo/>"), 7, "2", "element '<xsl:foo>'", "foo"},
    {"XPathInSelect", Template("\n<xsl:value-of select='a['/>"), 18, "2", "element '<xsl:value-of>'", "'a['"},
    {"UndeclaredVariable", Template("\n<xsl:value-of select='$v'/>"), 46, "2", "element '<xsl:value-of>'", "'v'"},
    {"Terminated", Template("\n<xsl:message terminate='yes'>no <b>way</b></xsl:message>"), 60, "2",
     "element '<xsl:message>'", "xsl:message (no way) - terminating"},
    {"MissingImport", Sheet("\n<xsl:import href='arg:/none'/>"), 65, "2", "element '<xsl:import>'",
     "'arg:/none' not found"},
    {"UnknownEncoding", Sheet("\n<xsl:output encoding='x-none'/>"), 69, "2", "element '<xsl:output>'",
     "unknown encoding 'x-none'"},
    {"EndlessTemplates", Sheet("\n<xsl:template match='/' name='t'>\n<xsl:call-template name='t'/></xsl:template>"), 1,
     "3", "element '<xsl:call-template>'", "recursion"},
};

class Messages : public XsltFixture, public testing::WithParamInterface<Failure> {};

TEST_P(Messages, OneForEachFailure) {
    const Failure& failure = GetParam();
    testing::internal::CaptureStderr();
    EXPECT_EQ(Transform(failure.stylesheet, "<r><a>x</a></r>"), failure.code);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(Out(), "(none)");
    ASSERT_EQ(messages.size(), 1U) << failure.stylesheet;
    const Message& message = messages[0];
    EXPECT_EQ(message.code, failure.code);
    EXPECT_EQ(message.level, 3);
    EXPECT_EQ(severity, 1);
    EXPECT_EQ(message.Field("msgtype"), "error");
    EXPECT_EQ(message.Field("code"), std::to_string(failure.code));
    EXPECT_EQ(message.Field("module"), "Sablotron");
    EXPECT_EQ(message.Field("line"), failure.line);
    EXPECT_EQ(message.Field("node"), failure.node);
    EXPECT_THAT(message.Field("msg"), HasSubstr(failure.text));
    EXPECT_EQ(message.Field("URI"), *failure.line ? "arg:/style" : "");
    EXPECT_EQ(message.Field("msg").find('\n'), std::string::npos);
    // The processor works on.
    EXPECT_EQ(Result(Template("<ok/>"), "<a/>"), "<ok/>");
}

INSTANTIATE_TEST_SUITE_P(Xslt, Messages, testing::ValuesIn(FAILURES),
                         [](const auto& test) { return std::string(test.param.name); });

class MessageFields : public XsltFixture {};

TEST_F(MessageFields, StandInTheirOrder) {
    Transform(Template("\n<xsl:value-of select='$v'/>"), "<a/>");
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_THAT(messages[0].fields,
                testing::ElementsAre("msgtype:error", "code:46", "module:Sablotron", "URI:arg:/style", "line:2",
                                     "node:element '<xsl:value-of>'", "msg:Variable 'v' has not been declared."));
}

TEST_F(MessageFields, OfXslMessageGoToLog) {
    EXPECT_EQ(Result(Template("\n<xsl:message>one <xsl:value-of select='a'/></xsl:message><xsl:message/><ok/>"),
                     "<a>two</a>"),
              "<ok/>");
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_THAT(messages[0].fields,
                testing::ElementsAre("msgtype:warning", "code:89", "module:Sablotron", "URI:arg:/style", "line:2",
                                     "node:element '<xsl:message>'", "msg:xsl:message (one two)"));
    EXPECT_EQ(messages[0].level, 2);
    EXPECT_EQ(severity, 0);
    EXPECT_EQ(messages[1].Field("msg"), "xsl:message ()");
}

TEST_F(MessageFields, NameTheModuleThatFails) {
    const std::string module = Sheet("\n\n<xsl:template match='/'>\n<xsl:value-of select='$v'/></xsl:template>");
    SablotAddArgBuffer(situation, processor, "module.xsl", module.c_str());
    for (const char* statement : {"<xsl:import href='module.xsl'/>", "<xsl:include href='arg:/module.xsl'/>"}) {
        EXPECT_EQ(Transform(Sheet(statement), "<a/>"), 46);
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages[0].Field("URI"), "arg:/module.xsl");
        EXPECT_EQ(messages[0].Field("line"), "4");
    }
    SablotAddArgBuffer(situation, processor, "module.xsl", "<a>\n<b></a>");
    EXPECT_EQ(Transform(Sheet("<xsl:import href='module.xsl'/>"), "<a/>"), 2);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].Field("URI"), "arg:/module.xsl");
    EXPECT_EQ(messages[0].Field("line"), "2");
}

TEST_F(MessageFields, KeepLinesBeyond65535) {
    const std::string lines(70000, '\n');
    EXPECT_EQ(Transform(Template(lines + "<xsl:value-of select='$v'/>"), "<a/>"), 46);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].Field("line"), "70001");
}

// Lines go with copies of the tree, also into another document.
TEST_F(MessageFields, KeepTheLinesOfCopies) {
    SDOM_Document style = Parse(Template(std::string(70000, '\n') + "<xsl:value-of select='$v'/>"));
    for (const bool foreign : {false, true}) {
        SDOM_Document other = Parse("<a/>");
        SDOM_Node copy = nullptr;
        SDOM_cloneForeignNode(situation, other, Root(style), 1, &copy);
        if (!foreign) SDOM_cloneNode(situation, copy, 1, &copy);
        SDOM_replaceChild(situation, reinterpret_cast<SDOM_Node>(other), copy, Root(other));
        EXPECT_EQ(Transform(other, Parse("<a/>")), 46);
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(messages[0].Field("line"), "70001");
    }
}

TEST_F(MessageFields, EndWithTheProcessor) {
    SablotDestroyProcessor(processor);
    processor = nullptr;
    SDOM_Document document = nullptr;
    EXPECT_EQ(SablotParseBuffer(situation, "<a", &document), 2);
    documents.push_back(document);
    EXPECT_TRUE(messages.empty());
}

TEST_F(MessageFields, OfAStylesheetThatIsParsed) {
    SDOM_Document document = nullptr;
    const std::string text = Template("\n<xsl:value-of select='a['/>");
    EXPECT_EQ(SablotParseStylesheetBuffer(situation, text.c_str(), &document), 18);
    documents.push_back(document);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].Field("line"), "2");
    EXPECT_EQ(messages[0].Field("node"), "element '<xsl:value-of>'");
    EXPECT_EQ(messages[0].Field("URI"), "arg:/style");
}

// A failure that EXSLT lets a stylesheet pass is none.
TEST_F(MessageFields, AreNotSentForWhatIsNoFailure) {
    EXPECT_EQ(Result("<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform' "
                     "xmlns:dyn='http://exslt.org/dynamic' exclude-result-prefixes='dyn'><xsl:template match='/'>"
                     "<b><xsl:value-of select=\"dyn:evaluate('a[')\"/></b></xsl:template></xsl:stylesheet>",
                     "<a/>"),
              "<b/>");
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(Result("<xsl:stylesheet version='2.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
                     "<xsl:template match='/'><xsl:foo><xsl:fallback><b/></xsl:fallback></xsl:foo></xsl:template>"
                     "</xsl:stylesheet>",
                     "<a/>"),
              "<b/>");
    EXPECT_TRUE(messages.empty());
}

} // namespace
