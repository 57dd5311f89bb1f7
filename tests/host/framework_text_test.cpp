#include "host/framework/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace host {
namespace {

constexpr Characters BYTES = Characters::BYTES;
constexpr Characters UTF8 = Characters::UTF8;

TEST(FrameworkText, CountsAndCutsCharacters) {
    struct Case {
        std::string_view text;
        Characters characters;
        size_t count;
        std::string_view secondAndThird;
        std::string_view lastTwo;
    };
    const Case cases[] = {
        {"", UTF8, 0, "", ""},
        {"a", UTF8, 1, "", "a"},
        {"abcdefghijklmnopqrstuvwxyz", UTF8, 26, "bc", "yz"},
        {"Stra\xC3\x9F"
         "e",
         UTF8, 6, "tr",
         "\xC3\x9F"
         "e"},
        {"Stra\xC3\x9F"
         "e",
         BYTES, 7, "tr",
         "\x9F"
         "e"},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", UTF8, 3, "\xE2\x82\xAC\xF0\x9F\x98\x80",
         "\xE2\x82\xAC\xF0\x9F\x98\x80"},
        // Sixteen ASCII bytes and one more character: past the fast path's stride.
        {"0123456789abcdef\xC3\xA9", UTF8, 17, "12", "f\xC3\xA9"},
        // Ill-formed: a lone continuation byte, a truncated sequence.
        {"\x80"
         "a\xE2\x82",
         UTF8, 3, "a\xE2\x82", "a\xE2\x82"},
        {std::string_view("a\0b", 3), UTF8, 3, std::string_view("\0b", 2), std::string_view("\0b", 2)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(CountCharacters(c.text, c.characters), c.count);
        EXPECT_EQ(Substring(c.text, 1, 2, c.characters), c.secondAndThird);
        EXPECT_EQ(LastCharacters(c.text, 2, c.characters), c.lastTwo);
        EXPECT_EQ(Substring(c.text, 0, SIZE_MAX, c.characters), c.text);
        EXPECT_EQ(Substring(c.text, SIZE_MAX, SIZE_MAX, c.characters), "");
    }
}

TEST(FrameworkText, FindsByCharacterIndex) {
    struct Case {
        std::string_view text, wanted;
        size_t start;
        Characters characters;
        std::optional<size_t> index;
    };
    const Case cases[] = {
        {"banana", "an", 0, UTF8, 1},
        {"banana", "an", 2, UTF8, 3},
        {"banana", "an", 4, UTF8, std::nullopt},
        {"\xC3\xA4\xC3\xB6x", "x", 0, UTF8, 2},
        {"\xC3\xA4\xC3\xB6x", "x", 0, BYTES, 4},
        {"\xC3\xA4x\xC3\xA4x", "x", 2, UTF8, 3},
        {"abc", "", 1, UTF8, 1},
        {"abc", "", 9, UTF8, 3},
        {"", "a", 0, UTF8, std::nullopt},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " / " + std::string(c.wanted));
        EXPECT_EQ(FindText(c.text, c.wanted, c.start, c.characters), c.index);
    }
}

TEST(FrameworkText, ReplacesSplitsAndTrims) {
    EXPECT_EQ(ReplaceText("a-b-c", "-", "--", true), "a--b--c");
    EXPECT_EQ(ReplaceText("a-b-c", "-", "", false), "ab-c");
    EXPECT_EQ(ReplaceText("abc", "", "x", true), "abc");
    EXPECT_THAT(SplitText("a,,b,", ",", UTF8), testing::ElementsAre("a", "", "b", ""));
    EXPECT_THAT(SplitText("", ",", UTF8), testing::ElementsAre(""));
    EXPECT_THAT(SplitText("x\xC3\xA4", "", UTF8), testing::ElementsAre("x", "\xC3\xA4"));
    EXPECT_THAT(SplitText("x\xC3\xA4", "", BYTES), testing::ElementsAre("x", "\xC3", "\xA4"));
    // U+00A0 and U+2003 are white space as characters, and nothing of the kind as bytes.
    EXPECT_EQ(TrimRight(TrimLeft("\t \xC2\xA0 x y\xE2\x80\x83\n", UTF8), UTF8), "x y");
    EXPECT_EQ(TrimLeft(" \xC2\xA0x", BYTES), "\xC2\xA0x");
    EXPECT_EQ(TrimRight(" \r\n ", UTF8), "");
}

