// Dropping the numbers of elements that mislead libxml2.
#include "sablotron/tree/element_numbers.h"

#include "sablotron/tree/tree.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cstdint>

namespace sablot {
namespace {

bool IsNumbered(const xmlNode* element) { return reinterpret_cast<intptr_t>(element->content) < 0; }

// Whether a node that follows the element is misplaced by its number.
bool Misleads(const xmlNode* element) {
    if (!IsNumbered(element)) return false;
    const xmlNode* child = element->children;
    while (child != nullptr && !IsElement(child)) child = child->next;
    return child != nullptr;
}

bool IsMisled(const xmlNode* node) {
    while (node != nullptr && !IsElement(node)) node = node->prev;
    return node != nullptr && Misleads(node);
}

void DropNumbers(xmlDoc* tree) {
    for (xmlNode* node : Walk(AsNode(tree)))
        if (IsElement(node) && node->next != nullptr && !IsElement(node->next) && Misleads(node))
            node->content = nullptr;
}

} // namespace

void DropMisleadingNumbers(const xmlNodeSet* nodes) {
    if (nodes == nullptr || nodes->nodeNr < 2) return;
    xmlNode** const begin = nodes->nodeTab;
    xmlNode** const end = begin + nodes->nodeNr;
    const auto hasNumber = [](const xmlNode* node) { return IsElement(node) || IsAttribute(node); };
    const auto hasSameParent = [begin](const xmlNode* node) {
        return !IsDeclaration(node) && node->parent == begin[0]->parent;
    };
    if (std::none_of(begin, end, hasNumber) || (!IsDeclaration(*begin) && std::all_of(begin, end, hasSameParent)))
        return;
    for (xmlNode** node = begin; node != end; ++node) {
        if (hasNumber(*node) || IsDeclaration(*node) || IsDocument(*node)) continue;
        const bool followsOne = node != begin && *(node - 1) == (*node)->prev;
        if ((!followsOne || IsElement((*node)->prev)) && IsMisled(*node)) DropNumbers((*node)->doc);
    }
}

void SortNodes(xmlNodeSet* nodes) {
    DropMisleadingNumbers(nodes);
    xmlXPathNodeSetSort(nodes);
}

} // namespace sablot
