// Parsing, and nodes as text.
#include "host/cli/libxml2/document.h"

#include "host/cli/libxml2/parsing.h"
#include "host/cli/libxml2/tree.h"

#include <libxml/SAX2.h>
#include <libxml/xmlsave.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string_view>
#include <unordered_set>
#include <utility>

namespace host::xml {

namespace {

struct CloseOutput {
    void operator()(xmlOutputBufferPtr output) const { xmlOutputBufferClose(output); }
};

// What a document refers to is not read but reported, to whoever collects the document's errors.
struct Reading {
    xmlParserCtxtPtr parser;
    ErrorCollector& errors;
};
Reading* reading;

xmlParserInputPtr Refuse(const char* name, const char*, xmlParserCtxtPtr) {
    const xmlParserInput* place = reading->parser->input;
    reading->errors.Add(Severity::WARNING, place != nullptr ? place->line : 1, place != nullptr ? place->col : 0,
                        std::string("the external entity \"") + (name != nullptr ? name : "") + "\" is not read");
    return nullptr;
}

// libxml2 guards against entities that multiply only as long as it limits the size of everything else too.
bool MayDeclareEntities(const std::string& text) {
    bool isAscii = text.find('\0') == std::string::npos && text.find('<') != std::string::npos;
    return !isAscii || text.find("<!ENTITY") != std::string::npos;
}

// libxml2 goes through all attributes of an element to add one: more than these are added to a holder and handed over.
constexpr int GROUP = 64;

void StartElement(void* data, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri, int namespaceCount,
                  const xmlChar** namespaces, int count, int defaultedCount, const xmlChar** attributes) {
    auto* parser = static_cast<xmlParserCtxtPtr>(data);
    xmlNodePtr parent = parser->node;
    // The attributes from `at` on; those that the document type declares stand last.
    auto start = [=](int at, int namespaceCountThere) {
        constexpr int WORDS = 5; // of an attribute
        int size = std::min(count - at, GROUP);
        int defaulted = std::clamp(at + size - (count - defaultedCount), 0, size);
        xmlSAX2StartElementNs(data, name, prefix, uri, namespaceCountThere, namespaces, size, defaulted,
                              attributes + static_cast<ptrdiff_t>(at) * WORDS);
    };
    start(0, namespaceCount);
    xmlNodePtr element = parser->node;
    if (count <= GROUP || element == parent) return;
    xmlAttrPtr last = element->properties;
    while (last != nullptr && last->next != nullptr) last = last->next;
    for (int at = GROUP; at < count; at += GROUP) {
        start(at, 0);
        if (parser->node == element) return; // the parser has reported why
        xmlNodePtr holder = nodePop(parser);
        xmlAttrPtr first = std::exchange(holder->properties, nullptr);
        (last != nullptr ? last->next : element->properties) = first;
        for (xmlAttrPtr next = first; next != nullptr; next = next->next) {
            next->parent = element;
            next->prev = std::exchange(last, next);
        }
        xmlUnlinkNode(holder);
        xmlFreeNode(holder);
    }
}

// Where a comment, a CDATA section or an instruction that begins at a place ends, in which no reference is read; the
// next place for anything else.
size_t EndOfOpaque(std::string_view text, size_t at) {
    for (auto [begin, end] : {std::pair<std::string_view, std::string_view>("<!--", "-->"),
                              std::pair<std::string_view, std::string_view>("<![CDATA[", "]]>"),
                              std::pair<std::string_view, std::string_view>("<?", "?>")}) {
        if (!text.substr(at).starts_with(begin)) continue;
        size_t last = text.find(end, at + begin.size());
        return last == std::string_view::npos ? text.size() : last + end.size();
    }
    return at + 1;
}

// libxml2 parses the value of an entity again where it is referred to, and takes a carriage return for a line end: it
// was a character reference and becomes one again.
void DeclareEntity(void* data, const xmlChar* name, int type, const xmlChar* publicId, const xmlChar* systemId,
                   xmlChar* content) {
    std::string value = Text(content);
    std::string escaped;
    for (size_t at = 0, end = 0; at < value.size(); at = end) {
        end = EndOfOpaque(value, at);
        bool isReference = value[at] == '\r' && type == XML_INTERNAL_GENERAL_ENTITY;
        escaped += isReference ? "&#13;" : value.substr(at, end - at);
    }
    xmlChar* declared = content != nullptr ? const_cast<xmlChar*>(Text(escaped)) : nullptr;
    xmlSAX2EntityDecl(data, name, type, publicId, systemId, declared);
}

// What is written again of a default value is what references in it stood for: they become references again.
void DeclareAttribute(void* data, const xmlChar* element, const xmlChar* name, int type, int kind,
                      const xmlChar* defaultValue, xmlEnumerationPtr values) {
    std::string escaped;
    for (char c : std::string_view(Text(defaultValue))) {
        bool isReference = std::string_view("<\t\n\r").find(c) != std::string_view::npos;
        escaped += isReference ? "&#" + std::to_string(c) + ";" : std::string(1, c);
    }
    xmlSAX2AttributeDecl(data, element, name, type, kind, defaultValue != nullptr ? Text(escaped) : nullptr, values);
}

// Adds declarations to an element for as long as it is written.
class BorrowedNamespaces {
public:
    explicit BorrowedNamespaces(xmlNodePtr element) : element_(element), last_(element->nsDef) {
        while (last_ != nullptr && last_->next != nullptr) last_ = last_->next;
        for (const xmlNs* used : Find(element)) {
            xmlNsPtr copy = xmlCopyNamespace(const_cast<xmlNs*>(used));
            if (copy == nullptr) throw std::bad_alloc();
            copy->next = added_;
            added_ = copy;
        }
        (last_ != nullptr ? last_->next : element_->nsDef) = added_;
    }
    ~BorrowedNamespaces() {
        (last_ != nullptr ? last_->next : element_->nsDef) = nullptr;
        xmlFreeNsList(added_);
    }
    BorrowedNamespaces(const BorrowedNamespaces&) = delete;
    BorrowedNamespaces& operator=(const BorrowedNamespaces&) = delete;

private:
    // What names inside use without being declared there, each once.
    static std::vector<const xmlNs*> Find(xmlNodePtr element) {
        std::unordered_set<const xmlNs*> declared;
        std::vector<const xmlNs*> used;
        auto use = [&](const xmlNs* ns) {
            if (ns == nullptr || xmlStrEqual(ns->href, XML_XML_NAMESPACE) != 0) return;
            if (declared.insert(ns).second) used.push_back(ns);
        };
        for (xmlNodePtr node = element; node != nullptr; node = Next(node, element)) {
            if (node->type != XML_ELEMENT_NODE) continue;
            for (const xmlNs* ns = node->nsDef; ns != nullptr; ns = ns->next) declared.insert(ns);
            use(node->ns);
            for (xmlAttrPtr attribute = node->properties; attribute != nullptr; attribute = attribute->next)
                use(attribute->ns);
        }
        return used;
    }

