// Class records of the event reader's classes. The records themselves stand in registration/, which includes this
// header and the member headers of each folder; nothing below registration/ includes one of its headers.
#pragma once

#include "glue/records.h"

#include <cstddef>

namespace kova {

extern ClassDefinition xmlReaderClass;
extern ClassDefinition xmlReaderExceptionClass;
extern ClassDefinition xmlAttributeListClass;
extern ClassDefinition xmlContentModelClass;

// The events of XmlReader, in the order of their records.
enum class ReaderEvent : size_t {
    START_DOCUMENT,
    END_DOCUMENT,
    START_PREFIX_MAPPING,
    END_PREFIX_MAPPING,
    START_ELEMENT,
    END_ELEMENT,
    CHARACTERS,
    PROCESSING_INSTRUCTION,
    COMMENT,
    START_CDATA,
    END_CDATA,
    START_DOCTYPE_DECL,
    END_DOCTYPE_DECL,
    ENTITY_DECL,
    NOTATION_DECL,
    ELEMENT_DECL,
    ATTLIST_DECL,
    XML_DECL,
    NOT_STANDALONE,
    EXTERNAL_ENTITY_REF,
    SKIPPED_ENTITY,
    DEFAULT,
    COUNT
};

extern EventDefinition xmlReaderEvents[static_cast<size_t>(ReaderEvent::COUNT)];

inline const EventDefinition& EventRecord(ReaderEvent event) { return xmlReaderEvents[static_cast<size_t>(event)]; }

} // namespace kova
