// Taking a step from all nodes of a set, none of which is met twice.
#include "sablotron/tree/node_steps.h"

#include "sablotron/tree/element_numbers.h"
#include "sablotron/tree/tree.h"
#include "sablotron/tree/xpath.h"
#include "sablotron/tree/xpath_rewrite.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <unordered_set>
#include <utility>

namespace sablot {
namespace {

// libxml2's own looks at what is around the context node at each end of a list of siblings.
xmlNode* NextPreceding(xmlXPathParserContext* parser, xmlNode* node) {
    if (node == nullptr) {
        node = parser->context->node;
        if (IsDeclaration(node)) node = AsNode(AsDeclaration(node)->next);
        if (IsAttribute(node)) node = node->parent;
        parser->ancestor = node->parent;
    }
    while (node->prev == nullptr) {
        node = node->parent;
        if (node == nullptr || node != parser->ancestor) return node;
        parser->ancestor = node->parent;
    }
    for (node = node->prev; IsParent(node) && node->last != nullptr;) node = node->last;
    return node;
}

struct Axis {
    std::string_view name;
    xmlNode* (*next)(xmlXPathParserContext*, xmlNode*);
    bool goesBack = false;
    bool needsOrder = false; // so that all that follows a node met before was met before, too
};
constexpr Axis AXES[] = {
    {"parent", xmlXPathNextParent},
    {"ancestor", xmlXPathNextAncestor, true},
    {"ancestor-or-self", xmlXPathNextAncestorOrSelf, true},
    {"descendant", xmlXPathNextDescendant, false, true},
    {"descendant-or-self", xmlXPathNextDescendantOrSelf, false, true},
    {"following", xmlXPathNextFollowing},
    {"following-sibling", xmlXPathNextFollowingSibling},
    {"preceding", NextPreceding, true, true},
    {"preceding-sibling", xmlXPathNextPrecedingSibling, true},
};

// A step as it is written: "axis::test", "axis::test[n]", "..", "//test", "//".
class Step {
public:
    Step(xmlXPathContext* context, std::string_view text) {
        std::string_view axis = "descendant-or-self";
        test_ = "node()";
        if (text == "..") {
            axis = "parent";
        } else if (text.starts_with("//")) {
            if (text.size() > 2) axis = "descendant", test_ = text.substr(2);
        } else {
            const size_t colons = std::min(text.find("::"), text.size());
            axis = text.substr(0, colons);
            test_ = text.substr(std::min(colons + 2, text.size()));
        }
        axis_ =
            std::find_if(std::begin(AXES), std::end(AXES), [axis](const Axis& known) { return known.name == axis; });
        if (const size_t bracket = test_.find('['); bracket != std::string_view::npos) {
            std::from_chars(test_.data() + bracket + 1, test_.data() + test_.size(), position_);
            test_ = test_.substr(0, bracket);
        }
        const size_t colon = test_.find(':');
        if (colon == std::string_view::npos) return;
        uri_ = xmlXPathNsLookup(context, Chars(std::string(test_.substr(0, colon)).c_str()));
        isBound_ = uri_ != nullptr;
        test_.remove_prefix(colon + 1);
    }

    // Whether it is one, as nobody else writes the mark.
    bool IsKnown() const { return axis_ != std::end(AXES); }
    const Axis& GetAxis() const { return *axis_; }
    bool IsBound() const { return isBound_; }
    const xmlChar* Uri() const { return uri_; }
    // The place among the nodes that match which one has to have; 0 for any.
    int Position() const { return position_; }

    bool Matches(const xmlNode* node) const {
        if (test_ == "node()") return !IsOfDocumentType(node);
        if (test_ == "text()") return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
        if (test_ == "comment()") return node->type == XML_COMMENT_NODE;
        if (!IsElement(node)) return false;
        if (test_ != "*" && test_ != View(node->name)) return false;
        if (uri_ == nullptr) return test_ == "*" || node->ns == nullptr;
        return node->ns != nullptr && View(node->ns->href) == View(uri_);
    }

private:
    static bool IsOfDocumentType(const xmlNode* node) {
        return node->type == XML_DTD_NODE || (node->type >= XML_ELEMENT_DECL && node->type <= XML_ENTITY_DECL);
    }

    const Axis* axis_;
    std::string_view test_;
    const xmlChar* uri_ = nullptr;
    bool isBound_ = true;
    int position_ = 0;
};

class Walker {
public:
    Walker(xmlXPathParserContext* parser, const Step& step, xmlNodeSet& found)
        : parser_(parser), step_(step), found_(found) {}

    // False when there is not enough memory, or too many steps.
    bool From(const xmlNodeSet& nodes) {
        isOne_ = nodes.nodeNr == 1;
        xmlNode* const before = parser_->context->node;
        bool isDone = true;
        for (int i = 0; isDone && i < nodes.nodeNr; ++i)
            isDone = From(nodes.nodeTab[step_.GetAxis().goesBack ? nodes.nodeNr - 1 - i : i]);
        parser_->context->node = before;
        return isDone;
    }

private:
    bool From(xmlNode* start) {
        xmlXPathContext& context = *parser_->context;
        context.node = start;
        const auto next = step_.GetAxis().next;
        int position = 0;
        for (xmlNode* node = next(parser_, nullptr); node != nullptr; node = next(parser_, node)) {
            if (++context.opCount > context.opLimit) return false;
            if (step_.Position() == 0 && !isOne_ && !met_.insert(node).second) break;
            if (!step_.Matches(node)) continue;
            if (step_.Position() == 0) {
                if (xmlXPathNodeSetAddUnique(&found_, node) < 0) return false;
            } else if (++position == step_.Position()) {
                return !met_.insert(node).second || xmlXPathNodeSetAddUnique(&found_, node) == 0;
            }
        }
        return true;
    }

