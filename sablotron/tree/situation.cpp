#include "sablotron/tree/situation.h"

#include "sablotron/tree/document.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace sablot {

namespace {

// Each text from 11 on belongs to the name before it: programs know them so.
constexpr const char* EXCEPTION_TEXTS[] = {
    "OK",
    "list index out of bounds",
    "invalid size of string",
    "hierarchy request error",
    "node used in a document that did not create it",
    "invalid character in string",
    "data not allowed",
    "modification not allowed",
    "reference to a non-existent node",
    "functionality not supported",
    "attribute is inuse",
    "attribute is inuse",
    "invalid state",
    "syntax error",
    "invalid modification",
    "namespace error",
    "invalid access",
    "invalid node type",
    "query parsing error",
    "query execution error",
};
static_assert(std::size(EXCEPTION_TEXTS) == SDOM_NOT_OK + 1);

char* Copy(void* memory, std::string_view text) {
    auto* copy = static_cast<char*>(memory);
    if (copy == nullptr) return nullptr;
    if (!text.empty()) std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

} // namespace

const char* ExceptionText(SDOM_Exception code) { return EXCEPTION_TEXTS[code]; }

char* NewDeletableString(std::string_view text) { return Copy(::operator new(text.size() + 1), text); }

char* NewFreeableString(std::string_view text) { return Copy(std::malloc(text.size() + 1), text); }

} // namespace sablot

extern "C" {

int SablotCreateSituation(SablotSituation* situation) {
    *situation = new (std::nothrow) SablotSituationRecord;
    return *situation != nullptr ? 0 : 1;
}

int SablotDestroySituation(SablotSituation situation) {
    if (situation == nullptr) return 0;
    while (situation->documents != nullptr) sablot::DestroyDocument(situation->documents);
    delete situation;
    return 0;
}

void SablotFree(char* text) { std::free(text); }

SDOM_Exception SDOM_getExceptionCode(SablotSituation situation) {
    return situation != nullptr ? situation->exception : SDOM_NOT_OK;
}

char* SDOM_getExceptionMessage(SablotSituation situation) {
    try {
        return sablot::NewDeletableString(sablot::ExceptionText(SDOM_getExceptionCode(situation)));
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // extern "C"
