// Reading nodes: types, names, values, and moving about.
#include "sablotron/dom/caches.h"
#include "sablotron/dom/call.h"
#include "sablotron/tree/names.h"
#include "sablotron/tree/strings.h"

#include <optional>
#include <string>

namespace sablot {

namespace {

using Text = std::optional<std::string_view>;

// Runs body(node), which answers a text or none, and hands the text out.
template <typename Body>
SDOM_Exception GetText(SablotSituation situation, SDOM_Node node, char** text, Body body) {
    *text = nullptr;
    return CallOnNode(situation, node, [&](xmlNode* found) {
        if (const auto answer = body(found)) *text = NewDeletableString(*answer);
        return SDOM_OK;
    });
}

// Runs body(node), which answers a node that may be null, for nodes that stand among others, and hands its handle out.
template <typename Body>
SDOM_Exception GetRelative(SablotSituation situation, SDOM_Node node, SDOM_Node* relative, Body body) {
    *relative = nullptr;
    return CallOnNode(situation, node, [&](xmlNode* found) {
        if (!IsAttribute(found) && !IsDeclaration(found)) *relative = node->document->HandleOf(body(found));
        return SDOM_OK;
    });
}

} // namespace

} // namespace sablot

using namespace sablot;

extern "C" {

void SDOM_holdNode(SDOM_Node node) {
    if (node != nullptr) NodePool::Hold(node);
}

void SDOM_endHold(SablotSituation situation, SDOM_Node node) {
    if (situation != nullptr && node != nullptr) situation->nodes.EndHold(node);
}

SDOM_Exception SDOM_getNodeType(SablotSituation situation, SDOM_Node node, SDOM_NodeType* type) {
    *type = SDOM_NodeType{};
    return CallOnNode(situation, node, [&](xmlNode* found) {
        *type = IsDeclaration(found) ? SDOM_ATTRIBUTE_NODE : static_cast<SDOM_NodeType>(found->type);
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getNodeName(SablotSituation situation, SDOM_Node node, char** name) {
    return GetText(situation, node, name,
                   [](const xmlNode* found) { return std::optional(NameOf(found).QualifiedName()); });
}

SDOM_Exception SDOM_getNodeNSUri(SablotSituation situation, SDOM_Node node, char** uri) {
    return GetText(situation, node, uri,
                   [](const xmlNode* found) { return HasExpandedName(found) ? Text(NameOf(found).uri) : Text(); });
}

SDOM_Exception SDOM_getNodePrefix(SablotSituation situation, SDOM_Node node, char** prefix) {
    return GetText(situation, node, prefix,
                   [](const xmlNode* found) { return HasExpandedName(found) ? Text(NameOf(found).prefix) : Text(); });
}

SDOM_Exception SDOM_getNodeLocalName(SablotSituation situation, SDOM_Node node, char** localName) {
    return GetText(situation, node, localName, [](const xmlNode* found) {
        return HasExpandedName(found) ? Text(NameOf(found).localName) : Text();
    });
}

SDOM_Exception SDOM_getNodeValue(SablotSituation situation, SDOM_Node node, char** value) {
    std::string joined;
    return GetText(situation, node, value,
                   [&](xmlNode* found) { return IsParent(found) ? Text() : Text(ValueOf(found, joined)); });
}

SDOM_Exception SDOM_getParentNode(SablotSituation situation, SDOM_Node node, SDOM_Node* parent) {
    return GetRelative(situation, node, parent, [](xmlNode* found) { return found->parent; });
}

SDOM_Exception SDOM_getFirstChild(SablotSituation situation, SDOM_Node node, SDOM_Node* child) {
    return GetRelative(situation, node, child,
                       [](xmlNode* found) { return IsParent(found) ? found->children : nullptr; });
}

SDOM_Exception SDOM_getLastChild(SablotSituation situation, SDOM_Node node, SDOM_Node* child) {
    return GetRelative(situation, node, child, [](xmlNode* found) { return IsParent(found) ? found->last : nullptr; });
}

SDOM_Exception SDOM_getPreviousSibling(SablotSituation situation, SDOM_Node node, SDOM_Node* sibling) {
    return GetRelative(situation, node, sibling, [](xmlNode* found) { return found->prev; });
}

SDOM_Exception SDOM_getNextSibling(SablotSituation situation, SDOM_Node node, SDOM_Node* sibling) {
    return GetRelative(situation, node, sibling, [](xmlNode* found) { return found->next; });
}

SDOM_Exception SDOM_getChildNodeIndex(SablotSituation situation, SDOM_Node node, int index, SDOM_Node* child) {
    return GetRelative(situation, node, child, [&](xmlNode* found) -> xmlNode* {
        if (!IsParent(found) || index < 0) return nullptr;
        return CachesOf(*node->document).children.At(found, found->children, static_cast<size_t>(index));
    });
}

SDOM_Exception SDOM_getChildNodeCount(SablotSituation situation, SDOM_Node node, int* count) {
    *count = 0;
    return CallOnNode(situation, node, [&](xmlNode* found) {
        if (IsParent(found))
            *count = static_cast<int>(CachesOf(*node->document).children.Count(found, found->children));
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getOwnerDocument(SablotSituation situation, SDOM_Node node, SDOM_Document* document) {
    *document = nullptr;
    return CallOnNode(situation, node, [&](const xmlNode* found) {
        if (!IsDocument(found)) *document = node->document->Handle();
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getDocumentElement(SablotSituation situation, SDOM_Document document, SDOM_Node* element) {
    *element = nullptr;
    return CallOnDocument(situation, document, [&](Document& found) {
        *element = found.HandleOf(found.Root());
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_compareNodes(SablotSituation situation, SDOM_Node node, SDOM_Node other, int* result) {
    *result = 0;
    return CallOnNode(situation, node, [&](const xmlNode*) {
        if (FindNode(other) == nullptr) return SDOM_NOT_FOUND_ERR;
        if (node->document == other->document)
            *result = CachesOf(*node->document).order.Compare(node, other);
        else
            *result = node->document->Serial() < other->document->Serial() ? -1 : 1;
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getAttributeNodeIndex(SablotSituation situation, SDOM_Node element, int index,
                                          SDOM_Node* attribute) {
    *attribute = nullptr;
    return CallOnElement(situation, element, [&](xmlNode* found) {
        Document& document = *element->document;
        if (index >= 0) *attribute = CachesOf(document).attributes.At(document, found, static_cast<size_t>(index));
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getAttributeNodeCount(SablotSituation situation, SDOM_Node element, int* count) {
    *count = 0;
    return CallOnElement(situation, element, [&](xmlNode* found) {
        Document& document = *element->document;
        *count = static_cast<int>(CachesOf(document).attributes.Count(document, found));
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_getAttributeElement(SablotSituation situation, SDOM_Node attribute, SDOM_Node* element) {
    *element = nullptr;
    return CallOnNode(situation, attribute, [&](const xmlNode* found) {
        Document& document = *attribute->document;
        if (IsAttribute(found))
            *element = document.HandleOf(found->parent);
        else if (!IsDeclaration(found))
            return SDOM_HIERARCHY_REQUEST_ERR;
        else if (!attribute->IsDetached()) // the implicit ones stand on the document element
            *element = document.HandleOf(attribute->Owner() != nullptr ? attribute->Owner() : document.Root());
        return SDOM_OK;
    });
}

} // extern "C"
