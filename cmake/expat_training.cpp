// What Expat is trained by, see expat_profile.cmake: documents of the kinds that programs read, given to it as the
// event reader gives them. The same on every machine.
#include <expat.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace {

using Text = const XML_Char*;

template <typename... Args>
void Empty(void* /*data*/, Args...) {}

void SetHandlers(XML_Parser parser) {
    XML_SetNamespaceDeclHandler(parser, Empty<Text, Text>, Empty<Text>);
    XML_SetElementHandler(parser, Empty<Text, const XML_Char**>, Empty<Text>);
    XML_SetCharacterDataHandler(parser, Empty<Text, int>);
    XML_SetProcessingInstructionHandler(parser, Empty<Text, Text>);
    XML_SetCommentHandler(parser, Empty<Text>);
    XML_SetCdataSectionHandler(parser, Empty<>, Empty<>);
    XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_ALWAYS);
    XML_SetDoctypeDeclHandler(parser, Empty<Text, Text, Text, int>, Empty<>);
    XML_SetEntityDeclHandler(parser, Empty<Text, int, Text, int, Text, Text, Text, Text>);
    XML_SetAttlistDeclHandler(parser, Empty<Text, Text, Text, Text, int>);
    XML_SetXmlDeclHandler(parser, Empty<Text, Text, int>);
}

constexpr size_t WHOLE = std::string_view::npos;

// Ends the build when Expat does not take the document.
void Parse(std::string_view document, size_t pieceSize, bool withNamespaces) {
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(
        withNamespaces ? XML_ParserCreateNS("UTF-8", ' ') : XML_ParserCreate("UTF-8"), XML_ParserFree);
    SetHandlers(parser.get());
    XML_SetHashSalt(parser.get(), 1); // else it is random, and so are the counts
    for (bool last = false; !last;) {
        const std::string_view piece = document.substr(0, pieceSize);
        document.remove_prefix(piece.size());
        last = document.empty();
        if (XML_Parse(parser.get(), piece.data(), static_cast<int>(piece.size()), static_cast<int>(last))
            != XML_STATUS_OK) {
            std::fprintf(stderr, "expat_training: line %lu: %s\n", XML_GetCurrentLineNumber(parser.get()),
                         XML_ErrorString(XML_GetErrorCode(parser.get())));
            std::exit(1);
        }
    }
}

// `item` many times in an element, its number in the place of each '%'.
std::string Repeated(std::string_view prolog, std::string_view item, size_t count) {
    std::string document(prolog);
    document += "<list xmlns='urn:list' xmlns:x='urn:x'>\n";
    for (size_t i = 0; i < count; ++i) {
        for (const char c : item) {
            if (c == '%')
                document += std::to_string(i);
            else
                document += c;
        }
    }
    return document + "</list>\n";
}

constexpr std::string_view PROLOG = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE list [
  <!ELEMENT list (record|item)*>
  <!ATTLIST record id ID #REQUIRED kind (small|large) "small">
  <!ENTITY name "the <b>name</b>">
  <!NOTATION gif PUBLIC "image/gif">
]>
<!-- trained by -->
)";

constexpr std::string_view RECORD = R"(  <record id="r%" kind="large">
    <name>amber basin</name>
    <price currency="EUR">12.%</price>
    <note>otter pine quartz river larch meadow juniper glade &amp; more</note>
  </record>
)";

constexpr std::string_view MIXED = R"(  <!-- number % --><?page break %?>
  <x:p x:id="p%" x:style="plain">Grüße, a <x:em>few</x:em> words&#8230; 中文 <x:br/>and <![CDATA[some <text> of
  lines]]>.</x:p>
)";

constexpr std::string_view ATTRIBUTES =
    R"(  <item n="%" a0="amber" a1="basin" a2="cedar % delta" a3="ember" a4="fjord &lt; glade" a5="haven" a6=""/>
)";

constexpr std::string_view LINE = "a line of text, as long as lines of text are when nobody has broken them anywhere\n";

} // namespace

int main() {
    constexpr size_t PIECE = 1000;
    const std::string records = Repeated("", RECORD, 5000);
    const std::string attributes = Repeated("", ATTRIBUTES, 4000);
    const std::string mixed = Repeated(PROLOG, MIXED, 1000);
    for (const bool withNamespaces : {false, true}) {
        Parse(records, WHOLE, withNamespaces);
        Parse(attributes, WHOLE, withNamespaces);
        Parse(mixed, WHOLE, withNamespaces);
        Parse(mixed, PIECE, withNamespaces);
    }
    Parse(Repeated("", LINE, 20000), WHOLE, false);
    const std::string small = Repeated(PROLOG, RECORD, 1);
    for (int i = 0; i < 300; ++i) Parse(small, WHOLE, false);
}
