// What is alive: strings and objects by class.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace host {

struct LiveCounts {
    uint32_t strings = 0;
    uint32_t objects = 0;
    struct ByClass {
        std::string className;
        uint32_t count;
        bool operator==(const ByClass&) const = default;
    };
    std::vector<ByClass> classes; // with live objects only, in order of registration

    bool operator==(const LiveCounts&) const = default;
};

LiveCounts CountLive();

// One line for strings and each class of which more is alive than in `before`; nothing when there is none. Returns
// whether there was any.
bool ReportLeaks(std::ostream& out, const LiveCounts& before = {});

} // namespace host
