#include "sablotron/tree/parse.h"

#include "sablotron/tree/library_scope.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <climits>
#include <cstring>

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

// Whether a search for "<!ENTITY" in the bytes of the text can be trusted.
bool IsAsciiSuperset(std::string_view text) {
    if (text.starts_with("\xFE\xFF") || text.starts_with("\xFF\xFE")) return false;
    if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
    if (!text.starts_with("<?xml")) return text.find_first_not_of(" \t\r\n") == text.find('<');
    std::string_view declaration = text.substr(0, text.find('>'));
    size_t start = declaration.find("encoding");
    if (start == std::string_view::npos) return true;
    start = declaration.find_first_of("\"'", start);
    if (start == std::string_view::npos) return false;
    size_t end = declaration.find(declaration[start], start + 1);
    if (end == std::string_view::npos) return false;

    std::string name(declaration.substr(start + 1, end - start - 1));
    for (char& c : name) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
    auto isName = [&](std::string_view superset) { return name == superset; };
    auto isOf = [&](std::string_view family) { return name.starts_with(family); };
    return std::any_of(std::begin(ASCII_SUPERSETS), std::end(ASCII_SUPERSETS), isName)
           || std::any_of(std::begin(ASCII_SUPERSET_FAMILIES), std::end(ASCII_SUPERSET_FAMILIES), isOf);
}

} // namespace

TreePointer ParseTree(const char* text, ParseFailure& failure) {
    size_t length = std::strlen(text);
    Parse parse{failure};
    if (length == 0 || length > INT_MAX) {
        parse.Fail(length ? XML_ERR_INTERNAL_ERROR : XML_ERR_DOCUMENT_EMPTY, 1,
                   length ? "Document is too long" : "Document is empty", true);
        return nullptr;
    }
    bool declaresEntities = std::strstr(text, "<!ENTITY") != nullptr;
    bool limited = declaresEntities || !IsAsciiSuperset({text, length});

    ErrorScope errors(OnError);
    LoaderScope loader(LoadNothing);
    ContextPointer context(xmlNewParserCtxt());
    // Read in pieces: libxml2 copies a text that it gets as a whole.
    std::string_view rest(text, length);
    xmlParserInputBuffer* buffer =
        context ? xmlParserInputBufferCreateIO(ReadPiece, nullptr, &rest, XML_CHAR_ENCODING_NONE) : nullptr;
    xmlParserInput* input =
        buffer != nullptr ? xmlNewIOInputStream(context.get(), buffer, XML_CHAR_ENCODING_NONE) : nullptr;
    if (input == nullptr) {
        if (buffer != nullptr) xmlFreeParserInputBuffer(buffer);
        parse.Fail(XML_ERR_NO_MEMORY, 0, "Memory allocation failed", true);
        return nullptr;
    }
    inputPush(context.get(), input);
    xmlCtxtUseOptions(context.get(), XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NONET | XML_PARSE_BIG_LINES
                                         | (limited ? 0 : XML_PARSE_HUGE));
    context->_private = &parse;
    context->sax->serror = OnError;
    context->sax->startElementNs = StartElement;
    context->sax->cdataBlock = AddSection;
    context->sax->getEntity = GetEntity;
    context->sax->reference = Reference;
    context->sax->externalSubset = nullptr; // XML_PARSE_DTDATTR, meant for the internal one, would read it

    xmlParseDocument(context.get());
    TreePointer tree(context->myDoc);
    context->myDoc = nullptr;
    if (!tree || !context->wellFormed || parse.decided) {
        if (failure.code == 0) parse.Fail(XML_ERR_INTERNAL_ERROR, 0, "Document could not be parsed", true);
        return nullptr;
    }
    if (xmlDtd* subset = tree->intSubset) {
        xmlUnlinkNode(reinterpret_cast<xmlNode*>(subset));
        tree->intSubset = nullptr;
        xmlFreeDtd(subset);
    }
    // The text in the tree is UTF-8 whatever the source was.
    xmlFree(const_cast<xmlChar*>(tree->encoding));
    tree->encoding = nullptr;
    failure = {};
    return tree;
}

} // namespace sablot
