// What every evaluation of an XPath expression shares: owners of libxml2's objects, and a bound.
#pragma once

#include <libxml/xpath.h>

#include <memory>

namespace sablot {

// libxml2's steps for one expression: some seconds. Tests, which have less time, set it.
inline unsigned long maxXPathOperations = 400'000'000;

struct XPathDeleter {
    void operator()(xmlXPathCompExpr* expression) const { xmlXPathFreeCompExpr(expression); }
    void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
    void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
    void operator()(xmlNodeSet* nodes) const { xmlXPathFreeNodeSet(nodes); }
};
template <typename Object>
using XPathPointer = std::unique_ptr<Object, XPathDeleter>;

} // namespace sablot
