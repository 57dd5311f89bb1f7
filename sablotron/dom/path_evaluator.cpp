// Walking location paths.
#include "sablotron/dom/path_evaluator.h"

#include "sablotron/tree/order_sort.h"
#include "sablotron/tree/tree.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace sablot {

namespace {

xmlNode* ElementOf(xmlNode* node) { return IsAttribute(node) ? node->parent : node; }

xmlNode* FirstChild(const xmlNode* node) { return IsParent(node) ? node->children : nullptr; }

// What follows a node and all that is below it, up to the end of the subtree of `top`.
xmlNode* NextAfter(const xmlNode* node, const xmlNode* top) {
    while (node != top && node->next == nullptr) node = node->parent;
    return node != top ? node->next : nullptr;
}

xmlNode* NextInTree(const xmlNode* node, const xmlNode* top) {
    xmlNode* child = FirstChild(node);
    return child != nullptr ? child : NextAfter(node, top);
}

bool IsBelow(const xmlNode* node, const xmlNode* ancestor) {
    while (node != nullptr && node != ancestor) node = node->parent;
    return node != nullptr;
}

// A node test with its prefix resolved.
class Matcher {
public:
    Matcher(const NodeTest& test, Axis axis, xmlXPathContext& context)
        : test_(test), principal_(axis == Axis::ATTRIBUTE ? XML_ATTRIBUTE_NODE : XML_ELEMENT_NODE) {
        if (!test.prefix.empty()) uri_ = xmlXPathNsLookup(&context, Chars(test.prefix.c_str()));
    }

    // Whether the prefix, if there is one, is bound.
    bool IsBound() const { return test_.prefix.empty() || uri_ != nullptr; }

    bool Matches(const xmlNode* node) const {
        switch (test_.kind) {
        case NodeTest::NAME: return node->type == principal_ && HasName(node) && IsInNamespace(node);
        case NodeTest::ANY_NAME: return node->type == principal_;
        case NodeTest::ANY_NAME_OF: return node->type == principal_ && IsInNamespace(node);
        case NodeTest::NODE: return true;
        case NodeTest::TEXT: return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE;
        case NodeTest::COMMENT: return node->type == XML_COMMENT_NODE;
        case NodeTest::INSTRUCTION:
            return node->type == XML_PI_NODE && (test_.name.empty() || View(node->name) == test_.name);
        }
        return false;
    }

private:
    bool HasName(const xmlNode* node) const {
        const char* name = Chars(node->name);
        return *name == test_.name.front() && test_.name == name;
    }
    bool IsInNamespace(const xmlNode* node) const {
        if (uri_ == nullptr) return node->ns == nullptr || (IsAttribute(node) && node->ns->prefix == nullptr);
        return node->ns != nullptr && (node->ns->href == uri_ || xmlStrEqual(node->ns->href, uri_) != 0);
    }

    const NodeTest& test_;
    xmlElementType principal_;
    const xmlChar* uri_ = nullptr;
};

const xmlAttr* FindAttribute(const xmlNode* node, const Matcher& matcher) {
    if (!IsElement(node)) return nullptr;
    const xmlAttr* attribute = node->properties;
    while (attribute != nullptr && !matcher.Matches(AsNode(attribute))) attribute = attribute->next;
    return attribute;
}

bool HasValue(const xmlAttr* attribute, const std::string& value) {
    const xmlNode* text = attribute->children;
    if (text == nullptr) return value.empty();
    if (text->next == nullptr && text->type == XML_TEXT_NODE) return View(text->content) == value;
    xmlChar* whole = xmlNodeGetContent(AsNode(attribute));
    const bool equal = View(whole) == value;
    xmlFree(whole);
    return equal;
}

} // namespace

// Takes the nodes of a step that pass its test and its predicates, none of which needs positions.
class PathEvaluator::Collector {
public:
    Collector(PathEvaluator& evaluator, const Step& step, const Matcher& matcher, Nodes& nodes)
        : evaluator_(evaluator), step_(step), matcher_(matcher), nodes_(nodes) {}

    // Whether the node was taken.
    bool Visit(xmlNode* node) {
        ++visited_;
        if (failed_ || !matcher_.Matches(node)) return false;
        for (const Predicate& predicate : step_.predicates) {
            bool accepts = false;
            failed_ = !evaluator_.Accepts(predicate, node, 1, 1, accepts);
            if (failed_ || !accepts) return false;
        }
        nodes_.push_back(node);
        return true;
    }
    bool Finish() const { return !failed_ && evaluator_.Count(visited_); }

private:
    PathEvaluator& evaluator_;
    const Step& step_;
    const Matcher& matcher_;
    Nodes& nodes_;
    size_t visited_ = 0;
    bool failed_ = false;
};

