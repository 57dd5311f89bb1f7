// Whether documents are valid: by their document type, XML Schema or RELAX NG.
#pragma once

#include "host/cli/libxml2/input.h"
#include "host/syntax/diagnostic.h"

#include <memory>
#include <string>
#include <vector>

namespace host::xml {

struct Rules {
    bool ownDocumentType = false; // what the document's own DOCTYPE names, read from local files
    Input dtd;                    // files with their names; without a name none
    Input schema;
    Input relaxNg;
};

class Validator {
public:
    // Reads the rules. Throws TextError when they are wrong. Nothing is fetched from a network.
    explicit Validator(const Rules& rules);
    ~Validator();
    Validator(const Validator&) = delete;
    Validator& operator=(const Validator&) = delete;

    // What is wrong with a document, errors and warnings; of one that is not well-formed the first fault.
    std::vector<Diagnostic> Check(const Input& input) const;

private:
    struct Compiled;
    std::unique_ptr<Compiled> compiled_;
};

} // namespace host::xml
