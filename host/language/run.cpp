// The report of an exception that nobody caught.
#include "host/language/run.h"

#include "host/syntax/diagnostic.h"

namespace host {

std::string FormatException(const UncaughtException& exception) {
    std::string text = exception.className;
    if (exception.errorNumber != 0) text += " " + std::to_string(exception.errorNumber);
    if (!exception.message.empty()) text += ": " + exception.message;
    text += '\n';
    if (!exception.details.empty()) text += "  " + exception.details + "\n";
    text += exception.inputLine;
    if (!exception.stack.empty()) {
        const StackEntry& place = exception.stack[0];
        text += place.file + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + "\n";
        text += MarkedLine(place.sourceLine, place.column, 1, false);
    }
    std::string last;
    int repeats = 0;
    auto tellRepeats = [&] {
        if (repeats > 0) text += "     … and there " + std::to_string(repeats) + " times more\n";
        repeats = 0;
    };
    for (const StackEntry& entry : exception.stack) {
        std::string place = entry.file + ":" + std::to_string(entry.line);
        std::string line =
            "  at " + (entry.function.empty() ? place : entry.function + "(" + entry.arguments + ") (" + place + ")")
            + "\n";
        if (line == last) {
            ++repeats;
            continue;
        }
        tellRepeats();
        text += line;
        last = std::move(line);
    }
    tellRepeats();
    return text;
}

} // namespace host
