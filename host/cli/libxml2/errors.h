// Collects what libxml2 reports while an object of this type lives, instead of letting it print.
#pragma once

#include "host/cli/files.h"
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

    void Warn(int line, int column, std::string message);

    std::vector<Diagnostic> found;
    bool validates = false; // whether what is not valid by the document type is an error

private:
    static void Collect(void* collector, xmlErrorPtr error);
    void Add(Severity severity, std::string file, int line, int column, std::string message);

    const Input& input_;
};

// Text of libxml2.
inline const char* Text(const xmlChar* text) { return text != nullptr ? reinterpret_cast<const char*>(text) : ""; }
inline const xmlChar* Text(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

} // namespace host::xml
