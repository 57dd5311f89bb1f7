// A stack for libxslt, which recurses with every call of a template.
#pragma once

#include <functional>

namespace sablot {

// Runs the work on a stack of 32 MB, whatever the caller's is, and waits for it; every few milliseconds it calls `look`
// meanwhile. What the work throws, this throws. (Without memory for such a stack it runs on the caller's, and nobody
// looks.)
void OnLargeStack(const std::function<void()>& work, const std::function<void()>& look);

} // namespace sablot
