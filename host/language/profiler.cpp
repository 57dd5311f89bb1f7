// Counts where a program is while its processor time goes by.
#include "host/language/profiler.h"

#include "host/language/machine.h"

#include <sys/time.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <set>

namespace host::language {

namespace {

constexpr size_t MAX_ROWS = 20;

std::atomic<uint32_t> waitingTicks{0};

void Tick(int) {
    waitingTicks.fetch_add(1, std::memory_order_relaxed);
    attention = 1;
}

void SetTimer(suseconds_t microseconds) {
    itimerval interval{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_PROF, &interval, nullptr);
}

template <typename Key, typename Value>
std::vector<std::pair<Key, Value>> Greatest(const std::map<Key, Value>& counts, uint32_t (*count)(const Value&)) {
    std::vector<std::pair<Key, Value>> rows(counts.begin(), counts.end());
    std::stable_sort(rows.begin(), rows.end(),
                     [count](const auto& left, const auto& right) { return count(left.second) > count(right.second); });
    rows.resize(std::min(rows.size(), MAX_ROWS));
    return rows;
}

std::string Percent(uint32_t part, uint32_t whole) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%5.1f %%", 100.0 * part / whole);
    return text.data();
}

} // namespace

Profiler::Profiler() {
    waitingTicks = 0;
    struct sigaction action {};
    action.sa_handler = Tick;
    action.sa_flags = SA_RESTART;
    sigaction(SIGPROF, &action, nullptr);
    SetTimer(1000);
}

Profiler::~Profiler() {
    SetTimer(0);
    std::signal(SIGPROF, SIG_IGN);
}

uint32_t Profiler::TakeTicks() { return waitingTicks.exchange(0, std::memory_order_relaxed); }

void Profiler::Add(const std::vector<Place>& stack, uint32_t ticks) {
    if (stack.empty()) return;
    ticks_ += ticks;
    functions_[stack[0].function].self += ticks;
    std::set<std::string> seen; // a function that calls itself counts once
    for (const Place& place : stack) {
        if (seen.insert(place.function).second) functions_[place.function].total += ticks;
    }
    auto line = std::find_if(stack.begin(), stack.end(), [](const Place& place) { return place.code != nullptr; });
    if (line != stack.end()) lines_[{line->code->file, line->line}] += ticks;
}

std::string Profiler::Report(const SourceFiles& files) const {
    if (ticks_ == 0) return {};
    std::string text = "   self    total  function\n";
    for (const auto& [name, share] :
         Greatest<std::string, Share>(functions_, [](const Share& row) { return row.total; })) {
        text += Percent(share.self, ticks_) + "  " + Percent(share.total, ticks_) + "  " + name + "\n";
    }
    text += "   self  line\n";
    for (const auto& [place, ticks] :
         Greatest<std::pair<uint32_t, uint32_t>, uint32_t>(lines_, [](const uint32_t& row) { return row; })) {
        const SourceFile& file = *files[place.first];
        std::string_view line = file.Line(place.second);
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        text += Percent(ticks, ticks_) + "  " + file.Name() + ":" + std::to_string(place.second) + "  "
                + std::string(line) + "\n";
    }
    return text;
}

} // namespace host::language
