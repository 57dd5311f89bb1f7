// What libxml2 keeps for the whole process, set for the length of one call and put back.
#pragma once

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

namespace sablot {

inline void DropStructured(void*, xmlErrorPtr) {}
inline void DropGeneric(void*, const char*, ...) {}

// Who receives libxml2's errors that belong to no context. A null leaves the handler that is there: looking one up and
// setting it takes a good part of the time of a small edit.
struct ErrorHandlers {
    void* data = nullptr;
    xmlStructuredErrorFunc structured = DropStructured;
    xmlGenericErrorFunc generic = nullptr; // of what expressions and stylesheets say beside their structured errors
};

// Sends the errors to these handlers; nothing reaches standard error.
class ErrorScope {
public:
    explicit ErrorScope(const ErrorHandlers& handlers = {}) {
        if (handlers.structured != nullptr) {
            structured_ = xmlStructuredError;
            structuredData_ = xmlStructuredErrorContext;
            setsStructured_ = true;
            xmlSetStructuredErrorFunc(handlers.data, handlers.structured);
        }
        if (handlers.generic != nullptr) {
            generic_ = xmlGenericError;
            genericData_ = xmlGenericErrorContext;
            xmlSetGenericErrorFunc(handlers.data, handlers.generic);
        }
    }
    ErrorScope(const ErrorScope&) = delete;
    ErrorScope& operator=(const ErrorScope&) = delete;
    ~ErrorScope() {
        if (generic_ != nullptr) xmlSetGenericErrorFunc(genericData_, generic_);
        if (setsStructured_) xmlSetStructuredErrorFunc(structuredData_, structured_);
    }

private:
    bool setsStructured_ = false; // there may be no handler before
    xmlStructuredErrorFunc structured_ = nullptr;
    void* structuredData_ = nullptr;
    xmlGenericErrorFunc generic_ = nullptr; // there always is one
    void* genericData_ = nullptr;
};

// Lets `loader` decide on every entity and document that libxml2 wants to read.
class LoaderScope {
public:
    explicit LoaderScope(xmlExternalEntityLoader loader) : loader_(xmlGetExternalEntityLoader()) {
        xmlSetExternalEntityLoader(loader);
    }
    LoaderScope(const LoaderScope&) = delete;
    LoaderScope& operator=(const LoaderScope&) = delete;
    ~LoaderScope() { xmlSetExternalEntityLoader(loader_); }

private:
    xmlExternalEntityLoader loader_;
};

} // namespace sablot
