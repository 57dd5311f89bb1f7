// Messages to the handler of a processor.
#pragma once

#include "sablotron/sablot.h"

#include <string>

namespace sablot {

// Codes of messages, and results of the calls that failed.
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

struct Message {
    int code = 0;
    SablotMessageLevel level = SABLOT_LEVEL_ERROR;
    std::string uri;  // empty: no URI field
    int line = 0;     // 0: no line field
    std::string node; // "element '<xsl:value-of>'"; empty: no node field
    std::string text;
};

// Gives the message to the processor's handler: to its log function at the levels below SABLOT_LEVEL_ERROR, else to its
// error function. Without a processor or a handler the message is lost.
void SendMessage(SablotHandle processor, const Message& message);

} // namespace sablot
