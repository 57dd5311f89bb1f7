// Numbers as programs print them.
#pragma once

#include <string>

namespace host {

// The shortest text that reads back as the same number: without exponent from 1e-7 up to 1e15, and both zeros as "0".
std::string NumberText(double number);

} // namespace host
