// The evaluator of location paths over live trees. Results come in document order at a cost that is linear in the
// nodes that are looked at: libxml2 merges and sorts node sets by comparing each with each, stops its streaming form at
// 10,000 levels, and confuses the order of text and elements.
#pragma once

#include "sablotron/dom/location_path.h"

#include <vector>

namespace sablot {

using Nodes = std::vector<xmlNode*>;

class PathEvaluator {
public:
    // `context` evaluates predicates that are expressions; its operations are counted and limited as if it had
    // evaluated all. `root` is the root node of the tree. Prefixes are bound to the context's namespaces.
    PathEvaluator(xmlXPathContext& context, xmlNode* root) : context_(context), root_(root) {}

    // The nodes in document order. False when a predicate fails or the limit is reached.
    bool Evaluate(const PathUnion& paths, xmlNode* node, Nodes& result);

private:
    // A set of nodes in document order without duplicates.
    struct Set {
        Nodes nodes;
        bool isFlat = true;       // none stands in another
        xmlNode* scope = nullptr; // the subtree in which they are
    };
    class Collector;

    bool EvaluateUnion(const PathUnion& paths, xmlNode* node, Set& result);
    bool EvaluatePath(const Path& path, xmlNode* node, Set& result);
    bool Apply(const Step& step, Set& set);
    bool ApplyToEach(const Step& step, const Set& set, Nodes& result);
    void ApplyToAll(const Step& step, Set& set, Collector& collector);
    static void CollectDescendants(bool orSelf, Set& set, Collector& collector);
    bool Filter(const std::vector<Predicate>& predicates, Nodes& nodes);
    bool Accepts(const Predicate& predicate, xmlNode* node, size_t position, size_t size, bool& accepts);
    bool Count(size_t visited);
    void Widen(Axis axis, Set& set) const;

    xmlXPathContext& context_;
    xmlNode* root_;
};

} // namespace sablot
