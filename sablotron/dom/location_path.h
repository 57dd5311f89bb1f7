// Location paths (XPath 1.0, section 2) as data: what the evaluator of queries walks itself. Everything within
// predicates but the simplest ones stays text.
#pragma once

#include "sablotron/tree/xpath.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sablot {

enum class Axis {
    CHILD,
    DESCENDANT,
    DESCENDANT_OR_SELF,
    ATTRIBUTE,
    SELF,
    PARENT,
    ANCESTOR,
    ANCESTOR_OR_SELF,
    FOLLOWING,
    FOLLOWING_SIBLING,
    PRECEDING,
    PRECEDING_SIBLING
};

struct NodeTest {
    enum Kind { NAME, ANY_NAME, ANY_NAME_OF, NODE, TEXT, COMMENT, INSTRUCTION };
    Kind kind = NODE;
    std::string prefix; // of NAME (or empty) and ANY_NAME_OF
    std::string name;   // of NAME; of INSTRUCTION, empty for any
};

struct Predicate {
    enum Kind { POSITION, LAST, HAS_ATTRIBUTE, ATTRIBUTE_EQUALS, EXPRESSION };
    Kind kind = EXPRESSION;
    int position = 0;
    NodeTest attribute;
    std::string value;        // that the attribute has
    std::string text;         // of EXPRESSION
    bool isPositional = true; // whether the position of a node may matter
    XPathPointer<xmlXPathCompExpr> compiled = nullptr;
};

struct Step {
    Axis axis = Axis::CHILD;
    NodeTest test;
    std::vector<Predicate> predicates;

    bool IsPositional() const;
};

struct PathUnion;

struct Path {
    bool isAbsolute = false;
    std::vector<PathUnion> start; // one, in parentheses, or none
    std::vector<Predicate> startPredicates;
    std::vector<Step> steps;
};

struct PathUnion {
    std::vector<Path> paths;
};

// The paths of an expression that is known to parse. Nothing when it is more than a union of location paths, parts of
// which may stand in parentheses.
std::optional<PathUnion> ParsePaths(std::string_view expression);

} // namespace sablot
