// Mending the order of selected nodes.
#include "sablotron/transform/node_order.h"

#include "sablotron/transform/modules.h"
#include "sablotron/tree/order_sort.h"

#include <libxslt/xsltutils.h>

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

namespace sablot {
namespace {

char orderMark; // its address marks the sort elements that are added

size_t DepthOf(const xmlNode* node) {
    size_t depth = 0;
    while ((node = node->parent) != nullptr) ++depth;
    return depth;
}

// The innermost node around both; null for nodes of different trees.
xmlNode* Around(xmlNode* left, xmlNode* right) {
    size_t leftDepth = DepthOf(left);
    size_t rightDepth = DepthOf(right);
    for (; leftDepth > rightDepth; --leftDepth) left = left->parent;
    for (; rightDepth > leftDepth; --rightDepth) right = right->parent;
    while (left != right) {
        left = left->parent;
        right = right->parent;
    }
    return left;
}

bool IsElementOrAttribute(const xmlNode* node) { return IsElement(node) || IsAttribute(node); }

} // namespace

bool MayConfuseOrder(std::string_view expression) {
    const auto has = [expression](std::string_view text) { return expression.find(text) != std::string_view::npos; };
    // Siblings are in order, and so are elements with their attributes.
    const bool isOfOneParent = !has("/") && !has("::") && !has("$") && !has("key") && !has("id") && !has(":");
    return !isOfOneParent && (has("|") || has("(") || has("$") || has("//."));
}

void AddOrder(xmlNode* instruction) {
    int sorts = 1;
    for (const xmlNode* child = instruction->children; child != nullptr; child = child->next)
        if (IsElement(child) && IsXslt(child) && View(child->name) == "sort") ++sorts;
    if (sorts > XSLT_MAX_SORT) return;
    xmlNode* sort = Checked(xmlNewDocNode(instruction->doc, instruction->ns, Chars("sort"), nullptr), "");
    if (sort->name == nullptr) xmlFreeNode(std::exchange(sort, nullptr));
    if (sort == nullptr) throw std::bad_alloc();
    sort->line = instruction->line;
    sort->_private = &orderMark;
    LinkBefore(instruction, sort, instruction->children);
}

void SortNodes(xsltTransformContext* context, xmlNode** sorts, int count) {
    if (sorts[0]->_private == &orderMark) {
        MendOrder(context->nodeList);
        ++sorts;
        --count;
    }
    if (count > 0) xsltDefaultSortFunction(context, sorts, count);
}

bool MendOrder(xmlNodeSet* nodes) {
    if (nodes == nullptr || nodes->nodeNr < 2) return false;
    xmlNode** const begin = nodes->nodeTab;
    xmlNode** const end = begin + nodes->nodeNr;
    if (std::any_of(begin, end, IsDeclaration)) return false;
    const auto hasSameParent = [begin](const xmlNode* node) { return node->parent == begin[0]->parent; };
    const bool isOfOneKind =
        std::all_of(begin, end, IsElementOrAttribute) || std::none_of(begin, end, IsElementOrAttribute);
    if (isOfOneKind || std::all_of(begin, end, hasSameParent)) return false;
    xmlNode* scope = *begin;
    for (xmlNode** node = begin; node != end && scope != nullptr; ++node) scope = Around(scope, *node);
    if (scope == nullptr) return false;
    std::vector<xmlNode*> sorted(begin, end);
    SortInTree(sorted, scope);
    std::copy(sorted.begin(), sorted.end(), begin);
    return true;
}

} // namespace sablot
