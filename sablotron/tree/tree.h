// Work on libxml2 trees without recursion, so that depth costs no stack.
#pragma once

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace sablot {

struct TreeDeleter {
    void operator()(xmlDoc* tree) const { xmlFreeDoc(tree); }
};
using TreePointer = std::unique_ptr<xmlDoc, TreeDeleter>;

inline const xmlChar* Chars(const char* text) { return reinterpret_cast<const xmlChar*>(text); }
inline const char* Chars(const xmlChar* text) { return reinterpret_cast<const char*>(text); }
// A view of text that may be null.
inline std::string_view View(const xmlChar* text) {
    return text != nullptr ? std::string_view(Chars(text)) : std::string_view();
}

// Documents, attributes and declarations as nodes: their type field is at the same place.
inline xmlNode* AsNode(xmlDoc* tree) { return reinterpret_cast<xmlNode*>(tree); }
inline const xmlNode* AsNode(const xmlDoc* tree) { return reinterpret_cast<const xmlNode*>(tree); }
inline xmlNode* AsNode(xmlAttr* attribute) { return reinterpret_cast<xmlNode*>(attribute); }
inline const xmlNode* AsNode(const xmlAttr* attribute) { return reinterpret_cast<const xmlNode*>(attribute); }
inline xmlNode* AsNode(xmlNs* declaration) { return reinterpret_cast<xmlNode*>(declaration); }
inline const xmlNode* AsNode(const xmlNs* declaration) { return reinterpret_cast<const xmlNode*>(declaration); }
inline xmlAttr* AsAttribute(xmlNode* node) { return reinterpret_cast<xmlAttr*>(node); }
inline const xmlAttr* AsAttribute(const xmlNode* node) { return reinterpret_cast<const xmlAttr*>(node); }
inline xmlNs* AsDeclaration(xmlNode* node) { return reinterpret_cast<xmlNs*>(node); }
inline const xmlNs* AsDeclaration(const xmlNode* node) { return reinterpret_cast<const xmlNs*>(node); }

inline bool IsElement(const xmlNode* node) { return node->type == XML_ELEMENT_NODE; }
inline bool IsAttribute(const xmlNode* node) { return node->type == XML_ATTRIBUTE_NODE; }
inline bool IsDeclaration(const xmlNode* node) { return node->type == XML_NAMESPACE_DECL; }
inline bool IsDocument(const xmlNode* node) {
    return node->type == XML_DOCUMENT_NODE || node->type == XML_HTML_DOCUMENT_NODE;
}
// Whether the node is the document of a result tree fragment, as libxslt marks it. Fragments come and go in a run.
inline bool IsFragment(const xmlNode* node) {
    return node->type == XML_DOCUMENT_NODE && View(node->name).starts_with(' ');
}
// Whether nodes of this type have children in the tree. (Attributes keep their text as such, entities their content.)
inline bool IsParent(const xmlNode* node) { return IsElement(node) || IsDocument(node); }

// A flag in the `extra` of an element that was made without a binding of its own: in the live tree it is in no
// namespace, in the text it has the default one of the place where it stands. (libxslt takes the upper four bits.)
constexpr unsigned short ADOPTS_DEFAULT = 1;
inline bool AdoptsDefault(const xmlNode* element) {
    return element->ns == nullptr && (element->extra & ADOPTS_DEFAULT) != 0;
}

// Another one: the element was removed from a tree, where xmlns:xml was in scope.
constexpr unsigned short LISTS_XML = 2;

// A declaration that a removed element keeps of what was in scope where it stood; `context` is not used otherwise.
inline bool IsKept(const xmlNs* declaration) { return declaration->context != nullptr; }
inline void SetKept(xmlNs* declaration, xmlDoc* tree) { declaration->context = tree; }

// The greatest line that a node's own field holds.
constexpr unsigned MAX_NODE_LINE = 65535;

// The line of an element. Beyond MAX_NODE_LINE parsed elements keep it in `psvi`; libxml2 itself only guesses it from
// the text around.
inline long LineOf(const xmlNode* element) {
    if (element->line == MAX_NODE_LINE && (element->psvi != nullptr))
        return static_cast<long>(reinterpret_cast<intptr_t>(element->psvi));
    return xmlGetLineNo(element);
}

// The nodes of the subtree of `root` in document order, itself first, for a range-based loop. Attributes are not
// visited.
template <typename Node>
class Walk {
public:
    class Iterator {
    public:
        Iterator(Node* node, Node* root) : node_(node), root_(root) {}
        Node* operator*() const { return node_; }
        bool operator!=(const Iterator& other) const { return node_ != other.node_; }
        Iterator& operator++() {
            if ((node_->children != nullptr) && IsParent(node_)) {
                node_ = node_->children;
                return *this;
            }
            while (node_ != root_ && (node_->next == nullptr)) node_ = node_->parent;
            node_ = node_ != root_ ? node_->next : nullptr;
            return *this;
        }

    private:
        Node* node_;
        Node* root_;
    };

    explicit Walk(Node* root) : root_(root) {}
    Iterator begin() const { return {root_, root_}; }
    Iterator end() const { return {nullptr, root_}; }

private:
    Node* root_;
};

// Calls enter(node) before and leave(node) after what is below each node of the subtree.
template <typename Node, typename Enter, typename Leave>
void WalkTree(Node* root, Enter enter, Leave leave) {
    for (Node* node = root;;) {
        enter(node);
        if ((node->children != nullptr) && IsParent(node)) {
            node = node->children;
            continue;
        }
        leave(node);
        while (node != root && (node->next == nullptr)) {
            node = node->parent;
            leave(node);
        }
        if (node == root) return;
        node = node->next;
    }
}

// What libxml2 made of a text; it leaves the text out when memory is short.
inline xmlNode* Checked(xmlNode* made, std::string_view text) {
    if ((made != nullptr) && (text.empty() || (made->content != nullptr))) return made;
    if (made != nullptr) xmlFreeNode(made);
    throw std::bad_alloc();
}

// An empty tree with a dictionary; null when memory is short.
TreePointer NewTree();
// A whole copy: nodes, names, bindings, attribute types, line numbers, URL. Handles are not copied. Null when memory is
// short.
TreePointer CopyTree(const xmlDoc* tree);

// A copy of an element, text, CDATA section, comment or processing instruction in `target`, with its attributes and
// declarations, and with what is below it when `deep`. It keeps the names it had, declaring on itself what it needs of
// the bindings around the original. It has no parent. Null when memory is short.
xmlNode* CopySubtree(const xmlNode* node, bool deep, xmlDoc* target);

// These make what libxml2 would leave incomplete when memory is short; they throw std::bad_alloc, and nothing has
// changed. A declaration on no element; the prefix is null or "" for the default.
xmlNs* NewNamespace(const xmlChar* prefix, const xmlChar* uri);
// The name of an element, attribute or instruction.
void SetName(xmlNode* node, const char* name);
// The text of a text node, CDATA section, comment or instruction.
void SetText(xmlNode* node, std::string_view text);
// The element's own declaration of the prefix (null for the default) as that URI, made when it has none; null when it
// declares the prefix as something else.
xmlNs* Declare(xmlNode* element, const xmlChar* prefix, const xmlChar* uri);

// An attribute of no element, without a value. Throws std::bad_alloc.
xmlAttr* NewBareAttribute(xmlDoc* tree, const xmlChar* name);
// Adds an attribute behind `last`, the element's last one (null when it has none); libxml2 would look for that one by
// one. Its name is not checked. Throws std::bad_alloc.
xmlAttr* AppendAttribute(xmlNode* element, xmlAttr* last, xmlNs* ns, const xmlChar* name, std::string_view value);

// Links a node, which has no parent, before `next` in `parent` (at the end when null). Never merges text.
void LinkBefore(xmlNode* parent, xmlNode* node, xmlNode* next);
// Takes a node out of its parent.
void Unlink(xmlNode* node);

// The value of an attribute or a declaration; the content of text, comments and processing instructions.
std::string ValueOf(const xmlNode* node);
// The same where it lies; that of an attribute which stands in pieces is put together in `joined`.
std::string_view ValueOf(const xmlNode* node, std::string& joined);

} // namespace sablot
