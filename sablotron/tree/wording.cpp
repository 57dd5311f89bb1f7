// Patterns with one gap.
#include "sablotron/tree/wording.h"

namespace sablot {

std::string Reworded(std::string_view text, std::span<const Wording> wordings) {
    for (const auto& [pattern, words] : wordings) {
        const size_t gap = pattern.find('*');
        const size_t begin = text.find(pattern.substr(0, gap));
        if (begin == std::string_view::npos) continue;
        std::string result(words);
        if (gap == std::string_view::npos) return result;
        const std::string_view rest = text.substr(begin + gap);
        const std::string_view after = pattern.substr(gap + 1);
        const size_t end = after.empty() ? rest.size() : rest.find(after);
        if (end == std::string_view::npos) continue;
        if (const size_t place = result.find('*'); place != std::string::npos)
            result.replace(place, 1, rest.substr(0, end));
        return result;
    }
    return std::string(text);
}

} // namespace sablot
