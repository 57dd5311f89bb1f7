// Whether the suite runs under AddressSanitizer, beside which limits of memory mean nothing.
#pragma once

#ifdef __SANITIZE_ADDRESS__
constexpr bool IS_SANITIZED = true;
#else
constexpr bool IS_SANITIZED = false;
#endif
