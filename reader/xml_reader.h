// Instance data of XmlReader.
#pragma once

#include "glue/objects.h"
#include "reader/classes.h"

struct XML_ParserStruct; // Expat's parser

namespace kova {

struct XmlReaderData {
    KOVAObject owner;
    XML_ParserStruct* parser;       // the main parser; none until a Constructor has run
    XML_ParserStruct* entityParser; // takes what Parse is given while there is one
    KOVAString encoding;            // one reference held
    bool handlersOff;               // nothing sets it
    bool unused[3];                 // set by the class constructor and not read
    uint32_t reserved;
};
static_assert(sizeof(XmlReaderData) == 24 && offsetof(XmlReaderData, parser) == 4
              && offsetof(XmlReaderData, entityParser) == 8 && offsetof(XmlReaderData, encoding) == 12
              && offsetof(XmlReaderData, handlersOff) == 16 && offsetof(XmlReaderData, unused) == 17);

} // namespace kova
