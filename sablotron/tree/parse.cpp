// A parse with libxml2: from UTF-8 in pieces to a tree that holds elements, text, comments and instructions only.
#include "sablotron/tree/parse.h"

#include "sablotron/tree/decode.h"
#include "sablotron/tree/library_scope.h"
#include "sablotron/tree/markup.h"
#include "sablotron/tree/parse_text.h"

#include <libxml/HTMLparser.h>
#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <map>
#include <new>
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

// Puts tags together again that were cut.
struct Pieces {
    std::vector<size_t> places; // see CutText
    size_t tags = 0;            // that were read
    size_t added = 0;
    bool isAtPiece = false;
    // The element of the latest piece, its last attribute, and the names and URIs of all.
    xmlNode* element = nullptr;
    xmlAttr* last = nullptr;
    std::map<std::pair<std::string_view, std::string_view>, const xmlAttr*> names{};
};

// One parse: the failure is the first error that is fatal or concerns namespaces, else the first error of all.
struct Parse {
    ParseFailure& failure;
    std::string_view rest = {};  // of the text
    bool stopsAtLargeTag = true; // for which the parser would take long
    bool hasLargeTag = false;
    Pieces pieces = {};
    bool decided = false;
    bool atEnd = false; // the parser had read all of its input when it decided
    bool noMemory = false;

    // Called below functions of libxml2, through which nothing may be thrown.
    void Fail(int code, int line, std::string_view message, bool decisive) noexcept {
        if (decided || (!decisive && failure.code != 0)) return;
        try {
            failure.text = "XML parser error " + std::to_string(code) + ": " + ParseErrorText(message);
        } catch (const std::bad_alloc&) {
            noMemory = true;
            return;
        }
        decided = decisive;
        failure.code = code;
        failure.line = line;
    }
};

Parse& ParseOf(const xmlParserCtxt* context) { return *static_cast<Parse*>(context->_private); }

void OnError(void* data, xmlErrorPtr error) noexcept {
    // A namespace name is any text (Namespaces in XML 1.0, section 2.1): libxml2 finds fault with one that is no URI.
    if (error->level < XML_ERR_ERROR || error->code == XML_WAR_NS_URI || data == nullptr) return;
    const auto* context = static_cast<xmlParserCtxt*>(data);
    if (context->_private == nullptr) return;
    Parse& parse = ParseOf(context);
    const std::string_view message = error->message != nullptr ? error->message : "";
    const bool isLimit = message.find(TEXT_LIMIT) != std::string_view::npos;
    if (error->code == XML_ERR_NO_MEMORY && !isLimit) {
        if (!parse.decided) parse.noMemory = true; // libxml2 says so also after a limit
        return;
    }
    const bool decisive = isLimit || error->level == XML_ERR_FATAL || error->domain == XML_FROM_NAMESPACE;
    if (decisive && !parse.decided)
        parse.atEnd = context->input == nullptr || context->input->cur >= context->input->end;
    parse.Fail(error->code, error->line, message, decisive);
}

// Ends the parse as one that is not well-formed.
void Refuse(xmlParserCtxt* context, int code, const char* format, const xmlChar* name,
            const xmlChar* second = nullptr) noexcept {
    char text[300];
    std::snprintf(text, sizeof text, format, Chars(name), Chars(second));
    ParseOf(context).Fail(code, context->input != nullptr ? context->input->line : 0, text, true);
    context->wellFormed = 0;
    xmlStopParser(context);
}

// CDATA is text like that beside it; an empty section is nothing.
void AddSection(void* data, const xmlChar* text, int length) noexcept {
    if (length > 0) xmlSAX2Characters(data, text, length);
}

// Whether a reference to an undeclared entity is no error: what is not read may declare it (XML 1.0, 4.1, WFC: Entity
// Declared).
bool MayBeDeclaredElsewhere(const xmlParserCtxt* context) {
    return context->standalone != 1 && (context->hasExternalSubset != 0 || context->hasPErefs != 0);
}

