// What libxml2 keeps for the whole process, set for the length of one call and put back.
#pragma once

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <utility>

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

// Sends the errors to these handlers; nothing reaches standard error. Looks up once for each thread where libxml2
// keeps them: a small edit takes little longer than that.
class ErrorScope {
public:
    explicit ErrorScope(const ErrorHandlers& handlers = {}) {
        if (handlers.structured != nullptr) {
            const StructuredPlaces& places = StructuredOfThread();
            structured_ = {places.handler, handlers.structured};
            structuredData_ = {places.data, handlers.data};
        }
        if (handlers.generic != nullptr) {
            generic_ = {&xmlGenericError, handlers.generic};
            genericData_ = {&xmlGenericErrorContext, handlers.data};
        }
    }
    ErrorScope(const ErrorScope&) = delete;
    ErrorScope& operator=(const ErrorScope&) = delete;
    ~ErrorScope() {
        structured_.Restore();
        structuredData_.Restore();
        generic_.Restore();
        genericData_.Restore();
    }

private:
    // Where libxml2 keeps a thread's handler, which stays there.
    struct StructuredPlaces {
        xmlStructuredErrorFunc* handler = nullptr;
        void** data = nullptr;
    };
    static const StructuredPlaces& StructuredOfThread() {
        static thread_local StructuredPlaces places;
        if (places.handler == nullptr) places = {&xmlStructuredError, &xmlStructuredErrorContext};
        return places;
    }

    // A value of libxml2's, and what it was.
    template <typename Value>
    struct Kept {
        Value* place = nullptr;
        Value before = nullptr;

        Kept() = default;
        Kept(Value* where, Value value) : place(where), before(std::exchange(*where, value)) {}
        void Restore() {
            if (place != nullptr) *place = before;
        }
    };

    Kept<xmlStructuredErrorFunc> structured_;
    Kept<void*> structuredData_;
    Kept<void (*)(void*, const char*, ...)> generic_;
    Kept<void*> genericData_;
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
