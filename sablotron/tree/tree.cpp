// Copies and links of libxml2 trees.
#include "sablotron/tree/tree.h"

#include <libxml/dict.h>
#include <libxml/valid.h>

#include <string>
#include <unordered_map>
#include <utility>

namespace sablot {

namespace {

// Names that libxml2's dictionary, whose hash table ends to grow, finds quickly. Further ones are kept outside it.
constexpr int GOOD_DICTIONARY = 8192;

struct NodeDeleter {
    void operator()(xmlNode* node) const { xmlFreeNode(node); }
};

// Copies nodes of one tree to another, giving each name the copy of its own declaration.
class Copier {
public:
    explicit Copier(xmlDoc* target) : target_(target) {}

    // The copy of `node` and, when deep, of what is below it; null when memory is short.
    xmlNode* Copy(const xmlNode* node, bool deep) {
        std::unique_ptr<xmlNode, NodeDeleter> root(CopyNode(node));
        root_ = root.get();
        if (!root || !CopyNames(node, root_)) return nullptr;
        if (!deep || !IsElement(node)) return root.release();

        xmlNode* at = nullptr; // the copy of the node that the walk is in
        bool isComplete = true;
        const auto enter = [&](const xmlNode* from) {
            xmlNode* copy = from == node ? root_ : isComplete ? CopyNode(from) : nullptr;
            isComplete = copy != nullptr;
            if (!isComplete || from == node) {
                at = copy;
                return;
            }
            LinkBefore(at, copy, nullptr);
            isComplete = CopyNames(from, copy);
            at = copy;
        };
        WalkTree(node, enter, [&](const xmlNode*) {
            if (isComplete) at = at->parent;
        });
        return isComplete ? root.release() : nullptr;
    }

private:
    // The node without attributes and declarations.
    xmlNode* CopyNode(const xmlNode* node) {
        xmlNode* copy = nullptr;
        switch (node->type) {
        case XML_ELEMENT_NODE: copy = xmlNewDocNode(target_, nullptr, node->name, nullptr); break;
        case XML_TEXT_NODE: copy = xmlNewDocText(target_, node->content); break;
        case XML_CDATA_SECTION_NODE:
            copy = xmlNewCDataBlock(target_, node->content, node->content != nullptr ? xmlStrlen(node->content) : 0);
            break;
        case XML_COMMENT_NODE: copy = xmlNewDocComment(target_, node->content); break;
        case XML_PI_NODE: copy = xmlNewDocPI(target_, node->name, node->content); break;
        default: return nullptr;
        }
        if (copy == nullptr) return nullptr;
        // libxml2 leaves out what memory is short for.
        const bool lacksText = !IsElement(node) && !View(node->content).empty() && copy->content == nullptr;
        if (lacksText || (node->type == XML_PI_NODE && copy->name == nullptr)) {
            xmlFreeNode(copy);
            return nullptr;
        }
        copy->line = node->line;
        copy->extra = node->extra & ADOPTS_DEFAULT;
        copy->psvi = node->psvi; // see LineOf
        return copy;
    }

    bool CopyNames(const xmlNode* from, xmlNode* to) {
        if (!IsElement(from)) return true;
        for (const xmlNs* declaration = from->nsDef; declaration != nullptr; declaration = declaration->next) {
            if (IsKept(declaration)) continue;
            copies_[declaration] = Declare(to, declaration->prefix, declaration->href);
        }
        if ((from->ns != nullptr) && ((to->ns = CopyOf(from->ns, to)) == nullptr)) return false;
        xmlAttr* last = nullptr;
        for (const xmlAttr* attribute = from->properties; attribute != nullptr; attribute = attribute->next) {
            xmlNs* ns = nullptr;
            if ((attribute->ns != nullptr) && ((ns = CopyOf(attribute->ns, to)) == nullptr)) return false;
            const std::string value = ValueOf(AsNode(attribute));
            last = AppendAttribute(to, last, ns, attribute->name, value);
            if (attribute->atype == XML_ATTRIBUTE_ID) xmlAddID(nullptr, target_, Chars(value.c_str()), last);
        }
        return true;
    }

    // What `ns` is on `element` of the copy. A declaration that was not copied is made on the root of the copy, or on
    // the element where the root has another one of that prefix.
    xmlNs* CopyOf(const xmlNs* ns, xmlNode* element) {
        if (ns == lastFrom_) return lastTo_;
        xmlNs* copy = nullptr;
        if ((ns->prefix != nullptr) && xmlStrEqual(ns->prefix, Chars("xml"))) {
            copy = xmlSearchNs(target_, element, Chars("xml"));
        } else if (auto found = copies_.find(ns); found != copies_.end()) {
            copy = found->second;
        } else {
            // An unprefixed root in no namespace cannot carry a default one.
            if ((ns->prefix != nullptr) || (root_->ns != nullptr) || root_ == element)
                copy = Declare(root_, ns->prefix, ns->href);
            // What only this element can say is not remembered: others cannot see it.
            if (copy == nullptr) return Declare(element, ns->prefix, ns->href);
            copies_[ns] = copy;
        }
        lastFrom_ = ns;
        lastTo_ = copy;
        return copy;
    }

