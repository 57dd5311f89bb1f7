// What someone who wrote a wrong name may have meant.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host::language {

// A hint like ` (did you mean "Name"?)`, or empty when nothing known is near.
std::string Suggestion(std::string_view name, const std::vector<std::string>& candidates);

} // namespace host::language
