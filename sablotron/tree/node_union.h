// The union of node sets as a function of XPath, see UnionsAsCalls, and id() in document order.
#pragma once

#include <libxml/xpath.h>

namespace sablot {

void RegisterNodeFunctions(xmlXPathContext* context);

} // namespace sablot
