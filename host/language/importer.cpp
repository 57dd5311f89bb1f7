// Finds and reads imported sources.
#include "host/language/importer.h"

#include "host/framework/files.h"
#include "host/language/suggestion.h"
#include "host/syntax/parser.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace host::language {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view EXTENSION = ".kova";

// The folders of KOVA_LIBRARY first, then those that lie around the executable, as it is built or installed.
std::vector<fs::path> LibraryFolders() {
    std::vector<fs::path> folders;
    auto add = [&folders](std::string_view list, const fs::path& base) {
        for (size_t start = 0; start < list.size();) {
            size_t end = std::min(list.find(':', start), list.size());
            if (end > start) folders.push_back((base / list.substr(start, end - start)).lexically_normal());
            start = end + 1;
        }
    };
    const char* chosen = std::getenv("KOVA_LIBRARY");
    std::error_code error;
    if (chosen != nullptr) add(chosen, fs::current_path(error));
    add(KOVA_LIBRARY_PATH, fs::read_symlink("/proc/self/exe", error).parent_path());
    return folders;
}

std::string LibraryNames(std::string_view wanted) {
    std::vector<std::string> names;
    std::error_code error;
    for (const fs::path& folder : LibraryFolders()) {
        for (const fs::path name : NamesIn(folder, error))
            if (name.extension() == EXTENSION) names.push_back(name.stem());
    }
    return Suggestion(wanted, names);
}

} // namespace

void Importer::Add(uint32_t file, std::vector<const ast::Unit*>& units) {
    const std::string& path = environment_.files[file]->Path();
    std::error_code error;
    if (!path.empty()) environment_.importedPaths.insert(fs::weakly_canonical(path, error));
    environment_.units.push_back(Parse(environment_.files, file, diagnostics_));
    const ast::Unit& unit = *environment_.units.back();
    AddImports(unit, units);
    units.push_back(&unit);
}

void Importer::AddImports(const ast::Unit& unit, std::vector<const ast::Unit*>& units) {
    for (const ast::Import& import : unit.imports) Import(import, units);
}

fs::path Importer::Find(const ast::Import& import) {
    const SourceFile& source = *environment_.files[import.span.file];
    std::error_code error;
    if (!import.isLibrary) {
        fs::path path = fs::path(source.Path()).parent_path() / import.name;
        if (fs::is_regular_file(path, error)) return path;
        std::string hint = fs::is_regular_file(path.native() + std::string(EXTENSION), error)
                               ? " (did you mean \"" + import.name + std::string(EXTENSION) + "\"?)"
                               : "";
        diagnostics_.Error(import.span, "there is no file \"" + import.name + "\"" + hint);
        return {};
    }
    for (const fs::path& folder : LibraryFolders()) {
        fs::path path = folder / (FoldName(import.name) + std::string(EXTENSION));
        if (fs::is_regular_file(path, error)) return path;
    }
    diagnostics_.Error(import.span, "there is no library <" + import.name + ">" + LibraryNames(import.name));
    return {};
}

void Importer::Import(const ast::Import& import, std::vector<const ast::Unit*>& units) {
    fs::path path = Find(import);
    if (path.empty()) return;
    std::error_code error;
    if (environment_.importedPaths.contains(fs::weakly_canonical(path, error))) return;
    std::string text;
    const auto& open = environment_.editor.openFiles;
    if (auto found = open.find(path.lexically_normal()); found != open.end()) {
        text = found->second;
    } else {
        std::ifstream stream(path, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
        if (stream.bad() || !stream.is_open()) {
            diagnostics_.Error(import.span, path.native() + ": " + std::strerror(errno));
            return;
        }
    }
    // Errors name the file as one gets at it from the importing one.
    fs::path shown =
        import.isLibrary ? path : fs::path(environment_.files[import.span.file]->Name()).parent_path() / import.name;
    environment_.files.push_back(
        std::make_shared<SourceFile>(shown.lexically_normal(), std::move(text), path.native()));
    const auto file = static_cast<uint32_t>(environment_.files.size() - 1);
    if (import.isLibrary || environment_.filesOfLibraries.contains(import.span.file))
        environment_.filesOfLibraries.insert(file);
    Add(file, units);
}

} // namespace host::language
