// What a fuzz target makes of its bytes: a first byte with options, then texts between lines "@@".
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

// Implemented by every target; called by libFuzzer, or by driver.cpp in the suite.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

struct Input {
    unsigned options = 0;
    std::vector<std::string> texts; // one at least

    Input(const uint8_t* data, size_t size) {
        std::string_view rest(reinterpret_cast<const char*>(data), size);
        if (!rest.empty()) {
            options = static_cast<unsigned char>(rest[0]);
            rest.remove_prefix(1);
        }
        constexpr std::string_view BETWEEN = "\n@@\n";
        for (size_t end = 0; end != std::string_view::npos; rest.remove_prefix(end + BETWEEN.size())) {
            end = rest.find(BETWEEN);
            texts.emplace_back(rest.substr(0, end));
            if (end == std::string_view::npos) break;
        }
    }

    bool Has(unsigned bit) const { return ((options >> bit) & 1) != 0; }
};

// What must hold whatever the input.
inline void Require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}
