// Class record of XmlXsltHandler, defined in registration/, and its events.
#pragma once

#include "glue/records.h"

#include <cstddef>

namespace kova {

extern ClassDefinition xmlXsltHandlerClass;

// The events of XmlXsltHandler, in the order of their records.
enum class XsltEvent : size_t {
    START_DOCUMENT,
    START_ELEMENT,
    END_ELEMENT,
    START_NAMESPACE,
    END_NAMESPACE,
    COMMENT,
    PROCESSING_INSTRUCTION,
    CHARACTERS,
    END_DOCUMENT,
    COUNT
};

extern EventDefinition xmlXsltHandlerEvents[static_cast<size_t>(XsltEvent::COUNT)];

inline const EventDefinition& EventRecord(XsltEvent event) { return xmlXsltHandlerEvents[static_cast<size_t>(event)]; }

} // namespace kova
