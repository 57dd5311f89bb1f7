// Starts the host; reads and writes whole files.
#include "host/cli/session.h"

#include "host/framework/framework.h"
#include "host/language/suggestion.h"
#include "host/runtime/plugin.h"
#include "host/runtime/services.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace host {

namespace fs = std::filesystem;

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File OpenFile(const fs::path& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (!file) throw std::runtime_error(path.native() + ": " + std::strerror(errno));
    return file;
}

void Withhold(const std::string& service) {
    // A bundle calls this one without asking whether it is there: it says whom it speaks to.
    if (service == "RegisterPluginVersion")
        throw UsageError("--without: RegisterPluginVersion cannot be withheld; no bundle can be loaded without it");
    if (SetServiceEnabled(service, false)) return;
    std::vector<std::string> names;
    for (const Service& known : Services()) names.emplace_back(known.name);
    throw UsageError("--without: there is no service \"" + service + "\"" + language::Suggestion(service, names));
}

} // namespace

void StartHost(const HostOptions& options) {
    RegisterFramework();
    for (const std::string& service : options.without) Withhold(service);
    if (options.plugins.empty()) LoadPlugin(FindPlugin());
    for (const std::string& plugin : options.plugins) LoadPlugin(plugin);
}

fs::path FindPlugin() {
    fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    for (const char* place : {"kova-xml.so", "../lib/kova/kova-xml.so"})
        if (fs::path path = folder / place; fs::exists(path)) return path.lexically_normal();
    throw std::runtime_error("kova-xml.so is neither in " + folder.native() + " nor in ../lib/kova; use --plugin");
}

std::string ReadFile(const fs::path& path) {
    File file = OpenFile(path, "re");
    std::string text;
    char buffer[65536];
    for (size_t length; (length = std::fread(buffer, 1, sizeof buffer, file.get())) > 0;) text.append(buffer, length);
    if (std::ferror(file.get())) throw std::runtime_error(path.native() + ": " + std::strerror(errno));
    return text;
}

void WriteFile(const fs::path& path, std::string_view text) {
    File file = OpenFile(path, "we");
    bool written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
    if (!written || std::fflush(file.get()) != 0) throw std::runtime_error(path.native() + ": " + std::strerror(errno));
}

bool UsesColor(std::FILE* stream) {
    const char* off = std::getenv("NO_COLOR");
    return (isatty(fileno(stream)) != 0) && !((off != nullptr) && (*off != 0));
}

} // namespace host
