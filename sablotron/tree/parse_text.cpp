// The wordings of libxml2's parser.
#include "sablotron/tree/parse_text.h"

#include "sablotron/tree/wording.h"

#include <algorithm>

namespace sablot {
namespace {

constexpr Wording WORDINGS[] = {
    {TEXT_LIMIT, "Text is longer than 10,000,000 bytes, the limit for a document that declares entities"},
    {"AttValue length too long",
     "The value of an attribute is longer than 10,000,000 bytes, the limit for a document that "
     "declares entities"},
    {"Comment too big", "A comment is longer than 10,000,000 bytes, the limit for a document that declares entities"},
    {"CData section too big", "A CDATA section is longer than 10,000,000 bytes, the limit for a document that declares "
                              "entities"},
    {"PI * too big", "Processing instruction * is longer than 10,000,000 bytes, the limit for a document that declares "
                     "entities"},
    {"Name too long", "A name is longer than 50,000 bytes, the limit for a document that declares entities"},
    {"Excessive depth in document", "Elements are nested deeper than 256, the limit for a document that declares "
                                    "entities"},
    {"Detected an entity reference loop", "Entities refer to themselves or make too much text of little"},
    {"xmlParseEntityRef: no name", "'&' begins a reference: write &amp; for the character"},
    {"EntityRef: expecting ';'", "A reference ends in ';': write &amp; for the character '&'"},
    {"PEReference: %*; not found", "Parameter entity '*' not defined"},
    {"invalid xmlChar value *", "A reference to character number *, which XML does not allow"},
    {"character reference out of bounds", "A reference to a character that XML does not allow"},
    {"invalid Char value *", "Character number * is not allowed in XML"},
    {"Char 0x* out of allowed range", "Character number 0x* is not allowed in XML"},
    {"Input is not proper UTF-8, indicate encoding ! Bytes: *", "Input is not proper UTF-8 (bytes *)"},
    {"StartTag: invalid element name", "'<' begins a tag, and no name follows: write &lt; for the character"},
    {"AttValue: \" or ' expected", "The value of an attribute stands in quotes"},
    {"AttValue: ' expected", "The value of an attribute has no end"},
    {"Specification mandates value for attribute *", "Attribute * has no value"},
    {"attributes construct error", "White space is needed between attributes"},
    {"error parsing attribute name", "A name of an attribute or '>' is needed"},
    {"Failed to parse QName", "A name has more than one colon"},
    {"PI * never end", "Processing instruction * not terminated"},
    {"CData section not finished", "CDATA section not terminated"},
    {"Double hyphen within comment", "'--' is not allowed in a comment"},
    {"no DOCTYPE name", "The document type declaration has no name"},
    {"error detected in Markup declaration", "Something in the document type declaration is no declaration"},
    {"Space required after the NOTATION name", "White space is needed after the name of the notation"},
    {"Space required *", "White space is needed *"},
    {"Blank needed here", "White space is needed here"},
    {"Malformed declaration expecting version", "The XML declaration begins with the version"},
    {"parsing XML declaration: '?>' expected", "The XML declaration ends in '?>'"},
    {"ParsePI: PI * space expected", "White space is needed after the name of processing instruction *"},
    {"no target name", "A processing instruction has no name"},
    {"CharRef: invalid decimal value", "A character reference consists of digits and ';'"},
    {"CharRef: invalid hexadecimal value", "A character reference consists of hexadecimal digits and ';'"},
    {"PEReference: no name", "'%' begins a reference to a parameter entity"},
    {"PEReference: expecting ';'", "A reference ends in ';'"},
    {"PEReferences forbidden in internal subset", "A parameter entity stands between declarations, not in one"},
    {"EntityValue: '%' forbidden", "'%' in the value of an entity begins a reference"},
    {"EntityValue: \" or ' expected", "The value of an entity stands in quotes"},
    {"depth * too deep",
     "The content in the declaration of an element is nested deeper than 2,048 (128 for a document that "
     "declares entities)"},
    {"ContentDecl : *", "In the declaration of an element: *"},
    {"SystemLiteral \" or ' expected", "A system identifier stands in quotes"},
    {"Unfinished System or Public ID", "A system or public identifier stands in quotes"},
    {"xmlSAX2NotationDecl(*)", "The notation * has no identifier"},
    {"Unregistered error message", "CDATA section not terminated"},
    {"chunk is not well balanced", "The content of an entity is not well-formed"},
    {"no name", "A name is missing"},
    {"colons are forbidden from *", "Colons are not allowed in *"},
    {"Fragment not allowed", "A system identifier has no '#'"},
};

} // namespace

std::string ParseErrorText(std::string_view message) {
    std::string text(message);
    std::replace(text.begin(), text.end(), '\n', ' ');
    text.erase(text.find_last_not_of(' ') + 1);
    if (std::string words = Reworded(text, WORDINGS); words != text) return words;
    // "xmlParseSomething: "
    if (text.starts_with("xml") && text.size() > 3 && text[3] >= 'A' && text[3] <= 'Z')
        if (const size_t colon = text.find(": "); colon < text.find(' ')) text.erase(0, colon + 2);
    return text.substr(0, text.find(" use XML_PARSE_HUGE option"));
}

} // namespace sablot
