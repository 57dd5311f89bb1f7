// A finished result tree as text and as events.
#pragma once

#include "sablotron/transform/processor.h"

#include <libxslt/xsltInternals.h>

#include <optional>
#include <string>

namespace sablot {

// The encoding that a run writes: the processor's, else that of xsl:output, else UTF-8.
std::string OutputEncoding(const SablotProcessorRecord& processor, xsltStylesheet* stylesheet);

// The result as xsl:output says. The XML declaration always names the encoding and is followed directly by the content,
// with indent="yes" by a line break; xml and html end with a line break. Null when it cannot be written: `failure` says
// why. May add the META element of html to the tree and split its CDATA sections.
std::optional<std::string> ResultText(xmlDoc* result, xsltStylesheet* stylesheet, const std::string& encoding,
                                      std::string& failure);

// The result as events for the processor's output handler, for as long as it has that handler.
void SendEvents(const xmlDoc* result, bool isText, SablotHandle processor);

} // namespace sablot
