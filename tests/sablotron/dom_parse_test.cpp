// Parsing: encodings, bombs and limits; host programs hold what reaches the tree and what is refused.
#include "sablotron/tree/parse.h"
#include "tests/sablotron/dom_support.h"

#include <gmock/gmock.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/uset.h>

#include <random>

namespace sablot::test {
namespace {

// Every encoding that the converter knows, against the converter alone: characters anywhere in long texts.
TEST(Parse, LosesNoCharacterInAnyEncoding) {
    std::mt19937 random(20'061);
    int encodings = 0;
    for (int32_t index = 0; index < ucnv_countAvailable(); ++index) {
        UErrorCode status = U_ZERO_ERROR;
        const char* own = ucnv_getAvailableName(index);
        const char* standard = ucnv_getStandardName(own, "MIME", &status);
        const std::string name = standard != nullptr ? standard : own;
        if (name.find_first_of(",:=") != std::string::npos) continue; // no name in XML (XML 1.0, 4.3.3)
        const icu::LocalUConverterPointer converter(ucnv_open(name.c_str(), &status));
        icu::LocalUSetPointer characters(uset_openEmpty());
        ucnv_getUnicodeSet(converter.getAlias(), characters.getAlias(), UCNV_ROUNDTRIP_SET, &status);
        ASSERT_TRUE(U_SUCCESS(status)) << name;
        const auto inEncoding = [&](const icu::UnicodeString& text) {
            std::string bytes(8 * static_cast<size_t>(text.length()) + 16, '\0');
            bytes.resize(static_cast<size_t>(
                text.extract(bytes.data(), static_cast<int32_t>(bytes.size()), converter.getAlias(), status)));
            return bytes;
        };
        icu::UnicodeString text = icu::UnicodeString::fromUTF8("<?xml version='1.0' encoding='" + name + "'?><a>");
        const std::string start = inEncoding(text);
        const std::string utf8 = "<?xml version='1.0'";
        // Others cannot say what they are.
        if (!start.starts_with(utf8) && !start.starts_with("\x4C\x6F\xA7\x94\x93")) continue;
        if (ucnv_getType(converter.getAlias()) == UCNV_UTF8) continue;
        const int32_t length = 3'000 + static_cast<int32_t>(random() % 20'000);
        const int32_t count = uset_size(characters.getAlias());
        icu::UnicodeString content;
        while (content.length() < length) {
            const UChar32 character =
                uset_charAt(characters.getAlias(), static_cast<int32_t>(random() % static_cast<unsigned>(count)));
            if (character >= 0xA0 && (character < 0xD800 || character > 0xF8FF) && (character & 0xFFFE) != 0xFFFE)
                content.append(character);
            else
                content.append(u'x');
        }
        text.append(content).append(u"</a>");
        const std::string bytes = inEncoding(text);
        std::string expected;
        icu::UnicodeString(bytes.data(), static_cast<int32_t>(bytes.size()), converter.getAlias(), status)
            .toUTF8String(expected);
        expected = expected.substr(expected.find("<a>") + 3);
        expected.resize(expected.size() - 4);
        if (expected.find('\x1B') != std::string::npos) continue; // the converter does not read what it wrote
        ParseFailure failure;
        const TreePointer tree = ParseTree(SourceOf(bytes), failure);
        ASSERT_TRUE(tree) << name << ": " << failure.text;
        const xmlNode* node = xmlDocGetRootElement(tree.get())->children;
        ASSERT_TRUE(node != nullptr && node->next == nullptr) << name;
        EXPECT_TRUE(View(node->content) == expected) << name;
        ++encodings;
    }
    EXPECT_GT(encodings, 100);
}

// ASCII text in units of so many bytes.
std::string Wide(std::string_view text, size_t bytes, bool bigEndian) {
    std::string wide;
    for (const char c : text) {
        std::string unit(bytes, '\0');
        (bigEndian ? unit.back() : unit.front()) = c;
        wide += unit;
    }
    return wide;
}

TEST(ParseSource, TakesLengthAndEncoding) {
    using namespace std::string_literals;
    const std::string prolog = "<?xml version='1.0' encoding='";
    struct {
        std::string text;
        const char* encoding;
        int code;
        const char* markup;
    } const CASES[] = {
        {"<a/>", nullptr, 0, "<a/>"},
        {Wide(prolog + "UTF-16LE'?><a>x</a>", 2, false), nullptr, 0, "<a>x</a>"},
        {Wide(prolog + "UTF-16BE'?><a>x</a>", 2, true), nullptr, 0, "<a>x</a>"},
        {Wide(prolog + "UTF-32'?><a>x</a>", 4, false), nullptr, 0, "<a>x</a>"},
        {Wide(prolog + "UTF-32'?><a>x</a>", 4, true), nullptr, 0, "<a>x</a>"},
        // The encoding that is given wins over the declared one, and over what the bytes look like.
        {prolog + "UTF-8'?><a>\xE4</a>", "ISO-8859-1", 0, "<a>\xC3\xA4</a>"},
        {prolog + "ISO-8859-1'?><a>\xC3\xA4</a>", "UTF-8", 0, "<a>\xC3\xA4</a>"},
        {prolog + "UTF-16'?><a>\x80</a>", "windows-1252", 0, "<a>\xE2\x82\xAC</a>"},
        {Wide("<a>x</a>", 2, false), "UTF-16LE", 0, "<a>x</a>"},
        {"\xFF\xFE" + Wide("<a>x</a>", 2, false), "UTF-16", 0, "<a>x</a>"},
        {prolog + "ISO-8859-1'?><a>\xE4</a>", "UTF-8", 2, ""},
        {"<a/>", "no-such", 2, ""},
        // A zero is no end.
        {"<a/>\0<b/>"s, nullptr, 2, ""},
        {"<a>" + std::string(20'000, 'x') + "</a>\0"s + std::string(20'000, ' '), nullptr, 2, ""},
    };
    for (const auto& row : CASES) {
        SCOPED_TRACE(testing::PrintToString(row.text.substr(0, 80)) + (row.encoding != nullptr ? row.encoding : ""));
        const Dom dom;
        // What stands behind the text is not read.
        const std::string longer = row.text + "<!--";
        const SablotSource source{longer.data(), row.text.size(), nullptr, row.encoding};
        SDOM_Document document = nullptr;
        EXPECT_EQ(SablotParseSource(dom.situation, &source, &document), row.code);
        EXPECT_EQ(dom.Markup(document), row.markup);
    }
}

TEST(ParseSource, KeepsTheBaseUri) {
    ParseFailure failure;
    const TreePointer tree = ParseTree({"<a/>", 4, "file:///x/a.xml", nullptr}, failure);
    ASSERT_TRUE(tree);
    EXPECT_STREQ(Chars(tree->URL), "file:///x/a.xml");
}

// Ten entities, each ten times the one before.
std::string EntityBomb(const std::string& encoding) {
    std::string text = "<?xml version='1.0' encoding='" + encoding + "'?><!DOCTYPE a [<!ENTITY e0 'lol'>";
    for (int i = 1; i < 10; ++i) {
        text += "<!ENTITY e" + std::to_string(i) + " '";
        for (int j = 0; j < 10; ++j) text += "&e" + std::to_string(i - 1) + ";";
        text += "'>";
    }
    return text + "]><a>&e9;</a>";
}

TEST(Parse, StopsEntityBombs) {
    Dom dom;
    dom.Parse(EntityBomb("UTF-8"), 2);
    // An escape sequence inside the keyword, which the decoder drops, hides it from a search in the bytes.
    std::string hidden = EntityBomb("ISO-2022-JP");
    for (size_t at = 0; (at = hidden.find("<!ENTITY", at)) != std::string::npos; at += 8)
        hidden.insert(at + 4, "\x1B(B");
    dom.Parse(hidden, 2);
}

TEST(Parse, KnowsNoLimitsWithoutEntities) {
    Dom dom;
    std::string text;
    text.resize(12'000'000, 'x'); // beyond libxml2's own limit
    SDOM_Document document = dom.Parse("<a>" + text + "</a>");
    EXPECT_EQ(dom.Value(dom.Child(dom.Root(document), 0)).size(), text.size());
    dom.Parse("<!DOCTYPE a [<!ENTITY e 'x'>]><a>" + text + "</a>", 2);
}

TEST(Parse, KeepsLineNumbersBeyond65535) {
    std::string source = "<a>" + std::string(70'000, '\n') + "<b>x</b></a>";
    ParseFailure failure;
    TreePointer tree = ParseTree(SourceOf(source), failure);
    ASSERT_TRUE(tree);
    EXPECT_EQ(xmlGetLineNo(xmlDocGetRootElement(tree.get())->last), 70'001);
    source.insert(source.size() - 4, "</c>");
    EXPECT_FALSE(ParseTree(SourceOf(source), failure));
    EXPECT_EQ(failure.line, 70'001);
}

TEST(Parse, WritesNothingToStandardError) {
    testing::internal::CaptureStderr();
    Dom dom;
    for (const char* source : {"<a", "<p:a/>", "<!DOCTYPE a [<!ENTITY e SYSTEM 'http://localhost:1/'>]><a>&e;</a>",
                               "<?xml version='1.0' encoding='x'?><a/>"})
        SablotDestroyDocument(dom.situation, dom.Parse(source, 2));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

} // namespace
} // namespace sablot::test
