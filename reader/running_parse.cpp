// The chain of calls of XML_Parse that stand on the stack.
#include "reader/running_parse.h"

namespace kova {

RunningParse* RunningParse::innermost_ = nullptr;

RunningParse::RunningParse(XML_Parser parser, XML_Parser main) : parser_(parser), main_(main), outer_(innermost_) {
    innermost_ = this;
}

RunningParse::~RunningParse() {
    innermost_ = outer_;
    if (freeWhenDone_) XML_ParserFree(parser_);
}

bool IsParsing(XML_Parser parser) {
    for (const RunningParse* running = RunningParse::innermost_; running != nullptr; running = running->outer_)
        if (running->parser_ == parser) return true;
    return false;
}

bool IsInUse(XML_Parser main) {
    for (const RunningParse* running = RunningParse::innermost_; running != nullptr; running = running->outer_)
        if (running->main_ == main) return true;
    return false;
}

void FreeParser(XML_Parser parser) {
    for (RunningParse* running = RunningParse::innermost_; running != nullptr; running = running->outer_) {
        if (running->parser_ != parser) continue;
        running->freeWhenDone_ = true;
        return;
    }
    XML_ParserFree(parser);
}

} // namespace kova
