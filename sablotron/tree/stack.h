// How much of the stack is left for libraries that recurse.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sablot {

// Where the stack ends that the thread runs on.
uintptr_t StackEnd();

// Tells of a change of stacks in this thread; answers where the stack before ends.
uintptr_t ExchangeStackEnd(uintptr_t stackEnd);

// Bytes between here and there.
inline size_t RemainingStack(uintptr_t stackEnd = StackEnd()) {
    const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    return here > stackEnd ? here - stackEnd : 0;
}

} // namespace sablot
