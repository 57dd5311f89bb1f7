// Distances between names.
#include "host/language/suggestion.h"

#include "host/syntax/names.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace host::language {

namespace {

// Number of letters inserted, removed, changed or exchanged with a neighbour (optimal string alignment).
size_t EditDistance(std::string_view left, std::string_view right) {
    std::vector<size_t> beforeLast;
    std::vector<size_t> last(right.size() + 1);
    std::iota(last.begin(), last.end(), size_t{0});
    for (size_t i = 1; i <= left.size(); ++i) {
        std::vector<size_t> row(right.size() + 1);
        row[0] = i;
        for (size_t j = 1; j <= right.size(); ++j) {
            size_t change = left[i - 1] == right[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + change});
            bool swapped = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
            if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = std::exchange(last, std::move(row));
    }
    return last[right.size()];
}

} // namespace

std::string Suggestion(std::string_view name, const std::vector<std::string>& candidates) {
    if (name.size() < 3 || name.size() > 64) return {};
    std::string wanted = FoldName(name);
    const std::string* best = nullptr;
    const size_t limit = name.size() < 4 ? 1 : std::max<size_t>(1, name.size() / 3) + 1;
    size_t bestDistance = limit;
    size_t bestPrefix = 0;
    auto commonPrefix = [&wanted](const std::string& other) {
        auto end = std::mismatch(wanted.begin(), wanted.end(), other.begin(), other.end()).first;
        return static_cast<size_t>(end - wanted.begin());
    };
    for (const std::string& candidate : candidates) {
        std::string lower = FoldName(candidate);
        // Who mistypes a name seldom mistypes its first letter, but for an exchange with the second.
        bool isExchanged = lower.size() > 1 && lower[0] == wanted[1] && lower[1] == wanted[0];
        if (lower.empty() || (lower[0] != wanted[0] && !isExchanged)) continue;
        // "Frist" for "FirstChild": what was meant may be longer than what was written.
        size_t distance = EditDistance(wanted, lower);
        if (wanted.size() >= 5 && lower.size() > wanted.size()) {
            distance = std::min(distance, EditDistance(wanted, lower.substr(0, wanted.size())) + 1);
        }
        size_t prefix = commonPrefix(lower);
        if (distance > bestDistance || (distance == bestDistance && prefix <= bestPrefix)) continue;
        if (distance > limit) continue;
        best = &candidate;
        bestDistance = distance;
        bestPrefix = prefix;
    }
    return best == nullptr ? std::string() : " (did you mean \"" + *best + "\"?)";
}

} // namespace host::language
