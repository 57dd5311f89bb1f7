// The markup of each type of node, with the declarations that its names need.
#include "sablotron/tree/serialise.h"

#include "sablotron/tree/bindings.h"
#include "sablotron/tree/scope.h"

#include <array>

namespace sablot {

namespace {

// What stands for each byte in text or in an attribute value; empty for the byte itself.
using Escapes = std::array<std::string_view, 256>;

constexpr Escapes MakeEscapes(bool inAttribute) {
    Escapes escapes{};
    escapes['&'] = "&amp;";
    escapes['<'] = "&lt;";
    escapes['>'] = "&gt;";
    escapes['\r'] = "&#13;";
    if (inAttribute) {
        escapes['"'] = "&quot;";
        escapes['\t'] = "&#9;";
        escapes['\n'] = "&#10;";
    }
    return escapes;
}

constexpr Escapes TEXT_ESCAPES = MakeEscapes(false);
constexpr Escapes ATTRIBUTE_ESCAPES = MakeEscapes(true);

// Whether anything stands between the tags: text nodes can be empty.
bool HasContent(const xmlNode* element) {
    const xmlNode* child = element->children;
    while ((child != nullptr) && child->type == XML_TEXT_NODE && View(child->content).empty()) child = child->next;
    return child != nullptr;
}

class Serialiser {
public:
    explicit Serialiser(TextBuffer& text) : text_(text) {
        empty_.type = XML_LOCAL_NAMESPACE;
        empty_.href = Chars("");
    }

    void Write(xmlNode* root) {
        root_ = root;
        WalkTree(
            root, [this](xmlNode* node) { Open(node); }, [this](xmlNode* node) { Close(node); });
    }

    // Declares on the root of the next Write what is in scope of it.
    void DeclareInherited() { declaresInherited_ = true; }

private:
    void Open(xmlNode* node) {
        switch (node->type) {
        case XML_ELEMENT_NODE: OpenElement(node); break;
        case XML_TEXT_NODE: Escape(View(node->content), TEXT_ESCAPES); break;
        case XML_CDATA_SECTION_NODE: WriteSection(View(node->content)); break;
        case XML_COMMENT_NODE: Put("<!--", View(node->content), "-->"); break;
        case XML_PI_NODE:
            Put("<?", View(node->name));
            if (!View(node->content).empty()) Put(" ", View(node->content));
            Put("?>");
            break;
        default: break;
        }
    }

    void Close(const xmlNode* node) {
        if (!IsElement(node)) return;
        if (HasContent(node)) {
            Put("</");
            PutName(node->ns, node->name);
            text_.Append('>');
        }
        scope_.Leave(node);
    }

    void OpenElement(const xmlNode* element) {
        text_.Append('<');
        PutName(element->ns, element->name);
        for (xmlNs* declaration = element->nsDef; declaration != nullptr; declaration = declaration->next)
            DeclareIfFree(element, declaration);
        if (declaresInherited_ && element == root_) {
            for (const xmlNode* outer = element->parent; (outer != nullptr) && IsElement(outer); outer = outer->parent)
                for (xmlNs* declaration = outer->nsDef; declaration != nullptr; declaration = declaration->next)
                    if (scope_.Find(View(declaration->prefix)) == nullptr) DeclareIfFree(element, declaration);
        }
        if (element->ns != nullptr)
            Require(element, element->ns);
        else if (const xmlNs* seen = scope_.Find("");
                 (seen != nullptr) && !View(seen->href).empty() && !AdoptsDefault(element))
            WriteDeclaration(element, &empty_);
        for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
            if (attribute->ns != nullptr) Require(element, attribute->ns);

        for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next) {
            text_.Append(' ');
            PutName(attribute->ns, attribute->name);
            Put("=\"");
            for (const xmlNode* part = attribute->children; part != nullptr; part = part->next)
                Escape(View(part->content), ATTRIBUTE_ESCAPES);
            text_.Append('"');
        }
        Put(HasContent(element) ? ">" : "/>");
    }

    // Writes a declaration of the element that says something new and leaves its names what they are.
    void DeclareIfFree(const xmlNode* element, xmlNs* declaration) {
        const xmlNs* seen = scope_.Find(View(declaration->prefix));
        if (View(seen != nullptr ? seen->href : nullptr) == View(declaration->href)) {
            if (seen == nullptr) scope_.Add(element, declaration); // xmlns="" hides what is further out
            return;
        }
        if (UsesPrefixOtherwise(element, View(declaration->prefix), View(declaration->href))) return;
        WriteDeclaration(element, declaration);
    }

    // Sees to it that the name's prefix means its URI here.
    void Require(const xmlNode* element, xmlNs* ns) {
        if (View(ns->prefix) == "xml") return;
        const xmlNs* seen = scope_.Find(View(ns->prefix));
        if (seen == ns || ((seen != nullptr) && View(seen->href) == View(ns->href))) return;
        WriteDeclaration(element, ns);
    }

    void WriteDeclaration(const xmlNode* element, xmlNs* declaration) {
        Put(" xmlns");
        if (!View(declaration->prefix).empty()) Put(":", View(declaration->prefix));
        Put("=\"");
        Escape(View(declaration->href), ATTRIBUTE_ESCAPES);
        text_.Append('"');
        scope_.Add(element, declaration);
    }

    void WriteSection(std::string_view data) {
        Put("<![CDATA[");
        size_t written = 0;
        for (size_t at = 0; (at = data.find_first_of("]\r", at)) != std::string_view::npos; ++at) {
            if (data[at] == '\r') {
                Put(data.substr(written, at - written), "]]>&#13;<![CDATA["); // a parser would make it a line feed
                written = at + 1;
            } else if (data.substr(at, 3) == "]]>") {
                Put(data.substr(written, at + 2 - written), "]]><![CDATA[");
                written = at + 2;
            }
        }
        Put(data.substr(written), "]]>");
    }

    void PutName(const xmlNs* ns, const xmlChar* name) {
        if ((ns != nullptr) && !View(ns->prefix).empty()) Put(View(ns->prefix), ":");
        Put(View(name));
    }

    template <typename... Texts>
    void Put(Texts... texts) {
        (text_.Append(texts), ...);
    }

    void Escape(std::string_view data, const Escapes& escapes) {
        size_t written = 0;
        for (size_t at = 0; at < data.size(); ++at) {
            std::string_view escape = escapes[static_cast<unsigned char>(data[at])];
            if (escape.empty()) continue;
            Put(data.substr(written, at - written), escape);
            written = at + 1;
        }
        Put(data.substr(written));
    }

    TextBuffer& text_;
    const xmlNode* root_ = nullptr;
    bool declaresInherited_ = false;
    Scope scope_;
    xmlNs empty_{};
};

} // namespace

void SerialiseDocument(const Document& document, TextBuffer& text) {
    text.Append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    Serialiser(text).Write(AsNode(document.Tree()));
}

void SerialiseElement(xmlNode* element, TextBuffer& text) {
    Serialiser serialiser(text);
    serialiser.DeclareInherited();
    serialiser.Write(element);
}

} // namespace sablot
