// A stack for libxslt, which recurses with every call of a template.
#pragma once

#include <functional>

namespace sablot {

// Runs the work on a stack of 32 MB in the caller's thread, whatever the caller's is. What it throws, this throws.
// (Without memory for such a stack it runs on the caller's.)
void OnLargeStack(const std::function<void()>& work);

} // namespace sablot
