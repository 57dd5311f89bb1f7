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

// What throws nothing is called as it is.
template <typename Function>
inline constexpr bool IS_NOEXCEPT = false;
template <typename Result, typename... Arguments>
inline constexpr bool IS_NOEXCEPT<Result (*)(Arguments...) noexcept> = true;

template <auto FUNCTION>
void* Native() {
    if constexpr (IS_NOEXCEPT<decltype(FUNCTION)>)
        return reinterpret_cast<void*>(FUNCTION);
    else
        return reinterpret_cast<void*>(&Guarded<FUNCTION>::Call);
}

} // namespace host
