// What `kova test` reads from the comments of a program, and how it tells a difference.
#include "host/cli/expectations.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace host {
namespace {

TEST(CliExpectations, ReportsWhatLooksLikeAnExpectation) {
    for (std::string_view comment : {"' expect eror: x", "' expect", "' expect error 12", "' expect exception",
                                     "' expect exception A 8 b", "' leaks x", "' leaks x: String"}) {
        Expectations e = ReadExpectations(comment);
        EXPECT_EQ(e.mistakes.size(), 1U) << comment;
    }
    EXPECT_EQ(ReadExpectations("' expect exception A\n' expect exception B\n").mistakes.size(), 1U);
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