    xmlXPathParserContext* parser_;
    const Step& step_;
    xmlNodeSet& found_;
    bool isOne_ = false;
    std::unordered_set<const xmlNode*> met_;
};

// Adds what the step finds from each sibling of a node.
void CountAll(const Step& step, const xmlNode* node, SiblingCounts& counts) {
    const bool goesBack = step.GetAxis().goesBack;
    int count = 0;
    const xmlNode* sibling = goesBack ? node->parent->children : node->parent->last;
    for (; sibling != nullptr; sibling = goesBack ? sibling->next : sibling->prev) {
        counts.emplace(sibling, count);
        count += step.Matches(sibling) ? 1 : 0;
    }
}

// Goes along the siblings of the context node; when they are many, looks it up.
int CountFrom(xmlXPathParserContext* parser, const Step& step, std::string_view text,
              std::unordered_map<std::string, SiblingCounts>& known) {
    constexpr int FEW = 32;
    xmlXPathContext& context = *parser->context;
    const auto next = step.GetAxis().next;
    int count = 0;
    int looked = 0;
    for (xmlNode* node = next(parser, nullptr); node != nullptr; node = next(parser, node)) {
        if (++looked == FEW && node->parent != nullptr && !IsFragment(AsNode(node->doc))) {
            SiblingCounts& counts = known[std::string(text) + '\n' + std::string(View(step.Uri()))];
            if (!counts.contains(context.node)) {
                const size_t before = counts.size();
                CountAll(step, node, counts);
                context.opCount += counts.size() - before;
            }
            return counts.at(context.node);
        }
        count += step.Matches(node) ? 1 : 0;
        if (++context.opCount > context.opLimit) break;
    }
    return count;
}

} // namespace

void CountSiblings(xmlXPathParserContext* parser, int argumentCount,
                   std::unordered_map<std::string, SiblingCounts>& known) {
    XPathPointer<xmlXPathObject> path(argumentCount == 2 ? valuePop(parser) : nullptr);
    const XPathPointer<xmlXPathObject> mark(valuePop(parser));
    const std::string_view text = View(mark->stringval).substr(SIBLINGS_MARK.size());
    const Step step(parser->context, text);
    if (!step.IsKnown() || !step.GetAxis().name.ends_with("-sibling")) return xmlXPathErr(parser, XPATH_INVALID_TYPE);
    if (!step.IsBound()) return xmlXPathErr(parser, XPATH_UNDEF_PREFIX_ERROR);
    if (path && path->type != XPATH_NODESET) return xmlXPathErr(parser, XPATH_INVALID_TYPE);
    const xmlNodeSet* nodes = path ? path->nodesetval : nullptr;
    int count = 0;
    if (path && (nodes == nullptr || nodes->nodeNr != 1)) {
        valuePush(parser, path.release());
        TakeStep(parser, text);
        if (parser->error != 0) return;
        path.reset(valuePop(parser));
        count = path->nodesetval->nodeNr;
    } else {
        xmlNode* const node = parser->context->node;
        if (path) parser->context->node = nodes->nodeTab[0];
        count = CountFrom(parser, step, text, known);
        parser->context->node = node;
        if (parser->context->opCount > parser->context->opLimit) return xmlXPathErr(parser, XPATH_OP_LIMIT_EXCEEDED);
    }
    valuePush(parser, xmlXPathNewFloat(count));
}

void TakeStep(xmlXPathParserContext* parser, std::string_view text) {
    const XPathPointer<xmlXPathObject> from(valuePop(parser));
    if (!from || from->type != XPATH_NODESET) return xmlXPathErr(parser, XPATH_INVALID_TYPE);
    const Step step(parser->context, text);
    if (!step.IsKnown()) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    if (!step.IsBound()) return xmlXPathErr(parser, XPATH_UNDEF_PREFIX_ERROR);
    XPathPointer<xmlXPathObject> result(xmlXPathNewNodeSet(nullptr));
    if (!result || result->nodesetval == nullptr) return xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    if (xmlNodeSet* nodes = from->nodesetval; nodes != nullptr) {
        if (step.GetAxis().needsOrder) SortNodes(nodes);
        if (!Walker(parser, step, *result->nodesetval).From(*nodes)) {
            const bool isLimit = parser->context->opCount > parser->context->opLimit;
            return xmlXPathErr(parser, isLimit ? XPATH_OP_LIMIT_EXCEEDED : XPATH_MEMORY_ERROR);
        }
    }
    xmlNodeSet* found = result->nodesetval;
    if (step.GetAxis().goesBack && found->nodeNr > 1) std::reverse(found->nodeTab, found->nodeTab + found->nodeNr);
    valuePush(parser, result.release());
    SortValue(parser);
}

} // namespace sablot