TEST(FrameworkText, MapsCaseByUnicode) {
    struct Case {
        std::string_view text, upper, lower;
        Characters characters;
    };
    const Case cases[] = {
        {"aZ09[`{", "AZ09[`{", "az09[`{", UTF8},
        {"\xC3\xA4\xC3\x96", "\xC3\x84\xC3\x96", "\xC3\xA4\xC3\xB6", UTF8},
        {"\xC3\xA4Z", "\xC3\xA4Z", "\xC3\xA4z", BYTES},
        // Mappings that change the length: sharp s; U+0390 grows to three characters; final sigma.
        {"\xC3\x9F", "SS", "\xC3\x9F", UTF8},
        {"\xCE\x90", "\xCE\x99\xCC\x88\xCC\x81", "\xCE\x90", UTF8},
        {"\xCE\x91\xCE\xA3", "\xCE\x91\xCE\xA3", "\xCE\xB1\xCF\x82", UTF8},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ToUppercase(c.text, c.characters), c.upper);
        EXPECT_EQ(ToLowercase(c.text, c.characters), c.lower);
    }
}

TEST(FrameworkText, EncodesAndDecodesCodePoints) {
    EXPECT_EQ(EncodeCodePoint(0), std::string(1, '\0'));
    EXPECT_EQ(EncodeCodePoint(0x20AC), "\xE2\x82\xAC");
    EXPECT_EQ(EncodeCodePoint(0x10FFFF), "\xF4\x8F\xBF\xBF");
    for (uint32_t bad : {0xD800U, 0xDFFFU, 0x110000U, 0xFFFFFFFFU}) EXPECT_EQ(EncodeCodePoint(bad), std::nullopt);
    EXPECT_EQ(FirstCodePoint("\xE2\x82\xACx", UTF8), 0x20AC);
    EXPECT_EQ(FirstCodePoint("\xE2\x82\xACx", BYTES), 0xE2);
    EXPECT_EQ(FirstCodePoint("\xFF", UTF8), 0xFFFD);
    EXPECT_EQ(FirstCodePoint("", UTF8), -1);
}

TEST(FrameworkText, ReadsAndWritesNumbers) {
    struct Case {
        std::string_view text;
        double value;
    };
    const Case cases[] = {
        {"12", 12},    {" \t-3.5abc", -3.5},
        {"+7", 7},     {"+-7", 0},
        {"1e3", 1000}, {".5", 0.5},
        {"-", 0},      {"", 0},
        {"abc", 0},    {"inf", 0},
        {"nan", 0},    {"-inf", 0},
        {"&hFF", 255}, {"&b101x", 5},
        {"&o17", 15},  {"&h", 0},
        {"&z1", 0},    {"12,5", 12},
        {"1e-999", 0}, {"0x10", 0},
        {"1e", 1},     {"4294967296", 4294967296.0},
    };
    for (const Case& c : cases) EXPECT_EQ(NumberValue(c.text), c.value) << c.text;
    EXPECT_EQ(NumberValue("1e999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(NumberValue("-1e999"), -std::numeric_limits<double>::infinity());
    for (double number : {0.1, 1.0 / 3, 5e-324, 1.7976931348623157e308, -2.5})
        EXPECT_EQ(NumberValue(NumberText(number)), number);
    EXPECT_EQ(NumberText(3), "3");
    EXPECT_EQ(NumberText(0.1), "0.1");
    EXPECT_EQ(NumberText(std::nan("")), "NaN");
}

TEST(FrameworkText, FormatsNumbersByPattern) {
    struct Case {
        double number;
        std::string_view pattern, text;
    };
    const Case cases[] = {
        {1234567.891, "#,##0.00", "1,234,567.89"},
        {0.5, "0", "1"},
        {-1.5, "0;(0)", "(2)"},
        {0.256, "0.0%", "25.6%"},
        {7, "000", "007"},
        {12345, "0.00E+0", "1.23E+4"},
        {3, "0\\%", "3%"},
        {3, "0 o'clock", "3 o'clock"},
        {2.5, "#.##", "2.5"},
        {3, "0 \xE2\x82\xAC", "3 \xE2\x82\xAC"},

    };
    for (const Case& c : cases) EXPECT_EQ(FormatNumber(c.number, c.pattern), c.text) << c.pattern;
    EXPECT_EQ(FormatNumber(1e100, "0.0"), "1" + std::string(100, '0') + ".0");
    EXPECT_EQ(FormatNumber(1, "0.0.0"), std::nullopt);
}

} // namespace
} // namespace host
