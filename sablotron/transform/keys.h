// The function key() of XSLT, and what groups by it.
#pragma once

#include <libxml/xpath.h>

namespace sablot {

// key(), which looks a number up as text.
void FindByKey(xmlXPathParserContext* parser, int argumentCount);

// key(name, value)[1], which Muenchian grouping asks for with each node of a group.
void FindFirstByKey(xmlXPathParserContext* parser, int argumentCount);

// Whether generate-id() is the same for two sets: of their first nodes.
void HaveSameId(xmlXPathParserContext* parser, int argumentCount);

} // namespace sablot