namespace {

// The last node below the node; the node itself when it has no children.
xmlNode* LastBelow(xmlNode* node) {
    while (FirstChild(node) != nullptr) node = node->last;
    return node;
}

// The nodes that end before the node begins, last things first.
template <typename Visit>
void ForEachBefore(xmlNode* node, Visit visit) {
    for (xmlNode* at = ElementOf(node); at != nullptr; at = at->parent)
        for (xmlNode* sibling = at->prev; sibling != nullptr; sibling = sibling->prev)
            for (xmlNode* last = LastBelow(sibling);;) {
                if (!visit(last)) return;
                if (last == sibling) break;
                last = last->prev != nullptr ? LastBelow(last->prev) : last->parent;
            }
}

// The nodes of an axis in its own order, which is the reverse of document order on axes that go back. `visit` answers
// whether to go on.
template <typename Visit>
void ForEach(Axis axis, xmlNode* node, Visit visit) {
    switch (axis) {
    case Axis::CHILD:
        for (xmlNode* child = FirstChild(node); child != nullptr && visit(child); child = child->next) {
        }
        return;
    case Axis::DESCENDANT_OR_SELF:
    case Axis::DESCENDANT:
        if (axis == Axis::DESCENDANT_OR_SELF && !visit(node)) return;
        for (xmlNode* next = NextInTree(node, node); next != nullptr && visit(next); next = NextInTree(next, node)) {
        }
        return;
    case Axis::ATTRIBUTE:
        if (!IsElement(node)) return;
        for (xmlAttr* at = node->properties; at != nullptr && visit(AsNode(at)); at = at->next) {
        }
        return;
    case Axis::SELF: visit(node); return;
    case Axis::PARENT:
        if (node->parent != nullptr) visit(node->parent);
        return;
    case Axis::ANCESTOR_OR_SELF:
    case Axis::ANCESTOR:
        for (xmlNode* at = axis == Axis::ANCESTOR ? node->parent : node; at != nullptr && visit(at); at = at->parent) {
        }
        return;
    case Axis::FOLLOWING_SIBLING:
        if (IsAttribute(node)) return;
        for (xmlNode* next = node->next; next != nullptr && visit(next); next = next->next) {
        }
        return;
    case Axis::PRECEDING_SIBLING:
        if (IsAttribute(node)) return;
        for (xmlNode* previous = node->prev; previous != nullptr && visit(previous); previous = previous->prev) {
        }
        return;
    case Axis::FOLLOWING:
        for (xmlNode* next = NextAfter(ElementOf(node), nullptr); next != nullptr && visit(next);
             next = NextInTree(next, nullptr)) {
        }
        return;
    case Axis::PRECEDING: ForEachBefore(node, visit); return;
    }
}

bool GoesBack(Axis axis) {
    return axis == Axis::ANCESTOR || axis == Axis::ANCESTOR_OR_SELF || axis == Axis::PRECEDING
           || axis == Axis::PRECEDING_SIBLING;
}

} // namespace

bool PathEvaluator::Evaluate(const PathUnion& paths, xmlNode* node, Nodes& result) {
    Set set;
    if (!EvaluateUnion(paths, node, set)) return false;
    result = std::move(set.nodes);
    return true;
}

bool PathEvaluator::Count(size_t visited) {
    context_.opCount += visited;
    return context_.opCount <= context_.opLimit;
}

bool PathEvaluator::EvaluateUnion(const PathUnion& paths, xmlNode* node, Set& result) {
    for (const Path& path : paths.paths) {
        Set set;
        if (!EvaluatePath(path, node, set)) return false;
        if (result.scope == nullptr) {
            result = std::move(set);
            continue;
        }
        result.nodes.insert(result.nodes.end(), set.nodes.begin(), set.nodes.end());
        result.isFlat = false;
        if (result.scope != set.scope) result.scope = root_;
    }
    if (paths.paths.size() > 1) SortInTree(result.nodes, result.scope);
    return true;
}

bool PathEvaluator::EvaluatePath(const Path& path, xmlNode* node, Set& result) {
    if (!path.start.empty()) {
        if (!EvaluateUnion(path.start.front(), node, result) || !Filter(path.startPredicates, result.nodes))
            return false;
    } else {
        xmlNode* start = path.isAbsolute ? root_ : node;
        result = {{start}, true, ElementOf(start)};
    }
    return std::all_of(path.steps.begin(), path.steps.end(),
                       [&](const Step& step) { return result.nodes.empty() || Apply(step, result); });
}

