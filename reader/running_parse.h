// Which parsers are at work. Expat calls back from inside XML_Parse and does not guard itself against a handler that
// parses on, resets or frees the parser that called it; the reader asks here before it does so.
#pragma once

#include <expat.h>

namespace kova {

// Stands on the stack around each call of XML_Parse.
class RunningParse {
public:
    // `main` is the reader's main parser, the same as `parser` unless that parses an external entity.
    RunningParse(XML_Parser parser, XML_Parser main);
    // Frees the parser if FreeParser was called for it meanwhile.
    ~RunningParse();
    RunningParse(const RunningParse&) = delete;
    RunningParse& operator=(const RunningParse&) = delete;

private:
    friend bool IsParsing(XML_Parser parser);
    friend bool IsInUse(XML_Parser main);
    friend void FreeParser(XML_Parser parser);

    XML_Parser parser_;
    XML_Parser main_;
    RunningParse* outer_;
    bool freeWhenDone_ = false;

    static RunningParse* innermost_;
};

// Whether this very parser is inside XML_Parse.
bool IsParsing(XML_Parser parser);

// Whether a main parser or an external entity's parser of it, which shares its DTD, is inside XML_Parse.
bool IsInUse(XML_Parser main);

// Frees a parser, at once or when its XML_Parse has returned. None is accepted.
void FreeParser(XML_Parser parser);

} // namespace kova
