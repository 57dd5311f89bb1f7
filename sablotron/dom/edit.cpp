// Moving, removing and copying nodes.
#include "sablotron/dom/attributes.h"
#include "sablotron/dom/caches.h"
#include "sablotron/dom/call.h"
#include "sablotron/tree/bindings.h"
#include "sablotron/tree/names.h"

namespace sablot {

namespace {

bool IsChildOf(const xmlNode* node, const xmlNode* parent) {
    return !IsAttribute(node) && !IsDeclaration(node) && !IsDocument(node) && node->parent == parent;
}

bool IsWithin(const xmlNode* node, const xmlNode* ancestor) {
    if (ancestor->children == nullptr) return node == ancestor; // new nodes are common, deep trees costly
    while ((node != nullptr) && node != ancestor) node = node->parent;
    return node != nullptr;
}

// Whether a document may have the child, given that `leaving` (which may be null) will not be a child any more.
bool DocumentTakes(const xmlNode* document, const xmlNode* child, const xmlNode* leaving) {
    if (child->type == XML_COMMENT_NODE || child->type == XML_PI_NODE) return true;
    if (!IsElement(child)) return false;
    for (const xmlNode* other = document->children; other != nullptr; other = other->next)
        if (IsElement(other) && other != leaving && other != child) return false;
    return true;
}

// Whether the child may stand in the parent.
SDOM_Exception CheckChild(const SDOM_Node parent, const SDOM_Node child, const xmlNode* leaving) {
    const xmlNode* to = parent->node;
    const xmlNode* node = child->node;
    if (!IsParent(to)) return SDOM_HIERARCHY_REQUEST_ERR;
    if (IsDocument(node) || IsAttribute(node) || IsDeclaration(node)) return SDOM_HIERARCHY_REQUEST_ERR;
    if (parent->document != child->document) return SDOM_WRONG_DOCUMENT_ERR;
    if (IsWithin(to, node)) return SDOM_HIERARCHY_REQUEST_ERR;
    if (IsDocument(to) && !DocumentTakes(to, node, leaving)) return SDOM_HIERARCHY_REQUEST_ERR;
    return SDOM_OK;
}

// Takes a node out of its parent for good or for a moment.
void TakeOut(Document& document, Caches& caches, xmlNode* node) {
    caches.children.Removing(node->parent, node);
    Unlink(node);
    document.Touch();
}

// A removed element keeps what was in scope of it.
void KeepScope(Document& document, xmlNode* element) {
    xmlNode* parent = element->parent;
    if (!IsElement(parent)) {
        KeepBindings(document, element, BindingsInScope(document, element));
        return;
    }
    const std::vector<Binding>& ofParent = CachesOf(document).attributes.Scope().Of(document, parent);
    KeepBindings(document, element, BindingsInScope(element, ofParent));
}

void Detach(Document& document, xmlNode* node) {
    const bool isElement = IsElement(node);
    const bool fromElement = IsElement(node->parent);
    Caches& caches = CachesOf(document);
    if (isElement) KeepScope(document, node);
    AdoptDetached(document, node);
    TakeOut(document, caches, node);
    if (!isElement) return;
    FixUpNamespaces(document, node);
    if (fromElement) caches.attributes.Scope().StillHolds(document);
}

// Puts a node that may stand here before `next`, out of where it was.
void Place(SDOM_Node child, xmlNode* parent, xmlNode* next) {
    Document& document = *child->document;
    Caches& caches = CachesOf(document);
    xmlNode* node = child->node;
    const bool wasDetached = child->IsDetached();
    if (wasDetached) {
        document.RemoveDetached(child);
        if (IsElement(node)) DropKeptBindings(document, node);
    } else {
        TakeOut(document, caches, node);
    }
    caches.children.Inserting(parent, node, next);
    LinkBefore(parent, node, next);
    // A tree of its own declares all it needs, unless names of it were made before they had a place.
    if (!wasDetached || document.HasUnattachedNamespaces()) FixUpNamespaces(document, node);
    document.Touch();
}

SDOM_Exception Insert(SablotSituation situation, SDOM_Node node, SDOM_Node newChild, SDOM_Node refChild) {
    return CallOnEditable(situation, node, [&](xmlNode* parent) {
        if ((FindNode(newChild) == nullptr) || ((refChild != nullptr) && (FindNode(refChild) == nullptr)))
            return SDOM_NOT_FOUND_ERR;
        if (SDOM_Exception code = CheckChild(node, newChild, nullptr)) return code;
        if ((refChild != nullptr) && !IsChildOf(refChild->node, parent)) return SDOM_NOT_FOUND_ERR;
        if (newChild == refChild) return SDOM_OK;
        Place(newChild, parent, refChild != nullptr ? refChild->node : nullptr);
        return SDOM_OK;
    });
}

SDOM_Exception Clone(Document& document, const xmlNode* node, bool deep, SDOM_Node* clone) {
    ErrorScope silence;
    if (IsDocument(node)) return SDOM_INVALID_NODE_TYPE;
    if (IsDeclaration(node)) {
        const auto* declaration = AsDeclaration(node);
        if (View(declaration->prefix) == "xml") return SDOM_NAMESPACE_ERR; // there is no other one
        *clone = AdoptDetached(document, NewDeclaration(declaration->prefix, View(declaration->href)));
    } else if (IsAttribute(node)) {
        xmlNs* ns = node->ns != nullptr ? document.UnattachedNamespace(node->ns->prefix, node->ns->href) : nullptr;
        *clone = AdoptDetached(document, NewAttribute(document, ns, Chars(node->name), ValueOf(node)));
    } else {
        xmlNode* copy = CopySubtree(node, deep, document.Tree());
        if (copy == nullptr) throw std::bad_alloc();
        *clone = AdoptDetached(document, copy);
    }
    return SDOM_OK;
}

} // namespace

} // namespace sablot

