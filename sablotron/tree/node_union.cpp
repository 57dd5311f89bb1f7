// The union of node sets at a cost that is linear in their sizes, counted as steps of the evaluation, count() and id().
#include "sablotron/tree/node_union.h"

#include "sablotron/tree/characters.h"
#include "sablotron/tree/element_numbers.h"
#include "sablotron/tree/node_steps.h"
#include "sablotron/tree/tree.h"
#include "sablotron/tree/xpath.h"
#include "sablotron/tree/xpath_rewrite.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <new>
#include <string>
#include <unordered_set>
#include <utility>

namespace sablot {
namespace {

constexpr int FEW = 16;

bool IsEmpty(const xmlNodeSet* nodes) { return nodes == nullptr || nodes->nodeNr == 0; }

bool HasDeclarations(const xmlNodeSet& nodes) {
    return std::any_of(nodes.nodeTab, nodes.nodeTab + nodes.nodeNr, IsDeclaration);
}

// Adds nodes that are not there yet. False when memory is short.
bool Add(xmlXPathContext& context, xmlNodeSet& nodes, xmlNodeSet& more) {
    const auto size = static_cast<size_t>(nodes.nodeNr);
    const auto added = static_cast<size_t>(more.nodeNr);
    // Namespace nodes are copies, which libxml2 compares by what they say.
    if (added <= FEW || size <= FEW || HasDeclarations(more)) {
        context.opCount += size * added;
        return context.opCount > context.opLimit || xmlXPathNodeSetMerge(&nodes, &more) != nullptr;
    }
    context.opCount += size + added;
    const std::unordered_set<const xmlNode*> known(nodes.nodeTab, nodes.nodeTab + size);
    return std::all_of(more.nodeTab, more.nodeTab + added, [&](xmlNode* node) {
        return known.contains(node) || xmlXPathNodeSetAddUnique(&nodes, node) == 0;
    });
}

// Each argument, from the last one on, gets what comes after it: so most nodes are in document order already.
void Unite(xmlXPathParserContext* parser, int argumentCount) noexcept {
    if (argumentCount < 1) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    XPathPointer<xmlXPathObject> result;
    for (; argumentCount > 0; --argumentCount) {
        XPathPointer<xmlXPathObject> nodes(valuePop(parser));
        if (!nodes || nodes->type != XPATH_NODESET) return xmlXPathErr(parser, XPATH_INVALID_TYPE);
        if (result && IsEmpty(nodes->nodesetval)) continue;
        std::swap(result, nodes);
        if (!nodes || IsEmpty(nodes->nodesetval)) continue;
        try {
            if (!Add(*parser->context, *result->nodesetval, *nodes->nodesetval))
                return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
        } catch (const std::bad_alloc&) {
            return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
        }
        if (parser->context->opCount > parser->context->opLimit) return xmlXPathErr(parser, XPATH_OP_LIMIT_EXCEEDED);
    }
    valuePush(parser, result.release());
    SortValue(parser);
}

// An element that was removed keeps its ID.
bool IsInTree(const xmlDoc* document, const xmlNode* node) {
    while (node->parent != nullptr) node = node->parent;
    return node == AsNode(document);
}

// Adds the elements of a text that lists IDs, and frees the text.
void AddById(xmlXPathContext* context, xmlChar* text, xmlNodeSet* elements) {
    if (text == nullptr || elements == nullptr) throw std::bad_alloc();
    std::string ids(View(text));
    xmlFree(text);
    for (size_t end = 0, at = 0; (at = ids.find_first_not_of(BLANKS, end)) != std::string::npos; ++end) {
        end = std::min(ids.find_first_of(BLANKS, at), ids.size());
        ids[end] = '\0';
        ++context->opCount;
        const xmlAttr* id = xmlGetID(context->doc, Chars(ids.c_str() + at));
        xmlNode* element = id != nullptr ? id->parent : nullptr;
        const bool isFound = element != nullptr && IsInTree(context->doc, element);
        if (isFound && xmlXPathNodeSetAddUnique(elements, element) < 0) throw std::bad_alloc();
    }
}

// libxml2 compares each element with all found before, and leaves them as their IDs come.
void FindById(xmlXPathParserContext* parser, int argumentCount) noexcept {
    if (argumentCount != 1) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    const XPathPointer<xmlXPathObject> ids(valuePop(parser));
    if (!ids) return xmlXPathErr(parser, XPATH_INVALID_OPERAND);
    const bool isSet = ids->type == XPATH_NODESET || ids->type == XPATH_XSLT_TREE;
    const xmlNodeSet* nodes = isSet ? ids->nodesetval : nullptr;
    XPathPointer<xmlXPathObject> result(xmlXPathNewNodeSet(nullptr));
    xmlNodeSet* elements = result ? result->nodesetval : nullptr;
    try {
        for (int i = 0; nodes != nullptr && i < nodes->nodeNr; ++i)
            AddById(parser->context, xmlXPathCastNodeToString(nodes->nodeTab[i]), elements);
        if (!isSet) AddById(parser->context, xmlXPathCastToString(ids.get()), elements);
        SortNodes(elements);
    } catch (const std::bad_alloc&) {
        return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
    if (elements != nullptr)
        elements->nodeNr =
            static_cast<int>(std::unique(elements->nodeTab, elements->nodeTab + elements->nodeNr) - elements->nodeTab);
    valuePush(parser, result.release());
}

void TryStep(xmlXPathParserContext* parser, std::string_view step) {
    try {
        TakeStep(parser, step);
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
}

// Also SORTED_CALL, which is a union whose first argument is the mark, and STEP_CALL.
void Count(xmlXPathParserContext* parser, int argumentCount) noexcept {
    const bool hasMore = argumentCount > 1 && parser->valueNr >= argumentCount;
    const xmlXPathObject* first = hasMore ? parser->valueTab[parser->valueNr - argumentCount] : nullptr;
    const std::string_view mark = first != nullptr && first->type == XPATH_STRING ? View(first->stringval) : "";
    if (mark == SORTED_MARK)
        Unite(parser, argumentCount - 1);
    else if (mark.starts_with(STEP_MARK) && argumentCount == 2)
        TryStep(parser, mark.substr(STEP_MARK.size()));
    else
        return xmlXPathCountFunction(parser, argumentCount);
    if (parser->error != 0) return;
    xmlXPathObject* sorted = valuePop(parser);
    xmlXPathFreeObject(valuePop(parser));
    valuePush(parser, sorted);
}

} // namespace

xmlXPathFunction FindNodeFunction(std::string_view name) {
    if (name == UNION_FUNCTION) return Unite;
    if (name == "count") return Count;
    return name == "id" ? FindById : nullptr;
}

} // namespace sablot
