// The text that a command reads, with the name that messages give it, and its lines.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace host {

struct Input {
    std::string name;
    std::string text;
};

namespace xml {

// The text of a line, counted from 1, without its end; empty if there is none or if it is no UTF-8.
std::string LineOf(const std::string& text, uint32_t line);

// Where a line's first character stands that is no white space, counted from 1.
uint32_t FirstColumn(std::string_view line);

} // namespace xml

} // namespace host
