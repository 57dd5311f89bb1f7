// Parser callbacks: each turns what Expat reports into an event of the reader.
#pragma once

#include "reader/xml_reader.h"

#include <expat.h>

namespace kova {

// Installs the callbacks on the reader's main parser, or clears them while `handlersOff` is set. The reader object
// reaches them as the parser's user data.
void InstallReaderCallbacks(const XmlReaderData& reader);

// Raises Default; installed by the reader's properties only.
void DefaultCallback(void* userData, const XML_Char* bytes, int length);

} // namespace kova
