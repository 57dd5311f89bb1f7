#include "host/cli/expectations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace host {
namespace {

using testing::ElementsAre;

TEST(CliExpectations, ReadsEveryKind) {
    Expectations e = ReadExpectations("' arguments: a \"b c\"\n"
                                      "' input: yes\n"
                                      "Print \"it's\" ' expect: it's\r\n"
                                      "' expect:   indented\n"
                                      "' expect:\n"
                                      "Dim a As Foo ' expect error: no Foo\n"
                                      "' expect error 12:7: elsewhere: far\n"
                                      "' expect warning 3: unused...\n"
                                      "x.Parse(\"<a\") // expect exception XmlReaderException 3: no element found\n"
                                      "' leaks encoding: 1 String, 2 XmlNode\n"
                                      "' program: ../a b.kova\n"
                                      "Print \"' expect: no\"\n"
                                      "' expected nothing\n");
    ASSERT_EQ(e.output.size(), 3U);
    EXPECT_EQ(e.output[0].line, 3);
    EXPECT_EQ(e.output[0].text, "it's");
    EXPECT_EQ(e.output[1].text, "  indented");
    EXPECT_EQ(e.output[2].text, "");
    ASSERT_EQ(e.errors.size(), 2U);
    EXPECT_EQ(e.errors[0].line, 6);
    EXPECT_EQ(e.errors[0].text, "no Foo");
    EXPECT_EQ(e.errors[1].line, 12);
    EXPECT_EQ(e.errors[1].column, 7);
    EXPECT_EQ(e.errors[1].text, "elsewhere: far");
    ASSERT_EQ(e.warnings.size(), 1U);
    EXPECT_EQ(e.warnings[0].line, 3);
    EXPECT_EQ(e.warnings[0].column, std::nullopt);
    ASSERT_TRUE(e.exception);
    EXPECT_EQ(e.exception->line, 9);
    EXPECT_EQ(e.exception->className, "XmlReaderException");
    EXPECT_EQ(e.exception->number, 3);
    EXPECT_EQ(e.exception->text, "no element found");
    ASSERT_EQ(e.leaks.size(), 1U);
    EXPECT_EQ(e.leaks[0].name, "encoding");
    EXPECT_THAT(e.leaks[0].counts, ElementsAre(std::pair("String", 1), std::pair("XmlNode", 2)));
    EXPECT_THAT(e.arguments, ElementsAre("a", "b c"));
    EXPECT_EQ(e.input, "yes\n");
    EXPECT_EQ(e.program, "../a b.kova");
    EXPECT_TRUE(e.mistakes.empty());
}

TEST(CliExpectations, AnExceptionOnALineOfItsOwnMayComeFromAnywhere) {
    Expectations e = ReadExpectations("\n  ' expect exception NilObjectException\n");
    ASSERT_TRUE(e.exception);
    EXPECT_EQ(e.exception->line, std::nullopt);
    EXPECT_EQ(e.exception->number, std::nullopt);
    EXPECT_EQ(e.exception->text, std::nullopt);
}

TEST(CliExpectations, ReportsWhatLooksLikeAnExpectation) {
    for (std::string_view comment : {"' expect eror: x", "' expect", "' expect error 12", "' expect exception",
                                     "' expect exception A 8 b", "' leaks x", "' leaks x: String"}) {
        Expectations e = ReadExpectations(comment);
        EXPECT_EQ(e.mistakes.size(), 1U) << comment;
    }
    EXPECT_EQ(ReadExpectations("' expect exception A\n' expect exception B\n").mistakes.size(), 1U);
}

TEST(CliExpectations, MatchesMessages) {
    EXPECT_TRUE(MatchesMessage("unknown type Foo", "unknown type Foo"));
    EXPECT_FALSE(MatchesMessage("unknown type Foo", "unknown type"));
    EXPECT_TRUE(MatchesMessage("unknown type Foo", "unknown type..."));
    EXPECT_FALSE(MatchesMessage("unknown", "unknown type..."));
}

TEST(CliExpectations, ComparesLines) {
    struct Case {
        std::vector<std::string> expected, got;
        std::string differences;
    };
    const Case cases[] = {
        {{"a", "b"}, {"a", "b"}, ""},
        {{"a", "b", "c"}, {"a", "x", "c"}, "1/1 "},
        {{"a", "b", "c"}, {"a", "c"}, "1/- "},
        {{"a", "c"}, {"a", "b", "c"}, "-/1 "},
        {{"a", "b", "c", "d"}, {"b", "c", "x", "d", "e"}, "0/- -/2 -/4 "},
        {{}, {"a"}, "-/0 "},
        {{"a"}, {}, "0/- "},
    };
    for (const Case& c : cases) {
        std::string text;
        for (const Difference& d : CompareLines(c.expected, c.got))
            text +=
                (d.expected ? std::to_string(*d.expected) : "-") + "/" + (d.got ? std::to_string(*d.got) : "-") + " ";
        EXPECT_EQ(text, c.differences);
    }
}

} // namespace
} // namespace host