using namespace sablot;

extern "C" {

SDOM_Exception SDOM_insertBefore(SablotSituation situation, SDOM_Node node, SDOM_Node newChild, SDOM_Node refChild) {
    return Insert(situation, node, newChild, refChild);
}

SDOM_Exception SDOM_appendChild(SablotSituation situation, SDOM_Node node, SDOM_Node newChild) {
    return Insert(situation, node, newChild, nullptr);
}

SDOM_Exception SDOM_removeChild(SablotSituation situation, SDOM_Node node, SDOM_Node oldChild) {
    return CallOnEditable(situation, node, [&](xmlNode* parent) {
        if (FindNode(oldChild) == nullptr) return SDOM_NOT_FOUND_ERR;
        xmlNode* child = oldChild->node;
        if (!IsParent(parent)) return SDOM_INVALID_NODE_TYPE;
        if (IsDocument(child) || IsAttribute(child) || IsDeclaration(child)) return SDOM_INVALID_NODE_TYPE;
        if (!IsChildOf(child, parent)) return SDOM_NOT_FOUND_ERR;
        Detach(*oldChild->document, child);
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_replaceChild(SablotSituation situation, SDOM_Node node, SDOM_Node newChild, SDOM_Node oldChild) {
    return CallOnEditable(situation, node, [&](xmlNode* parent) {
        if ((FindNode(newChild) == nullptr) || (FindNode(oldChild) == nullptr)) return SDOM_NOT_FOUND_ERR;
        if (SDOM_Exception code = CheckChild(node, newChild, oldChild->node)) return code;
        if (!IsChildOf(oldChild->node, parent)) return SDOM_NOT_FOUND_ERR;
        if (newChild == oldChild) return SDOM_OK;
        xmlNode* next = oldChild->node->next;
        if (next == newChild->node) next = next->next;
        Detach(*oldChild->document, oldChild->node);
        Place(newChild, parent, next);
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_cloneNode(SablotSituation situation, SDOM_Node node, int deep, SDOM_Node* clone) {
    *clone = nullptr;
    return CallOnNode(situation, node,
                      [&](const xmlNode* found) { return Clone(*node->document, found, deep != 0, clone); });
}

SDOM_Exception SDOM_cloneForeignNode(SablotSituation situation, SDOM_Document document, SDOM_Node node, int deep,
                                     SDOM_Node* clone) {
    *clone = nullptr;
    return CallOnDocument(situation, document, [&](Document& found) {
        return FindNode(node) != nullptr ? Clone(found, node->node, deep != 0, clone) : SDOM_NOT_FOUND_ERR;
    });
}

} // extern "C"
