// Steps from sets of nodes, see StepsAsCalls.
#pragma once

#include <libxml/xpath.h>

#include <string_view>

namespace sablot {

// Puts in place of the node set on the stack what a step finds from it, in document order, at a cost that is linear in
// the nodes that are looked at, counted as steps of the evaluation.
void TakeStep(xmlXPathParserContext* parser, std::string_view step);

} // namespace sablot
