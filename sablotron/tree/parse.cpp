// A parse with libxml2: from bytes in pieces to a tree that holds elements, text, comments and instructions only.
#include "sablotron/tree/parse.h"

#include "sablotron/tree/library_scope.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

namespace sablot {

namespace {

struct ContextDeleter {
    void operator()(xmlParserCtxt* context) const {
        xmlFreeDoc(context->myDoc);
        xmlFreeParserCtxt(context);
    }
};
using ContextPointer = std::unique_ptr<xmlParserCtxt, ContextDeleter>;

// One parse: the failure is the first error that is fatal or concerns namespaces, else the first error of all.
struct Parse {
    ParseFailure& failure;
    bool decided = false;

    void Fail(int code, int line, std::string_view message, bool decisive) {
        if (decided || (!decisive && failure.code != 0)) return;
        decided = decisive;
        while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.remove_suffix(1);
        failure.code = code;
        failure.line = line;
        failure.text = "XML parser error " + std::to_string(code) + ": ";
        failure.text += message;
        std::replace(failure.text.begin(), failure.text.end(), '\n', ' ');
    }
};

void OnError(void* data, xmlErrorPtr error) noexcept {
    // A namespace name is any text (Namespaces in XML 1.0, section 2.1): libxml2 finds fault with one that is no URI.
    if (error->level < XML_ERR_ERROR || error->code == XML_WAR_NS_URI) return;
    bool decisive = error->level == XML_ERR_FATAL || error->domain == XML_FROM_NAMESPACE;
    Parse* parse = data != nullptr ? static_cast<Parse*>(static_cast<xmlParserCtxt*>(data)->_private) : nullptr;
    if (parse != nullptr)
        parse->Fail(error->code, error->line, error->message != nullptr ? error->message : "", decisive);
}

// Ends the parse as one that is not well-formed.
void Refuse(xmlParserCtxt* context, int code, const std::string& text) noexcept {
    int line = context->input != nullptr ? context->input->line : 0;
    static_cast<Parse*>(context->_private)->Fail(code, line, text, true);
    context->wellFormed = 0;
    xmlStopParser(context);
}

// CDATA is text like that beside it; an empty section is nothing.
void AddSection(void* data, const xmlChar* text, int length) noexcept {
    if (length > 0) xmlSAX2Characters(data, text, length);
}

// Entities whose replacement stands outside the buffer.
xmlEntityPtr GetEntity(void* data, const xmlChar* name) noexcept {
    auto* context = static_cast<xmlParserCtxt*>(data);
    xmlEntityPtr entity = xmlSAX2GetEntity(data, name);
    if ((entity != nullptr) && entity->etype == XML_EXTERNAL_GENERAL_PARSED_ENTITY) {
        Refuse(context, XML_ERR_ENTITY_IS_EXTERNAL, "External entity '" + std::string(View(name)) + "' is not read");
        return nullptr;
    }
    return entity;
}

// An entity that only the external subset could declare: libxml2 would leave a reference in the tree.
void Reference(void* data, const xmlChar* name) noexcept {
    Refuse(static_cast<xmlParserCtxt*>(data), XML_ERR_UNDECLARED_ENTITY,
           "Entity '" + std::string(View(name)) + "' not defined");
}

int ReadPiece(void* data, char* buffer, int size) {
    auto* rest = static_cast<std::string_view*>(data);
    size_t length = rest->copy(buffer, static_cast<size_t>(size));
    rest->remove_prefix(length);
    return static_cast<int>(length);
}

// Keeps lines that do not fit into the node's own field, see LineOf.
void StartElement(void* data, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri, int namespaceCount,
                  const xmlChar** namespaces, int attributeCount, int defaultedCount,
                  const xmlChar** attributes) noexcept {
    xmlSAX2StartElementNs(data, name, prefix, uri, namespaceCount, namespaces, attributeCount, defaultedCount,
                          attributes);
    const auto* context = static_cast<xmlParserCtxt*>(data);
    if ((context->node != nullptr) && context->node->line == MAX_NODE_LINE)
        context->node->psvi = reinterpret_cast<void*>(static_cast<intptr_t>(context->input->line));
}

xmlParserInputPtr LoadNothing(const char*, const char*, xmlParserCtxtPtr) { return nullptr; }

// Encodings in which every ASCII byte that counts as markup stands for itself and nothing else gives that character.
constexpr std::string_view ASCII_SUPERSETS[] = {
    "utf-8",  "utf8",      "us-ascii",  "ascii",  "latin1",  "latin-1",  "big5",   "big5-hkscs",
    "gbk",    "gb2312",    "gb18030",   "euc-jp", "euc-kr",  "euc-tw",   "euc-cn", "koi8-r",
    "koi8-u", "shift_jis", "shift-jis", "sjis",   "tis-620", "macintosh"};
constexpr std::string_view ASCII_SUPERSET_FAMILIES[] = {"iso-8859-", "iso8859-", "iso_8859-", "windows-125", "cp125"};

// The encoding that the XML declaration of a text in a superset of ASCII names. Empty: there is none, so it is UTF-8.
// Null when the text does not begin like one in such an encoding.
std::optional<std::string_view> DeclaredEncoding(std::string_view text) {
    if (text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE")) return std::nullopt;
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (!text.starts_with("<?xml")) {
        if (text.find_first_not_of(" \t\r\n") != text.find('<')) return std::nullopt;
        return std::string_view();
    }
    const std::string_view declaration = text.substr(0, text.find('>'));
    size_t start = declaration.find("encoding");
    if (start == std::string_view::npos) return std::string_view();
    start = declaration.find_first_of("\"'", start);
    if (start == std::string_view::npos) return std::nullopt;
    const size_t end = declaration.find(declaration[start], start + 1);
    if (end == std::string_view::npos) return std::nullopt;
    return declaration.substr(start + 1, end - start - 1);
}

bool IsAsciiSuperset(std::string_view encoding) {
    std::string name(encoding);
    for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    auto isName = [&](std::string_view superset) { return name == superset; };
    auto isOf = [&](std::string_view family) { return name.starts_with(family); };
    return std::any_of(std::begin(ASCII_SUPERSETS), std::end(ASCII_SUPERSETS), isName)
           || std::any_of(std::begin(ASCII_SUPERSET_FAMILIES), std::end(ASCII_SUPERSET_FAMILIES), isOf);
}

// The name of UTF-32 in the byte order that the text begins with (XML 1.0, appendix F), or null: libxml2 takes its byte
// order mark for that of UTF-16.
const char* DetectUtf32(std::string_view text) {
    using namespace std::string_view_literals;
    if (text.starts_with("\xFF\xFE\0\0"sv) || text.starts_with("<\0\0\0"sv)) return "UTF-32LE";
    if (text.starts_with("\0\0\xFE\xFF"sv) || text.starts_with("\0\0\0<"sv)) return "UTF-32BE";
    return nullptr;
}

// Whether the text certainly declares no entities, which could make little text a lot: a search for the declaration in
// the bytes can be trusted in a superset of ASCII.
bool DeclaresNoEntities(std::string_view text, const char* encoding) {
    const std::optional<std::string_view> name = encoding != nullptr ? encoding : DeclaredEncoding(text);
    constexpr std::string_view DECLARATION = "<!ENTITY";
    return name && (name->empty() || IsAsciiSuperset(*name))
           && memmem(text.data(), text.size(), DECLARATION.data(), DECLARATION.size()) == nullptr;
}

// A parser that will read the text; null when memory is short.
ContextPointer NewParser(std::string_view& text, const char* baseUri, xmlDict* names) {
    ContextPointer context(xmlNewParserCtxt());
    if (context && (names != nullptr)) {
        xmlDictReference(names);
        xmlDictFree(std::exchange(context->dict, names));
    }
    // Read in pieces: libxml2 copies a text that it gets as a whole.
    xmlParserInputBuffer* buffer =
        context ? xmlParserInputBufferCreateIO(ReadPiece, nullptr, &text, XML_CHAR_ENCODING_NONE) : nullptr;
    xmlParserInput* input =
        buffer != nullptr ? xmlNewIOInputStream(context.get(), buffer, XML_CHAR_ENCODING_NONE) : nullptr;
    if (input == nullptr) {
        if (buffer != nullptr) xmlFreeParserInputBuffer(buffer);
        return nullptr;
    }
    if (baseUri != nullptr) input->filename = Chars(xmlStrdup(Chars(baseUri)));
    inputPush(context.get(), input);
    return context;
}

// Has the parser read the encoding whatever the text declares; false when it is not known.
bool OverrideEncoding(xmlParserCtxt* context, const char* encoding) {
    xmlCharEncodingHandler* handler = xmlFindCharEncodingHandler(encoding);
    return (handler != nullptr) && xmlSwitchToEncoding(context, handler) == 0;
}

// Keeps an unparsed entity, for unparsed-entity-uri(), in an external subset, which is not a node of the tree.
void KeepUnparsedEntity(void* payload, void* data, const xmlChar*) {
    const auto* entity = static_cast<const xmlEntity*>(payload);
    auto* tree = static_cast<xmlDoc*>(data);
    if (entity->etype != XML_EXTERNAL_GENERAL_UNPARSED_ENTITY) return;
    if (tree->extSubset == nullptr) xmlNewDtd(tree, Chars(""), nullptr, nullptr);
    xmlEntity* kept =
        xmlAddDtdEntity(tree, entity->name, entity->etype, entity->ExternalID, entity->SystemID, entity->content);
    if (kept != nullptr) kept->URI = xmlStrdup(entity->URI);
}

// Leaves what the interface shows of a document. The text in the tree is UTF-8 whatever the source was.
void Tidy(xmlDoc* tree, const char* baseUri) {
    if (xmlDtd* subset = tree->intSubset) {
        if (subset->entities != nullptr)
            xmlHashScan(static_cast<xmlHashTable*>(subset->entities), KeepUnparsedEntity, tree);
        xmlUnlinkNode(reinterpret_cast<xmlNode*>(subset));
        tree->intSubset = nullptr;
        xmlFreeDtd(subset);
    }
    xmlFree(const_cast<xmlChar*>(tree->encoding));
    tree->encoding = nullptr;
    xmlFree(const_cast<xmlChar*>(tree->URL));
    tree->URL = nullptr;
    if ((baseUri != nullptr) && ((tree->URL = xmlStrdup(Chars(baseUri))) == nullptr)) throw std::bad_alloc();
}

} // namespace

TreePointer ParseTree(const SablotSource& source, ParseFailure& failure, const ParseOptions& options) {
    Parse parse{failure};
    const auto fail = [&parse](int code, int line, std::string_view text) {
        parse.Fail(code, line, text, true);
        return nullptr;
    };
    if (source.length == 0) return fail(XML_ERR_DOCUMENT_EMPTY, 1, "Document is empty");
    if (source.length > INT_MAX) return fail(XML_ERR_INTERNAL_ERROR, 1, "Document is too long");
    const std::string_view text(source.text, source.length);
    const char* encoding = source.encoding != nullptr ? source.encoding : DetectUtf32(text);
    const bool isHuge = DeclaresNoEntities(text, encoding);

    ErrorScope errors({.structured = OnError});
    LoaderScope loader(options.declarations != nullptr ? options.declarations : LoadNothing);
    std::string_view rest = text;
    const ContextPointer context = NewParser(rest, source.baseUri, options.names);
    if (!context) return fail(XML_ERR_NO_MEMORY, 0, "Memory allocation failed");
    context->_private = &parse;
    xmlCtxtUseOptions(context.get(), XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NONET | XML_PARSE_BIG_LINES
                                         | (isHuge ? XML_PARSE_HUGE : 0)
                                         | (encoding != nullptr ? XML_PARSE_IGNORE_ENC : 0));
    context->sax->serror = OnError;
    context->sax->startElementNs = StartElement;
    context->sax->cdataBlock = AddSection;
    context->sax->getEntity = GetEntity;
    context->sax->reference = Reference;
    context->sax->externalSubset = nullptr; // XML_PARSE_DTDATTR, meant for the internal one, would read it
    if ((encoding != nullptr) && !OverrideEncoding(context.get(), encoding))
        return fail(XML_ERR_UNSUPPORTED_ENCODING, 1, "Unsupported encoding " + std::string(encoding));

    xmlParseDocument(context.get());
    TreePointer tree(std::exchange(context->myDoc, nullptr));
    // libxml2 takes a zero for the end of the text.
    const bool isWhole = rest.empty() && context->input->cur == context->input->end;
    if (context->wellFormed && !parse.decided && !isWhole)
        return fail(XML_ERR_INVALID_CHAR, context->input->line, "Char 0x0 out of allowed range");
    if (!tree || !context->wellFormed || parse.decided) {
        if (failure.code == 0) fail(XML_ERR_INTERNAL_ERROR, 0, "Document could not be parsed");
        return nullptr;
    }
    Tidy(tree.get(), source.baseUri);
    failure = {};
    return tree;
}

} // namespace sablot
