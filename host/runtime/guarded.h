// The frame of native functions that are called from outside of C++.
#pragma once

#include "host/runtime/exception.h"

namespace host {

// A function as native callers call it: what it throws for want of memory, or else, is raised in the program.
template <auto FUNCTION>
struct Guarded;
template <typename Result, typename... Arguments, Result (*FUNCTION)(Arguments...)>
struct Guarded<FUNCTION> {
    static Result Call(Arguments... arguments) noexcept {
        try {
            return FUNCTION(arguments...);
        } catch (...) {
            RaiseCaught();
        }
        return Result();
    }
};

template <auto FUNCTION>
void* Native() {
    return reinterpret_cast<void*>(&Guarded<FUNCTION>::Call);
}

} // namespace host
