// The names that stand for what a program declares, as its compilation noted them.
#include "host/language/environment.h"
#include "host/language/inspector.h"

namespace host {

std::optional<NamePlace> FindDeclaration(const Program& program, const std::string& path, size_t offset) {
    const language::Environment& environment = program.GetEnvironment();
    for (const auto& [place, declaration] : environment.uses) {
        const auto& [file, start] = place;
        bool isHere =
            offset >= start && offset <= start + declaration.length && environment.files[file]->Path() == path;
        if (!isHere || environment.filesOfLibraries.contains(declaration.file)) continue;
        return NamePlace{environment.files[declaration.file]->Path(), declaration};
    }
    return std::nullopt;
}

std::vector<NamePlace> FindUses(const Program& program, const NamePlace& declaration) {
    const language::Environment& environment = program.GetEnvironment();
    std::vector<NamePlace> found;
    for (const auto& [place, declared] : environment.uses) {
        if (NamePlace{environment.files[declared.file]->Path(), declared} != declaration) continue;
        found.push_back({environment.files[place.first]->Path(), {place.first, place.second, declared.length}});
    }
    return found;
}

} // namespace host
