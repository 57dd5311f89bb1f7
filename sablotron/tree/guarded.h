// The frame of every Sablot function that can run out of memory.
#pragma once

#include "sablotron/tree/codes.h"

namespace sablot {

// Runs the body, which returns the function's code. Nothing is thrown across the C boundary.
template <typename Body>
int Guarded(Body body) noexcept {
    try {
        return body();
    } catch (...) {
        return CODE_OTHER; // memory is short
    }
}

} // namespace sablot
