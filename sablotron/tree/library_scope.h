// What libxml2 keeps for the whole process, set for the length of one call and put back.
#pragma once

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

namespace sablot {

// Sends libxml2's errors that belong to no context to `handler`; nothing reaches standard error. A null handler drops
// them.
class ErrorScope {
public:
    explicit ErrorScope(xmlStructuredErrorFunc handler = nullptr, void* data = nullptr)
        : handler_(xmlStructuredError), data_(xmlStructuredErrorContext) {
        xmlSetStructuredErrorFunc(
            data, handler != nullptr ? handler : [](void*, xmlErrorPtr) {});
    }
    ErrorScope(const ErrorScope&) = delete;
    ErrorScope& operator=(const ErrorScope&) = delete;
    ~ErrorScope() { xmlSetStructuredErrorFunc(data_, handler_); }

private:
    xmlStructuredErrorFunc handler_;
    void* data_;
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