    xmlDoc* target_;
    xmlNode* root_ = nullptr;
    std::unordered_map<const xmlNs*, xmlNs*> copies_;
    const xmlNs* lastFrom_ = nullptr;
    xmlNs* lastTo_ = nullptr;
};

} // namespace

TreePointer NewTree() {
    TreePointer tree(xmlNewDoc(Chars("1.0")));
    if (!tree) return nullptr;
    tree->dict = xmlDictCreate();
    return tree->dict != nullptr ? std::move(tree) : nullptr;
}

TreePointer CopyTree(const xmlDoc* tree) {
    TreePointer copy = NewTree();
    if (!copy) return nullptr;
    if ((tree->URL != nullptr) && ((copy->URL = xmlStrdup(tree->URL)) == nullptr)) return nullptr;
    for (const xmlNode* child = tree->children; child != nullptr; child = child->next) {
        xmlNode* node = CopySubtree(child, true, copy.get());
        if (node == nullptr) return nullptr;
        LinkBefore(AsNode(copy.get()), node, nullptr);
    }
    if ((tree->extSubset != nullptr) && ((copy->extSubset = xmlCopyDtd(tree->extSubset)) == nullptr)) return nullptr;
    return copy;
}

xmlNs* Declare(xmlNode* element, const xmlChar* prefix, const xmlChar* uri) {
    xmlNs** end = &element->nsDef;
    for (; *end != nullptr; end = &(*end)->next)
        if (xmlStrEqual((*end)->prefix, prefix)) return xmlStrEqual((*end)->href, uri) ? *end : nullptr;
    return *end = NewNamespace(prefix, uri);
}

xmlNs* NewNamespace(const xmlChar* prefix, const xmlChar* uri) {
    if (View(prefix).empty()) prefix = nullptr;
    xmlNs* made = xmlNewNs(nullptr, uri, prefix);
    if (made == nullptr) throw std::bad_alloc();
    if (made->href != nullptr && (made->prefix != nullptr || prefix == nullptr)) return made;
    xmlFreeNs(made);
    throw std::bad_alloc();
}

void SetName(xmlNode* node, const char* name) {
    xmlDict* names = node->doc->dict;
    const xmlChar* copy = names != nullptr ? xmlDictLookup(names, Chars(name), -1) : xmlStrdup(Chars(name));
    if (copy == nullptr) throw std::bad_alloc();
    const xmlChar* old = std::exchange(node->name, copy);
    if (names == nullptr || xmlDictOwns(names, old) == 0) xmlFree(const_cast<xmlChar*>(old));
}

void SetText(xmlNode* node, std::string_view text) {
    xmlChar* copy = xmlStrndup(Chars(text.empty() ? "" : text.data()), static_cast<int>(text.size()));
    if (copy == nullptr) throw std::bad_alloc();
    const xmlDict* names = node->doc->dict;
    // The parser keeps short texts in the node itself or with the names.
    const bool isOwn = node->content != reinterpret_cast<xmlChar*>(&node->properties)
                       && (names == nullptr || xmlDictOwns(node->doc->dict, node->content) == 0);
    if (isOwn) xmlFree(node->content);
    node->properties = nullptr;
    node->content = copy;
    node->psvi = nullptr; // the line of the text that it was
}

xmlNode* CopySubtree(const xmlNode* node, bool deep, xmlDoc* target) {
    try {
        return Copier(target).Copy(node, deep);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

xmlAttr* NewBareAttribute(xmlDoc* tree, const xmlChar* name) {
    const bool hasRoom = tree->dict == nullptr || xmlDictSize(tree->dict) < GOOD_DICTIONARY;
    xmlAttr* attribute = xmlNewDocProp(tree, hasRoom ? name : Chars(""), nullptr);
    if (attribute == nullptr) throw std::bad_alloc();
    if (!hasRoom) attribute->name = xmlStrdup(name);
    if (attribute->name != nullptr) return attribute;
    xmlFreeProp(attribute);
    throw std::bad_alloc();
}

xmlAttr* AppendAttribute(xmlNode* element, xmlAttr* last, xmlNs* ns, const xmlChar* name, std::string_view value) {
    xmlAttr* attribute = NewBareAttribute(element->doc, name);
    attribute->ns = ns;
    attribute->parent = element;
    attribute->prev = last;
    (last != nullptr ? last->next : element->properties) = attribute;
    xmlNode* text = Checked(xmlNewDocTextLen(element->doc, Chars(value.data()), static_cast<int>(value.size())), value);
    attribute->children = attribute->last = text;
    text->parent = AsNode(attribute);
    return attribute;
}

void LinkBefore(xmlNode* parent, xmlNode* node, xmlNode* next) {
    xmlNode* previous = next != nullptr ? next->prev : parent->last;
    node->parent = parent;
    node->prev = previous;
    node->next = next;
    (previous != nullptr ? previous->next : parent->children) = node;
    (next != nullptr ? next->prev : parent->last) = node;
}

void Unlink(xmlNode* node) {
    xmlNode* parent = node->parent;
    (node->prev != nullptr ? node->prev->next : parent->children) = node->next;
    (node->next != nullptr ? node->next->prev : parent->last) = node->prev;
    node->parent = node->prev = node->next = nullptr;
}

std::string_view ValueOf(const xmlNode* node, std::string& joined) {
    if (IsDeclaration(node)) return View(AsDeclaration(node)->href);
    if (!IsAttribute(node)) return View(node->content);
    const xmlNode* part = node->children;
    if (part != nullptr && part->next == nullptr) return View(part->content);
    for (; part != nullptr; part = part->next) joined += View(part->content);
    return joined;
}

std::string ValueOf(const xmlNode* node) {
    std::string joined;
    return std::string(ValueOf(node, joined));
}

} // namespace sablot
