// Work on libxml2 trees without recursion, so that depth costs no stack.
#pragma once

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
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

inline bool IsElement(const xmlNode* node) { return node->type == XML_ELEMENT_NODE; }

// The greatest line that a node's own field holds.
constexpr unsigned MAX_NODE_LINE = 65535;

// The line of an element. Beyond MAX_NODE_LINE parsed elements keep it in `psvi`; libxml2 itself only guesses it from
// the text around.
inline long LineOf(const xmlNode* element) {
    if (element->line == MAX_NODE_LINE && (element->psvi != nullptr))
        return static_cast<long>(reinterpret_cast<intptr_t>(element->psvi));
    return xmlGetLineNo(element);
}

// The node after `node` in document order within the subtree of `root`; null after the last. Attributes are not
// visited.
inline xmlNode* NextInTree(xmlNode* node, const xmlNode* root) {
    if ((node->children != nullptr) && (IsElement(node) || node->type == XML_DOCUMENT_NODE)) return node->children;
    while (node != root) {
        if (node->next != nullptr) return node->next;
        node = node->parent;
    }
    return nullptr;
}
// Calls enter(node) before and leave(node) after what is below each node of the subtree.
template <typename Enter, typename Leave>
void WalkTree(xmlNode* root, Enter enter, Leave leave) {
    for (xmlNode* node = root;;) {
        enter(node);
        if (node->children && (IsElement(node) || node->type == XML_DOCUMENT_NODE)) {
            node = node->children;
            continue;
        }
        leave(node);
        while (node != root && !node->next) {
            node = node->parent;
            leave(node);
        }
        if (node == root) return;
        node = node->next;
    }
}

// An empty tree with a dictionary; null when memory is short.
TreePointer NewTree();
// A whole copy: nodes, names, bindings, attribute types, line numbers, URL. Handles are not copied. Null when memory is
// short.
TreePointer CopyTree(const xmlDoc* tree);

// A copy of an element, text, CDATA section, comment or processing instruction in `target`, with its attributes and
// declarations, and with what is below it when `deep`. It keeps the names it had, declaring on itself what it needs of
// the bindings around the original. It has no parent.
xmlNode* CopySubtree(const xmlNode* node, bool deep, xmlDoc* target);

// The element's own declaration of the prefix (null for the default) as that URI, made when it has none; null when it
// declares the prefix as something else or memory is short.
xmlNs* Declare(xmlNode* element, const xmlChar* prefix, const xmlChar* uri);

// Links a node, which has no parent, before `next` in `parent` (at the end when null). Never merges text.
void LinkBefore(xmlNode* parent, xmlNode* node, xmlNode* next);
// Takes a node out of its parent.
void Unlink(xmlNode* node);

} // namespace sablot
