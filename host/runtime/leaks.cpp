// Counts of what is alive.
#include "host/runtime/leaks.h"

#include "host/runtime/class.h"
#include "host/runtime/registry.h"
#include "host/runtime/string.h"

namespace host {

LiveCounts CountLive() {
    LiveCounts live;
    live.strings = LiveStringCount();
    for (const auto& cls : Registry::Get().classes) {
        if (cls->liveCount == 0) continue;
        live.objects += cls->liveCount;
        live.classes.push_back({cls->name, cls->liveCount});
    }
    return live;
}

bool ReportLeaks(std::ostream& out, const LiveCounts& before) {
    bool any = false;
    auto report = [&](const std::string& what, uint32_t now, uint32_t then) {
        if (now <= then) return;
        any = true;
        out << "still alive: " << now - then << " " << what << "\n";
    };
    LiveCounts live = CountLive();
    report(live.strings - before.strings == 1 ? "string" : "strings", live.strings, before.strings);
    for (const LiveCounts::ByClass& now : live.classes) {
        uint32_t then = 0;
        for (const LiveCounts::ByClass& earlier : before.classes) {
            if (earlier.className == now.className) then = earlier.count;
        }
        report(now.className, now.count, then);
    }
    return any;
}

} // namespace host
