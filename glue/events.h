// Raising events in the host program.
#pragma once

#include "glue/services.h"

namespace kova {

// Calls the program's handler of an event with the declared arguments; answers Result() if it has none. The arguments
// stay the caller's.
template <typename Result = void, HostWord... Args>
Result RaiseEvent(KOVAObject object, const EventDefinition& event, Args... args) {
    using Handler = Result (*)(KOVAObject, Args...);
    auto handler = reinterpret_cast<Handler>(GetEventInstance(object, event));
    return handler != nullptr ? handler(object, args...) : Result();
}

} // namespace kova
