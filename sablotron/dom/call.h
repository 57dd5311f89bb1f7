// The frame of every SDOM_ function.
#pragma once

#include "sablotron/tree/document.h"
#include "sablotron/tree/library_scope.h"

#include <string_view>

namespace sablot {

// Ends an SDOM_ call: keeps its code in the situation (which may be null) and returns it.
inline SDOM_Exception Record(SablotSituation situation, SDOM_Exception code) {
    if (situation != nullptr) situation->exception = code;
    return code;
}

// Runs the body of an SDOM_ function, which returns its code, and records it. Nothing is thrown across the C boundary.
template <typename Body>
SDOM_Exception Call(SablotSituation situation, Body body) noexcept {
    SDOM_Exception code;
    try {
        code = body();
    } catch (...) {
        code = SDOM_NOT_OK; // memory is short
    }
    return Record(situation, code);
}

// Runs body(node) for a live node.
template <typename Body>
SDOM_Exception CallOnNode(SablotSituation situation, SDOM_Node node, Body body) noexcept {
    return Call(situation, [&] { return FindNode(node) ? body(node->node) : SDOM_NOT_FOUND_ERR; });
}

// Runs body(element) for a live element.
template <typename Body>
SDOM_Exception CallOnElement(SablotSituation situation, SDOM_Node node, Body body) noexcept {
    return CallOnNode(situation, node,
                      [&](xmlNode* element) { return IsElement(element) ? body(element) : SDOM_INVALID_NODE_TYPE; });
}

// Runs body(node) for a live node, for an edit.
template <typename Body>
SDOM_Exception CallOnEditable(SablotSituation situation, SDOM_Node node, Body body) noexcept {
    return CallOnNode(situation, node, [&](xmlNode* found) {
        ErrorScope silence;
        return body(found);
    });
}

// Runs body(document) for a live document; other nodes give 16.
template <typename Body>
SDOM_Exception CallOnDocument(SablotSituation situation, SDOM_Document handle, Body body) noexcept {
    return CallOnNode(situation, reinterpret_cast<SDOM_Node>(handle), [&](xmlNode* node) {
        if (!IsDocument(node)) return SDOM_INVALID_NODE_TYPE;
        ErrorScope silence;
        return body(*reinterpret_cast<SDOM_Node>(handle)->document);
    });
}

// A string argument; null counts as "".
inline std::string_view Argument(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

} // namespace sablot
