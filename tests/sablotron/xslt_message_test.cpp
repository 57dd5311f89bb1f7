// The fields of messages; host programs hold the texts of failures.
#include "tests/sablotron/xslt_fixture.h"

#include <gmock/gmock.h>

namespace {

class MessageFields : public XsltFixture {};

TEST_F(MessageFields, StandInTheirOrder) {
    EXPECT_EQ(Transform(Template("<a/>"), "<a/>"), 0); // AddressSanitizer has a word to say of the first run
    testing::internal::CaptureStderr();
    EXPECT_EQ(Transform(Template("\n<xsl:value-of select='$v'/>"), "<a/>"), 46);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(Out(), "(none)");
    EXPECT_EQ(severity, 1);
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

TEST_F(MessageFields, NameAnArgumentThatIsMissing) {
    EXPECT_EQ(SablotRunProcessorGen(situation, processor, "arg:/none", "arg:/doc", "arg:/out"), 65);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].Field("msg"), "'arg:/none' not found");
}

TEST_F(MessageFields, EndWithTheProcessor) {
    SablotDestroyProcessor(processor);
    processor = nullptr;
    SDOM_Document document = nullptr;
    EXPECT_EQ(SablotParseBuffer(situation, "<a", &document), 2);
    documents.push_back(document);
    EXPECT_TRUE(messages.empty());
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
