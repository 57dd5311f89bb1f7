// Saving, indenting, canonical form.
#include "host/cli/libxml2/save.h"

#include "host/cli/libxml2/errors.h"
#include "host/cli/libxml2/tree.h"

#include <libxml/c14n.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

namespace host::xml {

namespace {

struct FreeBuffer {
    void operator()(xmlBufferPtr buffer) const { xmlBufferFree(buffer); }
};

// The XML declaration as it is written, with the line end after it; empty when there is none.
std::string Declaration(std::string_view text) {
    constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
    if (text.starts_with(BYTE_ORDER_MARK)) text.remove_prefix(BYTE_ORDER_MARK.size());
    size_t end = text.find("?>");
    if (!text.starts_with("<?xml") || end == std::string_view::npos) return "";
    return std::string(text.substr(0, end + 2)) + "\n";
}

// Whether markup stands in more than a byte for each character.
bool IsWide(std::string_view text) { return text.substr(0, 4).find('\0') != std::string_view::npos; }

bool KeepsSpace(xmlNodePtr element) {
    CString space(xmlGetNsProp(element, Text("space"), XML_XML_NAMESPACE));
    return xmlStrEqual(space.get(), Text("preserve")) != 0;
}

// Whether white space between the children means nothing: there are elements and no text.
bool HoldsElementsOnly(xmlNodePtr element) {
    bool hasMarkup = false;
    for (xmlNodePtr child = element->children; child != nullptr; child = child->next) {
        bool isMarkup =
            child->type == XML_ELEMENT_NODE || child->type == XML_COMMENT_NODE || child->type == XML_PI_NODE;
        if (!isMarkup && !IsWhiteSpace(child)) return false;
        hasMarkup = hasMarkup || isMarkup;
    }
    return hasMarkup;
}

void AddLineBreak(xmlNodePtr before, xmlNodePtr parent, size_t blanks) {
    xmlNodePtr text = xmlNewDocText(parent->doc, Text("\n" + std::string(blanks, ' ')));
    if (text == nullptr) throw std::bad_alloc();
    if (before != nullptr)
        xmlAddPrevSibling(before, text);
    else
        xmlAddChild(parent, text);
}

// Deeper elements are indented no further: the blanks would be most of the text.
constexpr size_t MAX_INDENTED_DEPTH = 100;

void IndentChildren(xmlNodePtr element, size_t depth, size_t width) {
    depth = std::min(depth, MAX_INDENTED_DEPTH);
    for (xmlNodePtr child = element->children; child != nullptr;) {
        xmlNodePtr next = child->next;
        if (IsWhiteSpace(child)) {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
        child = next;
    }
    for (xmlNodePtr child = element->children; child != nullptr; child = child->next)
        AddLineBreak(child, element, (depth + 1) * width);
    AddLineBreak(nullptr, element, depth * width);
}

// Puts the attributes of an element into the reverse of their order in canonical form: libxml2 looks for the place of
// each among those before it, from the first on.
void ReverseAttributes(xmlNodePtr element) {
    constexpr size_t MANY = 64;
    std::vector<xmlAttrPtr> attributes;
    for (xmlAttrPtr attribute = element->properties; attribute != nullptr; attribute = attribute->next)
        attributes.push_back(attribute);
    if (attributes.size() < MANY) return;
    auto key = [](const xmlAttr* attribute) {
        const char* uri = attribute->ns != nullptr ? Text(attribute->ns->href) : "";
        return std::pair<std::string_view, std::string_view>(uri, Text(attribute->name));
    };
    std::sort(attributes.begin(), attributes.end(), [&](auto* left, auto* right) { return key(right) < key(left); });
    xmlAttrPtr last = nullptr;
    for (xmlAttrPtr attribute : attributes) {
        (last != nullptr ? last->next : element->properties) = attribute;
        attribute->prev = std::exchange(last, attribute);
    }
    last->next = nullptr;
}

xmlNodePtr NextInTree(xmlNodePtr node) {
    if (node->type == XML_ELEMENT_NODE && node->children != nullptr) return node->children;
    while (node != nullptr && node->next == nullptr) node = node->parent;
    return node != nullptr ? node->next : nullptr;
}

} // namespace

std::string FileText(_xmlDoc* document, const Input& input) {
    ErrorCollector errors(input);
    std::unique_ptr<xmlBuffer, FreeBuffer> buffer(xmlBufferCreate());
    if (buffer == nullptr) throw std::bad_alloc();
    xmlBufferSetAllocationScheme(buffer.get(), XML_BUFFER_ALLOC_DOUBLEIT);
    const char* encoding = document->encoding != nullptr ? Text(document->encoding) : "UTF-8";
    bool isWide = IsWide(input.text);
    int options = XML_SAVE_AS_XML | (isWide ? 0 : XML_SAVE_NO_DECL);
    xmlSaveCtxtPtr saving = xmlSaveToBuffer(buffer.get(), encoding, options);
    if (saving == nullptr) throw std::runtime_error(input.name + ": it cannot be written in " + encoding);
    bool isSaved = xmlSaveDoc(saving, document) >= 0;
    if (xmlSaveClose(saving) < 0 || !isSaved) throw TextError(errors.found);
    return (isWide ? "" : Declaration(input.text))
           + std::string(Text(xmlBufferContent(buffer.get())), static_cast<size_t>(xmlBufferLength(buffer.get())));
}

void Indent(_xmlDoc* document, size_t width) {
    size_t depth = 0;
    xmlNodePtr node = xmlDocGetRootElement(document);
    while (node != nullptr) {
        bool descends = node->type == XML_ELEMENT_NODE && !KeepsSpace(node) && HoldsElementsOnly(node);
        if (descends) {
            IndentChildren(node, depth++, width);
            node = node->children;
            continue;
        }
        while (node->next == nullptr && depth > 0) {
            node = node->parent;
            --depth;
        }
        node = depth > 0 ? node->next : nullptr;
    }
}

std::string Canonical(_xmlDoc* document, const Input& input) {
    CheckDepth(document, input.name);
    for (xmlNodePtr node = document->children; node != nullptr; node = NextInTree(node))
        if (node->type == XML_ELEMENT_NODE) ReverseAttributes(node);
    ErrorCollector errors(input);
    xmlChar* bytes = nullptr;
    constexpr int WITH_COMMENTS = 1;
    int length = xmlC14NDocDumpMemory(document, nullptr, XML_C14N_1_0, nullptr, WITH_COMMENTS, &bytes);
    CString text(bytes);
    if (length < 0) {
        if (errors.found.empty()) errors.Add(Severity::ERROR, 1, 0, "there is no canonical form of it");
        throw TextError(errors.found);
    }
    return {Text(text.get()), static_cast<size_t>(length)};
}

} // namespace host::xml
