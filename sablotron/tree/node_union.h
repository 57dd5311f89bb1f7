// The union of node sets as a function of XPath, see UnionsAsCalls, and id() in document order.
#pragma once

#include <libxml/xpath.h>

#include <string_view>

namespace sablot {

// One of these functions; null for another name.
xmlXPathFunction FindNodeFunction(std::string_view name);

} // namespace sablot
