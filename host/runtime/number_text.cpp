// Numbers as programs print them.
#include "host/runtime/number_text.h"

#include <array>
#include <charconv>
#include <cmath>

namespace host {

std::string NumberText(double number) {
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number < 0 ? "-Infinity" : "Infinity";
    if (number == 0) return "0";
    const double size = std::fabs(number);
    const auto format = size >= 1e-7 && size < 1e15 ? std::chars_format::fixed : std::chars_format::scientific;
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number, format).ptr};
}

} // namespace host
