// Messages that plug-ins log.
#include "host/runtime/log.h"

#include "host/runtime/encoding.h"
#include "host/runtime/string.h"

#include <cstdio>
#include <deque>
#include <iterator>
#include <utility>

namespace host {

namespace {

std::deque<std::string>& Messages() {
    static auto& messages = *new std::deque<std::string>;
    return messages;
}

} // namespace

void LogMessage(String* text) {
    StringRef utf8 = ConvertString(text, ENCODING_UTF8);
    std::string line(utf8.View());
    if (Messages().size() == MAX_KEPT_MESSAGES) Messages().pop_front();
    Messages().push_back(line);
    line += '\n';
    std::fflush(stdout); // what was printed before is shown before
    std::fwrite(line.data(), 1, line.size(), stderr);
}

std::vector<std::string> TakeLogMessages() {
    std::deque<std::string> taken = std::exchange(Messages(), {});
    return {std::make_move_iterator(taken.begin()), std::make_move_iterator(taken.end())};
}

} // namespace host
