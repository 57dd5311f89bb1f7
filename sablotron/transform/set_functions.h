// Functions of EXSLT that compare two sets of nodes.
#pragma once

#include <libxml/xpath.h>

#include <string_view>

namespace sablot {

// Runs one of them on sets of several nodes at a cost that is linear in them: libexslt looks through one for each node
// of the other. False for another function and other arguments, which stay on the stack.
bool RunSetFunction(xmlXPathParserContext* parser, int argumentCount, std::string_view name);

} // namespace sablot
