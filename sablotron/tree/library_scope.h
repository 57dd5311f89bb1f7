// What libxml2 keeps for the whole process, set for the length of one call and put back.
#pragma once

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

namespace sablot {

inline void DropStructured(void*, xmlErrorPtr) {}
inline void DropGeneric(void*, const char*, ...) {}

// Who receives libxml2's errors that belong to no context. What has no handler is dropped.
struct ErrorHandlers {
    void* data = nullptr;
    xmlStructuredErrorFunc structured = DropStructured;
    xmlGenericErrorFunc generic = DropGeneric; // what libxml2 says beside its structured errors
};

// Sends the errors to these handlers; nothing reaches standard error.
class ErrorScope {
public:
    explicit ErrorScope(const ErrorHandlers& handlers = {})
        : structured_(xmlStructuredError),
          structuredData_(xmlStructuredErrorContext),
          generic_(xmlGenericError),
          genericData_(xmlGenericErrorContext) {
        xmlSetStructuredErrorFunc(handlers.data, handlers.structured);
        xmlSetGenericErrorFunc(handlers.data, handlers.generic);
    }
    ErrorScope(const ErrorScope&) = delete;
    ErrorScope& operator=(const ErrorScope&) = delete;
    ~ErrorScope() {
        xmlSetGenericErrorFunc(genericData_, generic_);
        xmlSetStructuredErrorFunc(structuredData_, structured_);
    }

private:
    xmlStructuredErrorFunc structured_;
    void* structuredData_;
    xmlGenericErrorFunc generic_;
    void* genericData_;
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
