// The union of node sets as a function of XPath, see UnionsAsCalls.
#pragma once

#include <libxml/xpath.h>

namespace sablot {

void RegisterUnion(xmlXPathContext* context);

} // namespace sablot
