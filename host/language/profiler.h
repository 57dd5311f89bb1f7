// Where a program spends its processor time: a timer asks again and again, and the machine tells where it is.
#pragma once

#include "host/language/code.h"
#include "host/syntax/diagnostic.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace host::language {

class Profiler {
public:
    // Asks by making `attention` (of the machine) not zero. One profiler at a time.
    Profiler();
    ~Profiler();
    Profiler(const Profiler&) = delete;
    Profiler& operator=(const Profiler&) = delete;

    // How often the timer has asked since it was looked up last.
    static uint32_t TakeTicks();

    // A function that runs or waits for what it called, with the line where it is; a native one has no code.
    struct Place {
        std::string function;
        const Code* code = nullptr;
        uint32_t line = 0;
    };
    // The innermost place comes first.
    void Add(const std::vector<Place>& stack, uint32_t ticks);

    // The shares of functions and lines, greatest first; empty when nothing was seen.
    std::string Report(const SourceFiles& files) const;

private:
    struct Share {
        uint32_t self = 0;
        uint32_t total = 0;
    };
    std::map<std::string, Share> functions_;
    std::map<std::pair<uint32_t, uint32_t>, uint32_t> lines_; // by file and line
    uint32_t ticks_ = 0;
};

} // namespace host::language
