// Compares names without regard to case.
#include "host/syntax/names.h"

#include <algorithm>

namespace host {

namespace {

char Fold(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

} // namespace

bool SameName(std::string_view left, std::string_view right) {
    return left.size() == right.size()
           && std::equal(left.begin(), left.end(), right.begin(), [](char a, char b) { return Fold(a) == Fold(b); });
}

std::string FoldName(std::string_view name) {
    std::string folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), Fold);
    return folded;
}

} // namespace host