// Where the nodes of a step may be.
void PathEvaluator::Widen(Axis axis, Set& set) const {
    switch (axis) {
    case Axis::PARENT:
    case Axis::FOLLOWING_SIBLING:
    case Axis::PRECEDING_SIBLING:
        if (set.scope->parent != nullptr) set.scope = set.scope->parent;
        break;
    case Axis::ANCESTOR:
    case Axis::ANCESTOR_OR_SELF:
    case Axis::FOLLOWING:
    case Axis::PRECEDING: set.scope = root_; break;
    default: break;
    }
}

bool PathEvaluator::Apply(const Step& step, Set& set) {
    Nodes result;
    const bool isSingle = set.nodes.size() == 1;
    const bool wasFlat = set.isFlat;
    set.isFlat = step.axis == Axis::ATTRIBUTE || ((step.axis == Axis::SELF || step.axis == Axis::CHILD) && wasFlat)
                 || (isSingle && (step.axis == Axis::FOLLOWING_SIBLING || step.axis == Axis::PRECEDING_SIBLING));
    if (step.IsPositional()) {
        if (!ApplyToEach(step, set, result)) return false;
    } else {
        const Matcher matcher(step.test, step.axis, context_);
        if (!matcher.IsBound()) return false;
        Collector collector(*this, step, matcher, result);
        ApplyToAll(step, set, collector);
        if (!collector.Finish()) return false;
    }
    Widen(step.axis, set);
    if (isSingle && GoesBack(step.axis) && (step.axis != Axis::PRECEDING || step.IsPositional()))
        std::reverse(result.begin(), result.end());
    const bool inOrder = isSingle || step.axis == Axis::ATTRIBUTE || step.axis == Axis::SELF
                         || (step.axis == Axis::CHILD && wasFlat)
                         || (!step.IsPositional()
                             && (step.axis == Axis::DESCENDANT || step.axis == Axis::DESCENDANT_OR_SELF
                                 || step.axis == Axis::FOLLOWING || step.axis == Axis::PRECEDING));
    if (!inOrder) SortInTree(result, set.scope);
    set.isFlat = set.isFlat || result.size() == 1;
    set.nodes = std::move(result);
    return true;
}

// Every node by itself, since the positions of what it finds matter.
bool PathEvaluator::ApplyToEach(const Step& step, const Set& set, Nodes& result) {
    const Matcher matcher(step.test, step.axis, context_);
    if (!matcher.IsBound()) return false;
    const Predicate& first = step.predicates.front();
    const size_t wanted = first.kind == Predicate::POSITION ? static_cast<size_t>(first.position) : SIZE_MAX;
    Nodes found;
    for (xmlNode* node : set.nodes) {
        found.clear();
        size_t visited = 1;
        ForEach(step.axis, node, [&](xmlNode* candidate) {
            ++visited;
            if (matcher.Matches(candidate)) found.push_back(candidate);
            return found.size() < wanted;
        });
        if (!Count(visited) || !Filter(step.predicates, found)) return false;
        result.insert(result.end(), found.begin(), found.end());
    }
    return true;
}

// Nodes of the set that stand below others have nothing to add, but for attributes, which are not below. Finds out
// whether what is taken is flat.
void PathEvaluator::CollectDescendants(bool orSelf, Set& set, Collector& collector) {
    const Nodes& nodes = set.nodes;
    set.isFlat = true;
    for (size_t i = 0; i < nodes.size();) {
        xmlNode* top = nodes[i++];
        constexpr size_t NONE = SIZE_MAX;
        size_t depth = 0;
        size_t takenDepth = NONE; // of the node around this one that was taken
        for (xmlNode* node = top;;) {
            if (node != top && i < nodes.size() && nodes[i] == node) ++i;
            if (takenDepth != NONE && depth <= takenDepth) takenDepth = NONE;
            if ((orSelf || node != top) && collector.Visit(node)) {
                set.isFlat = set.isFlat && takenDepth == NONE;
                if (takenDepth == NONE) takenDepth = depth;
            }
            for (; i < nodes.size() && IsAttribute(nodes[i]) && nodes[i]->parent == node; ++i)
                if (orSelf) collector.Visit(nodes[i]);
            if (xmlNode* child = FirstChild(node); child != nullptr) {
                node = child;
                ++depth;
                continue;
            }
            for (; node != top && node->next == nullptr; --depth) node = node->parent;
            if (node == top) break;
            node = node->next;
        }
    }
}

