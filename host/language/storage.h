// How registers, variables and fields hold their values.
#pragma once

#include <cstdint>

namespace host::language {

// Says how a value is copied and released.
enum class Storage : uint8_t { PLAIN, STRING, OBJECT };

} // namespace host::language
