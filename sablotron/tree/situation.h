// The situation: what the SDOM_ calls record, and what its documents share.
#pragma once

#include "sablotron/sdom.h"
#include "sablotron/tree/node_pool.h"

#include <string_view>

struct SablotSituationRecord {
    SDOM_Exception exception = SDOM_OK;
    SablotHandle processor = nullptr; // receives the messages of parses; set and cleared with the processor's life
    sablot::NodePool nodes;
    sablot::Document* documents = nullptr; // all that live
};

namespace sablot {

// Ends an SDOM_ call: keeps its code in the situation (which may be null) and returns it.
inline SDOM_Exception Record(SablotSituation situation, SDOM_Exception code) {
    if (situation != nullptr) situation->exception = code;
    return code;
}

// The text of an exception code.
const char* ExceptionText(SDOM_Exception code);

// A NUL-terminated copy that scalar operator delete releases (getters).
char* NewDeletableString(std::string_view text);
// A NUL-terminated copy that free() and SablotFree release (serialised text, results); null when memory is short.
char* NewFreeableString(std::string_view text);

} // namespace sablot
