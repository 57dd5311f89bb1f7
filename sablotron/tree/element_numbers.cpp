// Sorting nodes by the numbers of elements, and hiding those that mislead libxml2.
#include "sablotron/tree/element_numbers.h"

#include "sablotron/tree/order_sort.h"
#include "sablotron/tree/tree.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <new>
#include <tuple>
#include <utility>
#include <vector>

namespace sablot {
namespace {

// To libxml2 a number is below 0; what is hidden from it is above.
intptr_t NumberOf(const xmlNode* element) { return std::abs(reinterpret_cast<intptr_t>(element->content)); }
bool IsHidden(const xmlNode* element) { return reinterpret_cast<intptr_t>(element->content) > 0; }
void Hide(xmlNode* element) { element->content = reinterpret_cast<xmlChar*>(NumberOf(element)); }

// The node or the nearest one before it among its siblings that is an element; null when there is none.
xmlNode* ElementUpTo(xmlNode* node) {
    while (node != nullptr && !IsElement(node)) node = node->prev;
    return node;
}

struct Place {
    enum Kind { ELEMENT, DECLARATION, ATTRIBUTE, OTHER };

    xmlNode* node;
    xmlNode* element = nullptr; // the node, its owner, or the one before it
    const xmlDoc* tree = nullptr;
    intptr_t number = 0; // of the last element that begins before the node, or the element's own
    Kind kind = OTHER;

    explicit Place(xmlNode* placed) : node(placed) {
        if (IsDeclaration(node)) {
            element = AsNode(AsDeclaration(node)->next); // as libxml2 keeps it
            kind = DECLARATION;
        } else if (IsElement(node) || IsAttribute(node)) {
            element = IsElement(node) ? node : node->parent;
            kind = IsElement(node) ? ELEMENT : ATTRIBUTE;
        }
        tree = element != nullptr ? element->doc : node->doc;
        const xmlNode* last = element;
        if (kind == OTHER && !IsDocument(node)) {
            element = ElementUpTo(node);
            last = element != nullptr ? element : node->parent;
            for (xmlNode* inside = element; inside != nullptr; inside = ElementUpTo(inside->last)) last = inside;
        }
        if (last != nullptr && IsElement(last)) number = NumberOf(last);
    }

    bool operator<(const Place& other) const {
        if (tree != other.tree) {
            const int order = View(tree->URL).compare(View(other.tree->URL));
            return order != 0 ? order < 0 : std::less<>()(tree, other.tree);
        }
        const auto key = std::tie(number, kind);
        const auto otherKey = std::tie(other.number, other.kind);
        if (key != otherKey) return key < otherKey;
        return node != other.node && kind != DECLARATION && CompareInTree(node, other.node) < 0;
    }
};

// Hides the numbers of elements that hold a node of another kind which comes before one that follows them. With them go
// those of elements around them that are followed so: libxml2 compares texts by the numbers of both or of none.
void HideMisleading(const std::vector<Place>& sorted) {
    intptr_t last = 0;
    const xmlDoc* tree = nullptr;
    for (const Place& place : sorted) {
        if (std::exchange(tree, place.tree) != place.tree) last = 0;
        if (place.kind != Place::OTHER) {
            last = place.number;
            continue;
        }
        if (place.element == nullptr || last <= NumberOf(place.element)) continue;
        for (xmlNode* element = place.element; element != nullptr && IsElement(element); element = element->parent) {
            if (element->next == nullptr || IsElement(element->next)) continue;
            if (IsHidden(element)) break;
            Hide(element);
        }
    }
}

bool IsOther(const xmlNode* node) { return !IsElement(node) && !IsAttribute(node) && !IsDeclaration(node); }

// Whether libxml2 sorts the nodes right, and fast as far as elements go.
bool AreAlike(const xmlNodeSet& nodes) {
    xmlNode** const begin = nodes.nodeTab;
    xmlNode** const end = begin + nodes.nodeNr;
    const auto isSibling = [begin](const xmlNode* node) {
        return node->parent == begin[0]->parent && !(IsElement(node) && IsHidden(node));
    };
    if (std::any_of(begin, end, IsDeclaration)) return false;
    return std::all_of(begin, end, IsOther) || std::all_of(begin, end, isSibling);
}

} // namespace

void SortNodes(xmlNodeSet* nodes) {
    if (nodes == nullptr || nodes->nodeNr < 2) return;
    if (AreAlike(*nodes)) return xmlXPathNodeSetSort(nodes);
    std::vector<Place> places;
    places.reserve(static_cast<size_t>(nodes->nodeNr));
    for (int i = 0; i < nodes->nodeNr; ++i) {
        xmlNode* node = nodes->nodeTab[i];
        const bool isNext = i > 0 && IsOther(node) && !IsDocument(node) && node->prev == nodes->nodeTab[i - 1]
                            && places.back().kind == Place::OTHER;
        Place& place = isNext ? places.emplace_back(places.back()) : places.emplace_back(node);
        place.node = node;
        if (place.element != nullptr && place.element->content == nullptr) return xmlXPathNodeSetSort(nodes);
    }
    if (!std::is_sorted(places.begin(), places.end())) {
        std::stable_sort(places.begin(), places.end());
        std::transform(places.begin(), places.end(), nodes->nodeTab, [](const Place& place) { return place.node; });
    }
    HideMisleading(places);
}

void SortValue(xmlXPathParserContext* parser) noexcept {
    if (parser->error != 0 || parser->value == nullptr || parser->value->type != XPATH_NODESET) return;
    try {
        SortNodes(parser->value->nodesetval);
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
}

} // namespace sablot