// The characters of HTML's entities, which XHTML's external subset declares.
xmlEntityPtr AddHtmlEntity(const xmlParserCtxt* context, const xmlChar* name) {
    const htmlEntityDesc* known = htmlEntityLookup(name);
    if (known == nullptr || context->myDoc == nullptr || context->myDoc->intSubset == nullptr) return nullptr;
    xmlChar character[8] = {};
    character[xmlCopyCharMultiByte(character, static_cast<int>(known->value))] = 0;
    return xmlAddDocEntity(context->myDoc, name, XML_INTERNAL_GENERAL_ENTITY, nullptr, nullptr, character);
}

// Entities whose replacement stands outside the buffer.
xmlEntityPtr GetEntity(void* data, const xmlChar* name) noexcept {
    auto* context = static_cast<xmlParserCtxt*>(data);
    xmlEntityPtr entity = xmlSAX2GetEntity(data, name);
    if (entity == nullptr && MayBeDeclaredElsewhere(context)) return AddHtmlEntity(context, name);
    if ((entity != nullptr) && entity->etype == XML_EXTERNAL_GENERAL_PARSED_ENTITY) {
        Refuse(context, XML_ERR_ENTITY_IS_EXTERNAL, "External entity '%.100s' is not read", name);
        return nullptr;
    }
    return entity;
}

// A document that refers to a parameter entity, even to one that is not declared, is one whose declarations may not all
// be known (see MayBeDeclaredElsewhere).
xmlEntityPtr GetParameterEntity(void* data, const xmlChar* name) noexcept {
    static_cast<xmlParserCtxt*>(data)->hasPErefs = 1;
    return xmlSAX2GetParameterEntity(data, name);
}

// A reference whose replacement is not known: it is dropped. libxml2 would leave it in the tree.
void DropReference(void*, const xmlChar*) noexcept {}

constexpr int LARGE_TAG = 20'000; // five for each attribute that there is room for

int ReadPiece(void* data, char* buffer, int size) {
    auto* context = static_cast<xmlParserCtxt*>(data);
    Parse& parse = ParseOf(context);
    if (parse.stopsAtLargeTag && context->maxatts > LARGE_TAG) {
        parse.hasLargeTag = true;
        return 0;
    }
    size_t length = parse.rest.copy(buffer, static_cast<size_t>(size));
    parse.rest.remove_prefix(length);
    // Near the end libxml2 would ask again for every token.
    if (parse.rest.empty()) context->inputTab[0]->buf->readcallback = nullptr;
    return static_cast<int>(length);
}

// A carriage return in the value of an entity was a reference there; libxml2, which parses the value again, would take
// it for a line end.
void DeclareEntity(void* data, const xmlChar* name, int type, const xmlChar* publicId, const xmlChar* systemId,
                   xmlChar* content) noexcept {
    const std::string_view value = View(content);
    if (type != XML_INTERNAL_GENERAL_ENTITY || value.find('\r') == std::string_view::npos) {
        xmlSAX2EntityDecl(data, name, type, publicId, systemId, content);
        return;
    }
    try {
        std::string escaped;
        for (size_t at = 0, end = 0; at < value.size(); at = end) {
            end = value[at] == '<' ? MarkupEnd(value, at) : at + 1;
            escaped.append(value[at] == '\r' ? "&#13;" : value.substr(at, end - at));
        }
        xmlSAX2EntityDecl(data, name, type, publicId, systemId, const_cast<xmlChar*>(Chars(escaped.c_str())));
    } catch (const std::bad_alloc&) {
        ParseOf(static_cast<xmlParserCtxt*>(data)).noMemory = true;
    }
}

// The line on which the start tag begins that was read last.
int StartLine(const xmlParserInput& input) {
    const size_t length = static_cast<size_t>(input.cur - input.base);
    const auto* begin = static_cast<const xmlChar*>(memrchr(input.base, '<', length));
    return input.line - (begin != nullptr ? static_cast<int>(std::count(begin, input.cur, '\n')) : 0);
}

// More are added without libxml2, which goes through all that are there for each.
constexpr int MANY_ATTRIBUTES = 64;

