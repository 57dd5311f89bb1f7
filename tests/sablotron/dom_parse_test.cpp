// Parsing: what reaches the tree, what is refused, and that nothing outside the buffer is read.
#include "sablotron/tree/parse.h"
#include "tests/sablotron/dom_support.h"

#include <gmock/gmock.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/uset.h>

#include <filesystem>
#include <fstream>
#include <random>

namespace sablot::test {
namespace {

using namespace std::string_view_literals;

struct TreeCase {
    const char* source;
    const char* markup; // serialised, without the XML declaration
};

class ParseTest : public testing::TestWithParam<TreeCase> {};

TEST_P(ParseTest, GivesTree) {
    Dom dom;
    EXPECT_EQ(dom.Markup(dom.Parse(GetParam().source)), GetParam().markup);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, ParseTest,
    testing::Values(
        TreeCase{"<a x=\"1&#10;2&lt;&gt;&amp;&quot;'\">v &gt; ]]&gt; \" '<e></e></a>",
                 "<a x=\"1&#10;2&lt;&gt;&amp;&quot;'\">v &gt; ]]&gt; \" '<e/></a>"},
        TreeCase{"<!--c-->\n<?q e?>\n<a>\n<!--a-->\n<?p d?></a>\n<!--z-->\n",
                 "<!--c--><?q e?><a>\n<!--a-->\n<?p d?></a><!--z-->"},
        TreeCase{"<a xmlns:p='u'><p:b xmlns:p='u'/><c xmlns:p='v'><p:d/></c></a>",
                 "<a xmlns:p=\"u\"><p:b/><c xmlns:p=\"v\"><p:d/></c></a>"},
        TreeCase{"<!DOCTYPE a [<!ENTITY y 'x<q/>'><!ATTLIST a d CDATA 'v'>]><a>&y;</a>", "<a d=\"v\">x<q/></a>"},
        // Attribute types of the internal subset normalise values; comments and PIs in it are not the document's.
        TreeCase{"<!DOCTYPE a [<!--n--><?n n?><!ATTLIST a t NMTOKENS #IMPLIED>]><a t='  x   y '/>", "<a t=\"x y\"/>"},
        TreeCase{"<!DOCTYPE a [<!ATTLIST a xmlns CDATA #FIXED 'u' p:q CDATA 'v' xmlns:p CDATA 'w'>]><a/>",
                 "<a xmlns=\"u\" xmlns:p=\"w\" p:q=\"v\"/>"},
        TreeCase{"<a x='1\t2\n3'>\r\n&#13;\t</a>", "<a x=\"1 2 3\">\n&#13;\t</a>"},
        TreeCase{"<a>x<![CDATA[<y>]]>z</a>", "<a>x&lt;y&gt;z</a>"},
        // External subsets are skipped silently, found or not.
        TreeCase{"<!DOCTYPE a SYSTEM 'no-such-file.dtd'><a/>", "<a/>"},
        TreeCase{"<!DOCTYPE a PUBLIC '-//X//Y' 'http://localhost:1/z.dtd'><a/>", "<a/>"},
        TreeCase{"<!DOCTYPE a [<!ENTITY % p SYSTEM 'no-such-file.ent'> %p;]><a/>", "<a/>"},
        // What is not read may declare an entity (XML 1.0, 4.1): HTML's names give their characters, others nothing.
        TreeCase{"<!DOCTYPE a SYSTEM 'x.dtd'><a b='&copy;&other;.'>x&nbsp;&euro;&other;y&gt;</a>",
                 "<a b=\"\xC2\xA9.\">x\xC2\xA0\xE2\x82\xACy&gt;</a>"},
        TreeCase{"<!DOCTYPE a [<!ENTITY % p SYSTEM 'x.ent'> %p;]><a>x&other;y</a>", "<a>xy</a>"},
        TreeCase{"<!DOCTYPE a [<!ENTITY % p '<!ELEMENT b ANY>'> %p;]><a>x&other;&eacute;</a>", "<a>x\xC3\xA9</a>"},
        TreeCase{"<!DOCTYPE a SYSTEM 'x.dtd' [<!ENTITY nbsp '_'>]><a>&nbsp;</a>", "<a>_</a>"},
        // A declaration that cannot be true: the text was converted.
        TreeCase{"<?xml version='1.0' encoding='UTF-16'?><a>\xC3\xA4</a>", "<a>\xC3\xA4</a>"},
        TreeCase{"\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xA4</a>", "<a>\xC3\xA4</a>"},
        TreeCase{"\xEF\xBB\xBF<a>\xC3\xA4</a>", "<a>\xC3\xA4</a>"},
        TreeCase{"<?xml version='1.0' encoding='ISO-8859-1'?><\xE4 \xF6='\xFC'>\xDF</\xE4>",
                 "<\xC3\xA4 \xC3\xB6=\"\xC3\xBC\">\xC3\x9F</\xC3\xA4>"},
        TreeCase{"<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>", "<a>\xE2\x82\xAC</a>"},
        TreeCase{"<?xml version='1.0' encoding='Shift_JIS'?><a>\x83\x5C</a>", "<a>\xE3\x82\xBD</a>"},
        TreeCase{"<?xml version='1.0' encoding='KOI8-R'?><a>\xC1</a>", "<a>\xD0\xB0</a>"}));

TEST(Parse, JoinsTextOfEverySourceIntoOneNode) {
    struct {
        const char* source;
        const char* names; // of the children
    } const CASES[] = {
        {"<a>x<![CDATA[y]]>z&amp;&#65;</a>", "#text"},
        {"<a><![CDATA[]]></a>", ""},
        {"<!DOCTYPE a [<!ENTITY e 'f<![CDATA[g]]>h'><!ENTITY i 'j'>]><a>x&e;y&i;&i;<![CDATA[k]]>z</a>", "#text"},
        {"<!DOCTYPE a [<!ENTITY e '<c/>x'><!ENTITY i 'j&e;k'><!ENTITY n ''>]><a>&i;&i;&n;q&n;<b/>&n;</a>",
         "#text c #text c #text b"},
    };
    Dom dom;
    for (const auto& row : CASES) {
        SDOM_Node root = dom.Root(dom.Parse(row.source));
        std::string names;
        for (int i = 0; i < dom.Count(root); ++i) names += (i == 0 ? "" : " ") + dom.Name(dom.Child(root, i));
        EXPECT_EQ(names, row.names) << row.source;
    }
}

struct FailureCase {
    const char* source;
    int line;
    const char* text; // contained in the message
};

class ParseFailureTest : public testing::TestWithParam<FailureCase> {};

TEST_P(ParseFailureTest, GivesEmptyDocument) {
    Dom dom;
    SDOM_Document document = dom.Parse(GetParam().source, 2);
    EXPECT_EQ(dom.Markup(document), "");
    // The document is as good as a new one.
    EXPECT_EQ(SDOM_appendChild(dom.situation, Dom::Node(document), dom.Make(SDOM_createElement, document, "a")), 0);

    ParseFailure failure;
    EXPECT_EQ(ParseTree(SourceOf(GetParam().source), failure), nullptr);
    EXPECT_EQ(failure.line, GetParam().line);
    EXPECT_THAT(failure.text, testing::StartsWith("XML parser error " + std::to_string(failure.code) + ": "));
    EXPECT_THAT(failure.text, testing::HasSubstr(GetParam().text));
    EXPECT_THAT(failure.text, testing::Not(testing::EndsWith("\n")));
}

INSTANTIATE_TEST_SUITE_P(Sources, ParseFailureTest,
                         testing::Values(FailureCase{"", 1, "empty"}, FailureCase{"<a>\n<p:b/></a>", 2, "prefix p"}));

TEST(Parse, FindsTheEncodingOfTexts) {
    const std::u16string text = u"<\u00E4>\u20AC\U0001F600</\u00E4>";
    const std::u16string declared = u"<?xml version='1.0' encoding='UTF-16'?>" + text;
    const auto wide = [](std::u16string_view units, bool big, size_t width) {
        std::string bytes;
        for (size_t i = 0; i < units.size(); ++i) {
            char32_t character = units[i];
            if (width == 4 && character >= 0xD800 && character < 0xDC00)
                character = 0x10000 + ((character - 0xD800) << 10) + (units[++i] - 0xDC00);
            for (size_t at = 0; at < width; ++at)
                bytes += static_cast<char>(character >> 8 * (big ? width - 1 - at : at));
        }
        return bytes;
    };
    for (const bool big : {false, true})
        for (const size_t width : {2U, 4U})
            for (const std::u16string& source : {text, u"\uFEFF" + text, declared, u"\uFEFF" + declared}) {
                ParseFailure failure;
                const TreePointer tree = ParseTree(SourceOf(wide(source, big, width)), failure);
                ASSERT_TRUE(tree) << width << big << failure.text;
                EXPECT_EQ(View(xmlDocGetRootElement(tree.get())->name), "\xC3\xA4");
                EXPECT_EQ(View(xmlDocGetRootElement(tree.get())->children->content), "\xE2\x82\xAC\xF0\x9F\x98\x80");
            }
    ParseFailure failure;
    EXPECT_FALSE(ParseTree(SourceOf("<a/>\n\0rubbish"sv), failure));
    EXPECT_EQ(failure.text, "XML parser error 9: Character number 0x0 is not allowed in XML");
    EXPECT_EQ(failure.line, 2);
    SablotSource known = SourceOf("<?xml version='1.0' encoding='ISO-8859-1'?><\xC3\xA4/>");
    known.encoding = "UTF-8";
    const TreePointer tree = ParseTree(known, failure);
    ASSERT_TRUE(tree);
    EXPECT_EQ(View(xmlDocGetRootElement(tree.get())->name), "\xC3\xA4");
}

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
        {"\xFF\xFE" + Wide("<a>x</a>", 2, false), nullptr, 0, "<a>x</a>"},
        {"\xFE\xFF" + Wide("<a>x</a>", 2, true), nullptr, 0, "<a>x</a>"},
        {Wide(prolog + "UTF-16LE'?><a>x</a>", 2, false), nullptr, 0, "<a>x</a>"},
        {Wide(prolog + "UTF-16BE'?><a>x</a>", 2, true), nullptr, 0, "<a>x</a>"},
        {"\xFF\xFE\0\0"s + Wide("<a>x</a>", 4, false), nullptr, 0, "<a>x</a>"},
        {"\0\0\xFE\xFF"s + Wide("<a>x</a>", 4, true), nullptr, 0, "<a>x</a>"},
        {Wide(prolog + "UTF-32'?><a>x</a>", 4, false), nullptr, 0, "<a>x</a>"},
        {Wide(prolog + "UTF-32'?><a>x</a>", 4, true), nullptr, 0, "<a>x</a>"},
        // The encoding that is given wins over the declared one, and over what the bytes look like.
        {prolog + "UTF-8'?><a>\xE4</a>", "ISO-8859-1", 0, "<a>\xC3\xA4</a>"},
        {prolog + "ISO-8859-1'?><a>\xC3\xA4</a>", "UTF-8", 0, "<a>\xC3\xA4</a>"},
        {prolog + "UTF-16'?><a>\x80</a>", "windows-1252", 0, "<a>\xE2\x82\xAC</a>"},
        {"\xEF\xBB\xBF<a/>", "UTF-8", 0, "<a/>"},
        {Wide("<a>x</a>", 2, false), "UTF-16LE", 0, "<a>x</a>"},
        {"\xFF\xFE" + Wide("<a>x</a>", 2, false), "UTF-16", 0, "<a>x</a>"},
        {prolog + "ISO-8859-1'?><a>\xE4</a>", "UTF-8", 2, ""},
        {"<a/>", "no-such", 2, ""},
        // A zero is no end.
        {"<a/>\0<b/>"s, nullptr, 2, ""},
        {"<a/>\0"s, nullptr, 2, ""},
        {"<a>\0</a>"s, nullptr, 2, ""},
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

TEST(Parse, ReadsNothingButTheBuffer) {
    std::string path = std::filesystem::current_path() / "secret.xml";
    std::ofstream(path) << "<!ENTITY secret 'found'><!ATTLIST a secret CDATA 'found'>";
    Dom dom;
    EXPECT_EQ(dom.Markup(dom.Parse("<!DOCTYPE a SYSTEM '" + path + "'><a/>")), "<a/>");
    EXPECT_EQ(dom.Markup(dom.Parse("<!DOCTYPE a [<!ENTITY % p SYSTEM '" + path + "'> %p;]><a/>")), "<a/>");
    EXPECT_EQ(dom.Markup(dom.Parse("<!DOCTYPE a [<!ENTITY % p SYSTEM '" + path + "'> %p;]><a>&secret;</a>")), "<a/>");
    std::ofstream(path) << "<found/>";
    dom.Parse("<!DOCTYPE a [<!ENTITY e SYSTEM '" + path + "'>]><a>&e;</a>", 2);
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
