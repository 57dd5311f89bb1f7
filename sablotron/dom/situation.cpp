// Situations, empty documents, and the recorded exception.
#include "sablotron/dom/call.h"
#include "sablotron/tree/guarded.h"
#include "sablotron/tree/strings.h"

#include <algorithm>
#include <iterator>

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

} // namespace

} // namespace sablot

using namespace sablot;

extern "C" {

int SablotCreateSituation(SablotSituation* situation) {
    *situation = nullptr;
    return Guarded([&] {
        *situation = new SablotSituationRecord;
        return 0;
    });
}

int SablotDestroySituation(SablotSituation situation) {
    if (situation == nullptr) return 0;
    while (situation->documents != nullptr) DestroyDocument(situation->documents);
    delete situation;
    return 0;
}

int SablotCreateDocument(SablotSituation situation, SDOM_Document* document) {
    *document = nullptr;
    if (situation == nullptr) return CODE_OTHER;
    return Guarded([&] {
        *document = NewDocument(situation, NewTree(), Document::Origin::CREATED)->Handle();
        return 0;
    });
}

int SablotDestroyDocument(SablotSituation, SDOM_Document document) {
    if (Document* found = FindDocument(document)) DestroyDocument(found);
    return 0;
}

SDOM_Exception SDOM_getExceptionCode(SablotSituation situation) {
    return situation != nullptr ? situation->exception : SDOM_NOT_OK;
}

char* SDOM_getExceptionMessage(SablotSituation situation) {
    return SDOM_getMessageOfCode(SDOM_getExceptionCode(situation));
}

char* SDOM_getMessageOfCode(SDOM_Exception code) {
    char* text = nullptr;
    Guarded([&] {
        text = NewDeletableString(EXCEPTION_TEXTS[std::min<size_t>(code, SDOM_NOT_OK)]);
        return 0;
    });
    return text;
}

} // extern "C"
