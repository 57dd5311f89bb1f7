// The numbers of failures: results of the Sablot calls, and codes of messages.
#pragma once

namespace sablot {

constexpr int CODE_OTHER = 1;
constexpr int CODE_NOT_WELL_FORMED = 2;
constexpr int CODE_UNKNOWN_INSTRUCTION = 7;
constexpr int CODE_XPATH_SYNTAX = 18;
constexpr int CODE_UNBOUND_PREFIX = 24;
constexpr int CODE_UNDECLARED_VARIABLE = 46;
constexpr int CODE_UNKNOWN_FUNCTION = 51;
constexpr int CODE_UNKNOWN_TEMPLATE = 52;
constexpr int CODE_TERMINATED = 60;
constexpr int CODE_NOT_FOUND = 65;
constexpr int CODE_UNKNOWN_ENCODING = 69;
constexpr int CODE_XSL_MESSAGE = 89;

} // namespace sablot
