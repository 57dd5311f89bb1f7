// How much of the thread's stack is left for libraries that recurse.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sablot {

// Where the thread's stack ends.
uintptr_t StackEnd();

// Bytes between here and there.
inline size_t RemainingStack(uintptr_t stackEnd = StackEnd()) {
    const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    return here > stackEnd ? here - stackEnd : 0;
}

} // namespace sablot
