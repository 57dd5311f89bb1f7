// Messages to the handler of a processor.
#pragma once

#include "sablotron/sablot.h"
#include "sablotron/tree/codes.h"

#include <string>

namespace sablot {

struct Message {
    int code = 0;
    SablotMessageLevel level = SABLOT_LEVEL_ERROR;
    std::string uri = {};  // empty: no URI field
    int line = 0;          // 0: no line field
    std::string node = {}; // "element '<xsl:value-of>'"; empty: no node field
    std::string text = {};
};

// Gives the message to the processor's handler: to its log function at the levels below SABLOT_LEVEL_ERROR, else to its
// error function. Without a processor or a handler the message is lost.
void SendMessage(SablotHandle processor, const Message& message);

} // namespace sablot
