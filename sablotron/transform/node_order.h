// Document order in transformations: libxml2 takes a text, comment or processing instruction that follows an element
// for one that stands before what is in that element.
#pragma once

#include <libxslt/xsltInternals.h>

#include <string_view>

namespace sablot {

// Whether nodes that the expression selects may stand in each other's siblings, and be of both kinds.
bool MayConfuseOrder(std::string_view expression);

// Makes an xsl:for-each or xsl:apply-templates put what it selects in document order first, by an xsl:sort of its own.
void AddOrder(xmlNode* instruction);
// Sorts what an instruction has selected, by its xsl:sort elements, among which there may be that one.
void SortNodes(xsltTransformContext* context, xmlNode** sorts, int count);

// Puts nodes that libxml2 has sorted in document order. False when they were already, as far as is known.
bool MendOrder(xmlNodeSet* nodes);

} // namespace sablot