// Adds attributes after `last` as the parser hands them over: name, prefix, URI, beginning and end of the value. The
// last one then.
xmlAttr* AddAttributes(xmlNode* element, xmlAttr* last, int count, const xmlChar** attributes) {
    for (; count > 0; --count, attributes += 5) {
        xmlNs* ns = attributes[1] != nullptr ? xmlSearchNs(element->doc, element, attributes[1]) : nullptr;
        const std::string value(Chars(attributes[3]), Chars(attributes[4]));
        last = AppendAttribute(element, last, ns, attributes[0], value);
        if (xmlIsID(element->doc, element, last) != 0) xmlAddID(nullptr, element->doc, Chars(value.c_str()), last);
    }
    return last;
}

// Adds the attributes of a piece of a start tag to the element of that tag.
void AddPiece(xmlParserCtxt* context, Pieces& pieces, int count, const xmlChar** attributes) {
    if (std::exchange(pieces.element, context->node) != context->node) {
        pieces.names.clear();
        pieces.last = nullptr;
    }
    xmlAttr* before = pieces.last;
    xmlAttr* last = before != nullptr ? before : context->node->properties;
    while (last->next != nullptr) last = last->next;
    pieces.last = AddAttributes(context->node, last, count, attributes);
    const xmlAttr* attribute = before != nullptr ? before->next : context->node->properties;
    for (; attribute != nullptr; attribute = attribute->next) {
        const xmlNs* ns = attribute->ns;
        const auto [known, isNew] = pieces.names.try_emplace(
            {View(attribute->name), ns != nullptr ? View(ns->href) : std::string_view()}, attribute);
        if (isNew) continue;
        if (ns == nullptr)
            return Refuse(context, XML_ERR_ATTRIBUTE_REDEFINED, "Attribute %.100s redefined", attribute->name);
        if (View(ns->prefix) == View(known->second->ns->prefix))
            return Refuse(context, XML_ERR_ATTRIBUTE_REDEFINED, "Attribute %.100s:%.100s redefined", ns->prefix,
                          attribute->name);
        return Refuse(context, XML_NS_ERR_ATTRIBUTE_REDEFINED, "Namespaced Attribute %.100s in '%.100s' redefined",
                      attribute->name, ns->href);
    }
}

// Gives elements the line on which they begin, and keeps lines that do not fit into the node's own field, see LineOf.
void StartElement(void* data, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri, int namespaceCount,
                  const xmlChar** namespaces, int attributeCount, int defaultedCount,
                  const xmlChar** attributes) noexcept {
    auto* context = static_cast<xmlParserCtxt*>(data);
    Parse& parse = ParseOf(context);
    Pieces& pieces = parse.pieces;
    pieces.isAtPiece = pieces.added < pieces.places.size() && pieces.places[pieces.added] == pieces.tags++;
    const bool hasMany = attributeCount > MANY_ATTRIBUTES;
    if (!pieces.isAtPiece) {
        xmlSAX2StartElementNs(data, name, prefix, uri, namespaceCount, namespaces, hasMany ? 0 : attributeCount,
                              hasMany ? 0 : defaultedCount, attributes);
        if (context->node == nullptr) return;
        const auto line = static_cast<unsigned>(StartLine(*context->input));
        context->node->line = static_cast<unsigned short>(std::min(line, MAX_NODE_LINE));
        if (line >= MAX_NODE_LINE) context->node->psvi = reinterpret_cast<void*>(static_cast<intptr_t>(line));
        if (!hasMany) return;
    }
    try {
        if (pieces.isAtPiece)
            AddPiece(context, pieces, attributeCount, attributes);
        else
            AddAttributes(context->node, nullptr, attributeCount, attributes);
    } catch (const std::bad_alloc&) {
        parse.noMemory = true;
        xmlStopParser(context);
    }
}

void EndElement(void* data, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri) noexcept {
    Pieces& pieces = ParseOf(static_cast<xmlParserCtxt*>(data)).pieces;
    if (std::exchange(pieces.isAtPiece, false))
        ++pieces.added;
    else
        xmlSAX2EndElementNs(data, name, prefix, uri);
}

// An external parameter entity counts as read and empty, so that libxml2 knows that it could declare something.
xmlParserInputPtr LoadNothing(const char*, const char*, xmlParserCtxtPtr context) {
    return xmlNewStringInputStream(context, Chars(""));
}

