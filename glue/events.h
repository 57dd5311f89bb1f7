// Raising events in the host program.
#pragma once

#include "glue/services.h"

namespace kova {

// Calls the program's handler of an event with the declared arguments; answers Result() if it has none. The arguments
// are words (handles, 32-bit integers) and stay the caller's.
template <class Result = void, class... Args>
Result RaiseEvent(KOVAObject object, const EventDefinition& event, Args... args) {
    static_assert(((std::is_pointer_v<Args> || std::is_same_v<Args, KOVAInteger>)&&...), "event arguments are words");
    using Handler = Result (*)(KOVAObject, Args...);
    auto handler = reinterpret_cast<Handler>(GetEventInstance(object, event));
    return handler ? handler(object, args...) : Result();
}

} // namespace kova
