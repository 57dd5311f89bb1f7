// xsl:number where libxslt's takes long, leaves something out or writes another number.
#pragma once

#include <libxslt/xsltInternals.h>

namespace sablot {

// What is done in place of libxslt's instruction; false when that is to run.
bool WriteNumber(xsltTransformContext* context, xmlNode* node, const xsltElemPreComp* instruction);

} // namespace sablot
