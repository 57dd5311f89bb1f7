// Messages that plug-ins log for whoever runs the program, such as those of a stylesheet.
#pragma once

#include <string>
#include <vector>

namespace host {

struct String;

// Writes the text (as UTF-8) and a line end to standard error, and keeps it for TakeLogMessages.
void LogMessage(String* text);

// The newest messages since the last call, at most MAX_KEPT_MESSAGES, oldest first.
inline constexpr size_t MAX_KEPT_MESSAGES = 1000;
std::vector<std::string> TakeLogMessages();

} // namespace host