// All nodes at once: no node is looked at twice.
void PathEvaluator::ApplyToAll(const Step& step, Set& set, Collector& collector) {
    const Nodes& nodes = set.nodes;
    const auto collect = [&collector](xmlNode* node) {
        collector.Visit(node);
        return true;
    };
    std::unordered_set<const xmlNode*> seen;
    const auto collectUnseen = [&](xmlNode* node) {
        if (!seen.insert(node).second) return false;
        collector.Visit(node);
        return true;
    };
    switch (step.axis) {
    case Axis::CHILD:
    case Axis::ATTRIBUTE:
    case Axis::SELF:
    case Axis::PARENT:
        for (xmlNode* node : nodes) ForEach(step.axis, node, collect);
        break;
    case Axis::DESCENDANT:
    case Axis::DESCENDANT_OR_SELF: CollectDescendants(step.axis == Axis::DESCENDANT_OR_SELF, set, collector); break;
    case Axis::ANCESTOR:
    case Axis::ANCESTOR_OR_SELF:
    case Axis::FOLLOWING_SIBLING:
        if (nodes.size() == 1)
            ForEach(step.axis, nodes.front(), collect);
        else
            for (xmlNode* node : nodes) ForEach(step.axis, node, collectUnseen);
        break;
    case Axis::PRECEDING_SIBLING:
        if (nodes.size() == 1)
            ForEach(step.axis, nodes.front(), collect);
        else
            for (auto node = nodes.rbegin(); node != nodes.rend(); ++node) ForEach(step.axis, *node, collectUnseen);
        break;
    case Axis::FOLLOWING: {
        // All that follows the node that ends first.
        xmlNode* first = ElementOf(nodes.front());
        for (size_t i = 1; i < nodes.size() && IsBelow(ElementOf(nodes[i]), first); ++i) first = ElementOf(nodes[i]);
        ForEach(step.axis, first, collect);
        break;
    }
    case Axis::PRECEDING: {
        // All before the last node but what is around it.
        const xmlNode* last = ElementOf(nodes.back());
        std::unordered_set<const xmlNode*> around;
        for (const xmlNode* node = last->parent; node != nullptr; node = node->parent) around.insert(node);
        for (xmlNode* node = root_; node != last; node = NextInTree(node, nullptr))
            if (!around.contains(node)) collector.Visit(node);
        break;
    }
    }
}

// Keeps the nodes, given in the order in which they are counted, that pass all predicates.
bool PathEvaluator::Filter(const std::vector<Predicate>& predicates, Nodes& nodes) {
    for (const Predicate& predicate : predicates) {
        const size_t size = nodes.size();
        size_t kept = 0;
        for (size_t i = 0; i < size; ++i) {
            bool accepts = false;
            if (!Accepts(predicate, nodes[i], i + 1, size, accepts)) return false;
            if (accepts) nodes[kept++] = nodes[i];
        }
        nodes.resize(kept);
        if (!Count(size)) return false;
    }
    return true;
}

bool PathEvaluator::Accepts(const Predicate& predicate, xmlNode* node, size_t position, size_t size, bool& accepts) {
    switch (predicate.kind) {
    case Predicate::POSITION: accepts = position == static_cast<size_t>(predicate.position); return true;
    case Predicate::LAST: accepts = position == size; return true;
    case Predicate::HAS_ATTRIBUTE:
    case Predicate::ATTRIBUTE_EQUALS: {
        const Matcher matcher(predicate.attribute, Axis::ATTRIBUTE, context_);
        if (!matcher.IsBound()) return false;
        const xmlAttr* attribute = FindAttribute(node, matcher);
        accepts = attribute != nullptr
                  && (predicate.kind == Predicate::HAS_ATTRIBUTE || HasValue(attribute, predicate.value));
        return true;
    }
    case Predicate::EXPRESSION: break;
    }
    context_.node = node;
    context_.contextSize = static_cast<int>(size);
    context_.proximityPosition = static_cast<int>(position);
    const XPathPointer<xmlXPathObject> value(xmlXPathCompiledEval(predicate.compiled.get(), &context_));
    if (!value) return false;
    context_.proximityPosition = static_cast<int>(position);
    accepts = xmlXPathEvalPredicate(&context_, value.get()) != 0;
    return true;
}

} // namespace sablot
