// The functions of XSLT 1.0 (12) that queries know too: generate-id() and format-number().
#pragma once

#include <libxml/xpath.h>

namespace sablot {

void RegisterXsltFunctions(xmlXPathContext* context);

} // namespace sablot
