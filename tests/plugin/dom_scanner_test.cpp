// The markup scanner's table, in the test's process.
#include "dom/markup_scanner.h"
#include "host/runtime/dynamic.h"
#include "tests/plugin/plugin_host.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Scan(const char* text) {
    const host::StringRef result =
        host::StringRef::Adopt(reinterpret_cast<host::String*>(kova::MarkupScanner().Run(text)));
    return std::string(result.View());
}

struct Case {
    const char* name;
    const char* input;
    const char* output;
};

// One line a case; the name tells the state or the rule at stake.
const Case CASES[] = {
    {"Empty", "", ""},
    {"OnlyWhitespace", " \t\r\n", " \t\r\n"},
    {"BetweenMarkup", "  <a> <b/> </a>", "<a><b/></a>"},
    {"AllFourWhitespaceBytes", "<a>\t\n\r <b/></a>", "<a><b/></a>"},
    {"AroundText", "<a> x </a>", "<a> x </a>"},
    {"BeforeText", "<a> x</a> <b/>", "<a> x</a><b/>"},
    {"OnlyTextNoMarkup", "  x  ", "  x  "},
    {"AtTheEnd", "<a/>\n", "<a/>\n"},
    {"AtTheEndAfterText", "<a/> x ", "<a/> x "},
    {"OtherBlanksStay", "<a>\v</a>\f<b/>", "<a>\v</a>\f<b/>"},
    {"HighBytesStay", "<a>\xC2\xA0</a>\x85<b/>", "<a>\xC2\xA0</a>\x85<b/>"},
    {"HighControlBytesStay", "<a>\x89\x8A<b/></a>", "<a>\x89\x8A<b/></a>"}, // 9 and 10 with the top bit
    {"InsideTags", "<a  b = ' 1 ' > <c/></a>", "<a  b = ' 1 ' ><c/></a>"},
    {"GreaterThanInText", "<a>x> <b/></a>", "<a>x><b/></a>"},
    {"GreaterThanFirstInText", "<a>> <b/></a>", "<a>> <b/></a>"}, // read in state 0: not looked at again
    {"EndsInTag", "<a", "<a"},
    {"EndsInLessThan", "<a> <", "<a><"},
    {"Comment", "<!-- a > <b --> <c/>", "<!-- a ><b --><c/>"},
    {"CommentOfNothing", "<!----> <c/>", "<!----><c/>"},
    {"Cdata", "<a><![CDATA[ ]]> </a>", "<a><![CDATA[ ]]></a>"},
    {"CdataWithMarkup", "<a><![CDATA[<b> <c>]]> </a>", "<a><![CDATA[<b> <c>]]></a>"},
    {"CdataTwice", "<![CDATA[> <]]> <![CDATA[> <]]> <a/>", "<![CDATA[> <]]><![CDATA[> <]]><a/>"},
    {"CdataEndsInText", "<![CDATA[ > <", "<![CDATA[ > <"},
    {"CdataEndsAfterOneBracket", "<![CDATA[ ] > <", "<![CDATA[ ] > <"},
    {"CdataEndsAfterTwoBrackets", "<![CDATA[ ]] < ", "<![CDATA[ ]] < "},
    // The wrong turn of state 11: a lone bracket and a later one count as "]]".
    {"CdataLoneBrackets", "<![CDATA[a]b]c> <d]]> <e/>", "<![CDATA[a]b]c><d]]><e/>"},
    {"CdataLoneBracketThenEnd", "<![CDATA[a] > <b]c > <d/>", "<![CDATA[a] > <b]c ><d/>"},
    // The wrong turn of state 12: after "]]" any later '>' ends the section.
    {"CdataTwoBracketsInside", "<![CDATA[a]]b > <c]]> <d/>", "<![CDATA[a]]b ><c]]><d/>"},
    {"CdataThreeBrackets", "<![CDATA[a]]]> <b/>", "<![CDATA[a]]]><b/>"},
    // A byte that breaks the opening, in each of the states 2 to 9: what follows is a tag, not a section.
    {"BrokenInState2", "<x[CDATA[> <]]>", "<x[CDATA[><]]>"},
    {"BrokenInState3", "<!xCDATA[> <]]>", "<!xCDATA[><]]>"},
    {"BrokenInState4", "<![xDATA[> <]]>", "<![xDATA[><]]>"},
    {"BrokenInState5", "<![CxATA[> <]]>", "<![CxATA[><]]>"},
    {"BrokenInState6", "<![CDxTA[> <]]>", "<![CDxTA[><]]>"},
    {"BrokenInState7", "<![CDAxA[> <]]>", "<![CDAxA[><]]>"},
    {"BrokenInState8", "<![CDATx[> <]]>", "<![CDATx[><]]>"},
    {"BrokenInState9", "<![CDATAx> <]]>", "<![CDATAx><]]>"},
    {"LowerCaseOpening", "<![cdata[> <]]>", "<![cdata[><]]>"},
    // The breaking byte is consumed: a '>' or '<' there neither ends nor starts markup.
    {"BreakingGreaterThan", "<> <a> <b/>", "<> <a><b/>"},
    {"BreakingGreaterThanLater", "<!> <a> <b/>", "<!> <a><b/>"},
    {"BreakingLessThan", "<<![CDATA[> <", "<<![CDATA[><"},
    {"EndsInOpening", "<![CDA", "<![CDA"},
};

class Scanner : public testing::TestWithParam<Case> {
protected:
    static void SetUpTestSuite() { StartHost(); }
};

class ScannerRun : public testing::Test {
protected:
    static void SetUpTestSuite() { StartHost(); }
};

TEST_P(Scanner, Drops) { EXPECT_EQ(Scan(GetParam().input), GetParam().output); }

INSTANTIATE_TEST_SUITE_P(Table, Scanner, testing::ValuesIn(CASES), [](const auto& each) { return each.param.name; });

TEST_F(ScannerRun, NilIsEmptyAndEachTokenIsReleased) {
    const auto before = host::LiveStringCount();
    EXPECT_EQ(Scan(nullptr), "");
    EXPECT_EQ(Scan("<a> <b/> x </a>"), "<a><b/> x </a>");
    EXPECT_EQ(host::LiveStringCount(), before);
}

} // namespace
