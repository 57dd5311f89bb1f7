// The tables of keys.
#pragma once

#include <libxslt/xsltInternals.h>

namespace sablot {

// Enters the nodes of a document by all keys, unless that was done, at a cost that is linear in them: libxslt compares
// each with all that it has entered by the same value. Left to it are stylesheets with keys in patterns, for which it
// marks the nodes, and fragments.
void FillKeyTables(xsltTransformContext* context, xmlDoc* document);

} // namespace sablot
