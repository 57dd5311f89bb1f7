// A reader whose events are written down, one line each: StartElement('a', [x='1']).
#pragma once

#include "host/runtime/dynamic.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

class ReaderTrace {
public:
    // Runs after the line of its event has been written; its result is the event's.
    using Handler = std::function<host::Value(const host::ObjectRef& reader, host::Arguments arguments)>;

    ReaderTrace();

    ReaderTrace& On(const std::string& event, Handler handler);
    host::ObjectRef NewReader(std::initializer_list<host::Value> arguments = {}) const;

    // Parses as one final piece and takes the lines; an exception is the last one.
    std::vector<std::string> Parse(const host::ObjectRef& reader, host::Value text);
    // In pieces of this size.
    std::vector<std::string> ParseChunks(const host::ObjectRef& reader, std::string_view text, size_t size);
    // Makes a reader, feeds it and drops it.
    std::vector<std::string> Events(std::string_view text);

    std::vector<std::string> lines;

private:
    std::vector<std::string> Take() { return std::exchange(lines, {}); }
    std::vector<std::string> Guarded(const std::function<void()>& parse);

    host::HandlerClass readers_;
    std::map<std::string, Handler> handlers_;
};

// What a reader leaves allocated on purpose and in no function of its own, kept in reach of LeakSanitizer: strings
// given as encodings, and parsers that nobody frees.
void KeepInReach(const host::Value& encoding);
void KeepMainParserInReach(const host::ObjectRef& reader);
void KeepEntityParserInReach(const host::ObjectRef& reader);

// Text of a value as the trace shows it.
std::string Shown(const host::Value& value);

// The lines with each run of Characters joined into one, and without StartDocument and EndDocument.
std::vector<std::string> Joined(const std::vector<std::string>& lines);

// Text of nested content models: CHOICE*(NAME b, NAME c).
std::string ModelText(const host::ObjectRef& model);
