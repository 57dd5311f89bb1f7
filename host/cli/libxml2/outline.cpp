// Walks the tree without recursion, so that depth does not matter.
#include "host/cli/libxml2/outline.h"

#include "host/cli/libxml2/document.h"
#include "host/cli/libxml2/tree.h"

#include <string_view>
#include <unordered_set>

namespace host::xml {

namespace {

class Writer {
public:
    explicit Writer(const std::vector<_xmlNode*>& found) {
        for (const xmlNode* node : found) marked_.insert(node->type == XML_ATTRIBUTE_NODE ? node->parent : node);
    }

    Outline Write(const xmlDoc* document) {
        const xmlNode* node = document->children;
        while (node != nullptr) {
            Begin(node);
            if (HasContent(node)) {
                node = node->children;
                continue;
            }
            if (node->type == XML_ELEMENT_NODE) outline_.lines += ")\n";
            while (node->next == nullptr && node->parent != nullptr && node->parent->type == XML_ELEMENT_NODE) {
                node = node->parent;
                outline_.lines += ")\n";
            }
            node = node->next;
        }
        return std::move(outline_);
    }

private:
    static bool HasContent(const xmlNode* node) { return node->type == XML_ELEMENT_NODE && node->children != nullptr; }

    static bool IsBetweenElements(const xmlNode* node) {
        if (!IsWhiteSpace(node)) return false;
        bool isOnly = node->prev == nullptr && node->next == nullptr;
        return !isOnly;
    }

    void Begin(const xmlNode* node) {
        if (IsBetweenElements(node)) return;
        if (marked_.contains(node)) outline_.hits.push_back(outline_.count);
        ++outline_.count;
        switch (node->type) {
        case XML_ELEMENT_NODE: BeginElement(node); break;
        case XML_CDATA_SECTION_NODE: Line('[', Text(node->content)); break;
        case XML_COMMENT_NODE: Line('!', Text(node->content)); break;
        case XML_PI_NODE: Line('?', std::string(Text(node->name)) + " " + Text(node->content)); break;
        case XML_ENTITY_REF_NODE: Line('&', Text(node->name)); break;
        case XML_DTD_NODE: Line('D', Text(node->name)); break;
        default: Line('"', Text(node->content));
        }
    }

    void BeginElement(const xmlNode* element) {
        outline_.lines += '(';
        Name(element->ns, element->name);
        for (const xmlNs* ns = element->nsDef; ns != nullptr; ns = ns->next) {
            outline_.lines += ns->prefix != nullptr ? "\txmlns:" : "\txmlns";
            Escape(Text(ns->prefix));
            outline_.lines += '\t';
            Escape(Text(ns->href));
        }
        for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next) {
            outline_.lines += '\t';
            Name(attribute->ns, attribute->name);
            outline_.lines += '\t';
            Escape(StringValue(reinterpret_cast<const xmlNode*>(attribute)));
        }
        outline_.lines += '\n';
    }

    void Name(const xmlNs* ns, const xmlChar* name) {
        if (ns != nullptr && ns->prefix != nullptr) {
            Escape(Text(ns->prefix));
            outline_.lines += ':';
        }
        Escape(Text(name));
    }

    void Line(char kind, std::string_view text) {
        outline_.lines += kind;
        Escape(text);
        outline_.lines += '\n';
    }

    void Escape(std::string_view text) {
        for (char c : text) {
            switch (c) {
            case '\n': outline_.lines += "\\n"; break;
            case '\r': outline_.lines += "\\r"; break;
            case '\t': outline_.lines += "\\t"; break;
            case '\\': outline_.lines += "\\\\"; break;
            case '<': outline_.lines += "\\l"; break;
            default: outline_.lines += c;
            }
        }
    }

    std::unordered_set<const xmlNode*> marked_;
    Outline outline_;
};

} // namespace

Outline MakeOutline(const _xmlDoc* document, const std::vector<_xmlNode*>& found) {
    return Writer(found).Write(document);
}

} // namespace host::xml