    // In document order, within the element.
    static xmlNodePtr Next(xmlNodePtr node, xmlNodePtr element) {
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
        while (node != element && node->next == nullptr) node = node->parent;
        return node == element ? nullptr : node->next;
    }

    xmlNodePtr element_;
    xmlNsPtr last_;
    xmlNsPtr added_ = nullptr;
};

std::string Serialise(xmlNodePtr node) {
    std::string text;
    auto write = [](void* out, const char* bytes, int length) {
        static_cast<std::string*>(out)->append(bytes, static_cast<size_t>(length));
        return length;
    };
    std::unique_ptr<xmlOutputBuffer, CloseOutput> output(xmlOutputBufferCreateIO(write, nullptr, &text, nullptr));
    if (output == nullptr) throw std::bad_alloc();
    xmlNodeDumpOutput(output.get(), node->doc, node, 0, 0, "UTF-8");
    output.reset();
    return text;
}

} // namespace

void FreeDocument::operator()(_xmlDoc* document) const { xmlFreeDoc(document); }

TextError::TextError(std::vector<Diagnostic> found)
    : std::runtime_error(found.empty() ? "unknown error" : found.front().message), faults(std::move(found)) {}

Parser NewParser() {
    Parser parser(xmlNewParserCtxt());
    if (parser == nullptr) throw std::bad_alloc();
    return parser;
}

Document ReadText(xmlParserCtxtPtr parser, const Input& input, int options) {
    if (input.text.size() > static_cast<size_t>(std::numeric_limits<int>::max()))
        throw std::runtime_error(input.name + ": the text is larger than 2 GB");
    options |= XML_PARSE_NONET | XML_PARSE_BIG_LINES;
    if (!MayDeclareEntities(input.text)) options |= XML_PARSE_HUGE;
    parser->sax->startElementNs = StartElement;
    if ((options & XML_PARSE_NOENT) != 0)
        parser->sax->entityDecl = DeclareEntity;
    else
        parser->sax->attributeDecl = DeclareAttribute;
    return Document(xmlCtxtReadMemory(parser, input.text.data(), static_cast<int>(input.text.size()),
                                      input.name.c_str(), nullptr, options));
}

Document Parse(const Input& input, References references, std::vector<Diagnostic>& warnings) {
    ErrorCollector errors(input);
    Parser parser = NewParser();
    Reading current{parser.get(), errors};
    reading = &current;
    EntityLoader loader(Refuse);
    parser->sax->externalSubset = nullptr; // XML_PARSE_DTDATTR, meant for the internal one, would read it
    const int options = references == References::REPLACE ? XML_PARSE_NOENT | XML_PARSE_DTDATTR : 0;
    Document document = ReadText(parser.get(), input, options);
    for (Diagnostic& fault : errors.found) {
        if (fault.severity == Severity::ERROR) throw TextError({fault});
        warnings.push_back(std::move(fault));
    }
    if (document == nullptr) throw std::runtime_error(input.name + ": this is no XML");
    return document;
}

void CheckDepth(const _xmlDoc* document, const std::string& name) {
    constexpr int MAX_DEPTH = 5000;
    int depth = 0;
    const xmlNode* node = document->children;
    while (node != nullptr) {
        if (node->type == XML_ELEMENT_NODE && node->children != nullptr) {
            if (++depth > MAX_DEPTH) throw std::runtime_error(name + ": it is nested deeper than 5,000 elements");
            node = node->children;
            continue;
        }
        while (node->next == nullptr && depth > 0) {
            node = node->parent;
            --depth;
        }
        node = node->next;
    }
}

std::string Markup(const _xmlNode* found) {
    auto* node = const_cast<xmlNodePtr>(found);
    switch (node->type) {
    case XML_ELEMENT_NODE: {
        BorrowedNamespaces namespaces(node);
        return Serialise(node);
    }
    case XML_DOCUMENT_NODE: {
        std::string text;
        for (xmlNodePtr child = node->children; child != nullptr; child = child->next)
            text += Serialise(child) + (child->next != nullptr ? "\n" : "");
        return text;
    }
    case XML_COMMENT_NODE:
    case XML_PI_NODE:
    case XML_ENTITY_REF_NODE: return Serialise(node);
    default: return StringValue(node);
    }
}

std::string StringValue(const _xmlNode* node) {
    if (node->type == XML_NAMESPACE_DECL) return Text(reinterpret_cast<const xmlNs*>(node)->href);
    CString text(xmlNodeGetContent(node));
    return Text(text.get());
}

} // namespace host::xml
