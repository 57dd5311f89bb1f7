// Functions of XPath: the union of node sets, see UnionsAsCalls, count() with SORTED_CALL, id() in document order.
#pragma once

#include <libxml/xpath.h>

#include <string_view>

namespace sablot {

// One of these functions; null for another name.
xmlXPathFunction FindNodeFunction(std::string_view name);

} // namespace sablot
