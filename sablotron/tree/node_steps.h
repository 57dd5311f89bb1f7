// Steps from sets of nodes, see StepsAsCalls.
#pragma once

#include <libxml/xpath.h>

#include <string>
#include <string_view>
#include <unordered_map>

namespace sablot {

// Puts in place of the node set on the stack what a step finds from it, in document order, at a cost that is linear in
// the nodes that are looked at, counted as steps of the evaluation.
void TakeStep(xmlXPathParserContext* parser, std::string_view step);

// Takes the arguments of a call with COUNT_BEGIN for the number of nodes that the step in it finds. What long lists of
// siblings that do not change in a run come to is kept, by step and by node.
using SiblingCounts = std::unordered_map<const xmlNode*, int>;
void CountSiblings(xmlXPathParserContext* parser, int argumentCount,
                   std::unordered_map<std::string, SiblingCounts>& known);

} // namespace sablot
