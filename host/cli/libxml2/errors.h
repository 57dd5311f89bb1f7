// Collects what libxml2 reports while an object of this type lives, instead of letting it print.
#pragma once

#include "host/cli/libxml2/input.h"
#include "host/syntax/diagnostic.h"

#include <libxml/xmlerror.h>

#include <string>
#include <vector>

namespace host::xml {

class ErrorCollector {
public:
    // Messages about the input get its name, and the line of its text that they mean.
    explicit ErrorCollector(const Input& input);
    ~ErrorCollector();
    ErrorCollector(const ErrorCollector&) = delete;
    ErrorCollector& operator=(const ErrorCollector&) = delete;

    // Adds a finding about the input; without a column (0) it means the line as a whole.
    void Add(Severity severity, int line, int column, std::string message);

    std::vector<Diagnostic> found;
    bool validates = false; // whether what is not valid by the document type is an error

private:
    static void Collect(void* collector, xmlErrorPtr error);

    const Input& input_;
};

} // namespace host::xml