// Whether the text declares entities, which could make little text a lot.
bool DeclaresEntities(std::string_view text) {
    constexpr std::string_view DECLARATION = "<!ENTITY";
    return !text.empty() && memmem(text.data(), text.size(), DECLARATION.data(), DECLARATION.size()) != nullptr;
}

// A parser that will read the text; null when memory is short.
ContextPointer NewParser(const char* baseUri, xmlDict* names) {
    ContextPointer context(xmlNewParserCtxt());
    if (context && (names != nullptr)) {
        xmlDictReference(names);
        xmlDictFree(std::exchange(context->dict, names));
    }
    // Read in pieces: libxml2 copies a text that it gets as a whole.
    xmlParserInputBuffer* buffer =
        context ? xmlParserInputBufferCreateIO(ReadPiece, nullptr, context.get(), XML_CHAR_ENCODING_NONE) : nullptr;
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

// Lets libxml2 parse the text. The tree may be there even if that failed.
TreePointer RunParser(Parse& parse, std::string_view text, const SablotSource& source, const ParseOptions& options) {
    ErrorScope errors({.structured = OnError});
    LoaderScope loader(options.declarations != nullptr ? options.declarations : LoadNothing);
    parse.rest = text;
    const ContextPointer context = NewParser(source.baseUri, options.names);
    if (!context) throw std::bad_alloc();
    context->_private = &parse;
    xmlCtxtUseOptions(context.get(), XML_PARSE_NOENT | XML_PARSE_DTDATTR | XML_PARSE_NONET | XML_PARSE_BIG_LINES
                                         | XML_PARSE_IGNORE_ENC | (DeclaresEntities(text) ? 0 : XML_PARSE_HUGE));
    context->sax->serror = OnError;
    context->sax->startElementNs = StartElement;
    if (!parse.pieces.places.empty()) context->sax->endElementNs = EndElement;
    context->sax->entityDecl = DeclareEntity;
    context->sax->cdataBlock = AddSection;
    context->sax->getEntity = GetEntity;
    context->sax->getParameterEntity = GetParameterEntity;
    context->sax->reference = DropReference;
    context->sax->externalSubset = nullptr; // XML_PARSE_DTDATTR, meant for the internal one, would read it
    xmlParseDocument(context.get());
    if (parse.noMemory) throw std::bad_alloc();
    if (!context->wellFormed || parse.decided) return nullptr;
    return TreePointer(std::exchange(context->myDoc, nullptr));
}

} // namespace

TreePointer ParseTree(const SablotSource& source, ParseFailure& failure, const ParseOptions& options) {
    Parse parse{failure};
    const auto fail = [&parse](int code, long line, std::string_view text) {
        parse.decided = false;
        parse.Fail(code, static_cast<int>(line), text, true);
        if (parse.noMemory) throw std::bad_alloc();
        return nullptr;
    };
    const DecodedText decoded(source);
    const std::string_view text = decoded.Text();
    const auto& fault = decoded.GetFault();
    if (text.empty() && !fault) return fail(XML_ERR_DOCUMENT_EMPTY, 1, "Document is empty");
    if (text.size() > INT_MAX) return fail(XML_ERR_INTERNAL_ERROR, 1, "Document is too long");

    TreePointer tree = RunParser(parse, text, source, options);
    if (parse.hasLargeTag) {
        failure = {};
        const CutText cut = CutLargeTags(text);
        parse.decided = parse.stopsAtLargeTag = false;
        parse.pieces.places = cut.pieces;
        tree = RunParser(parse, cut.pieces.empty() ? text : cut.text, source, options);
    }
    if (fault && (!parse.decided || parse.atEnd))
        return fail(fault->code, 1 + std::count(text.begin(), text.end(), '\n'), fault->text);
    if (!tree) {
        if (failure.code == 0) fail(XML_ERR_INTERNAL_ERROR, 0, "Document could not be parsed");
        return nullptr;
    }
    Tidy(tree.get(), source.baseUri);
    failure = {};
    return tree;
}

} // namespace sablot
