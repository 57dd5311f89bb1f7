// Parsing as the files of this folder share it.
#pragma once

#include "host/cli/libxml2/document.h"
#include "host/cli/libxml2/errors.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>

namespace host::xml {

struct FreeParser {
    void operator()(xmlParserCtxtPtr parser) const { xmlFreeParserCtxt(parser); }
};
using Parser = std::unique_ptr<xmlParserCtxt, FreeParser>;

Parser NewParser();

// Null for a text that is not well-formed. `options` are those of libxml2 besides what always holds.
Document ReadText(xmlParserCtxtPtr parser, const Input& input, int options);

// Decides for as long as it lives what becomes of references to other texts, and undoes that.
class EntityLoader {
public:
    explicit EntityLoader(xmlExternalEntityLoader loader) : previous_(xmlGetExternalEntityLoader()) {
        xmlSetExternalEntityLoader(loader);
    }
    ~EntityLoader() { xmlSetExternalEntityLoader(previous_); }
    EntityLoader(const EntityLoader&) = delete;
    EntityLoader& operator=(const EntityLoader&) = delete;

private:
    xmlExternalEntityLoader previous_;
};

} // namespace host::xml
