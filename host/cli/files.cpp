// Reads and writes whole files.
#include "host/cli/files.h"

#include "host/cli/commands.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace host {

namespace fs = std::filesystem;

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void Fail(const fs::path& path) { throw std::runtime_error(path.native() + ": " + std::strerror(errno)); }

File OpenFile(const fs::path& path, const char* mode) {
    File file(std::fopen(path.c_str(), mode));
    if (!file) Fail(path);
    return file;
}

std::string ReadAll(std::FILE* file, const fs::path& path) {
    std::string text;
    char buffer[65536];
    for (size_t length; (length = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, length);
    if (std::ferror(file)) Fail(path);
    return text;
}

void WriteAll(std::FILE* file, const fs::path& path, std::string_view text) {
    bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (!written || std::fflush(file) != 0) Fail(path);
}

mode_t DefaultPermissions() {
    mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// A file beside `path` that is removed unless it takes that name.
class Replacement {
public:
    explicit Replacement(const fs::path& path) : path_(path), name_(path.native() + ".XXXXXX") {
        int descriptor = mkstemp(name_.data());
        if (descriptor < 0) Fail(path_);
        file_ = File(fdopen(descriptor, "w"));
    }
    ~Replacement() {
        if (!name_.empty()) unlink(name_.c_str());
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    void Commit(std::string_view text, const struct stat* replaced) {
        WriteAll(file_.get(), path_, text);
        int descriptor = fileno(file_.get());
        // Only root may give a file away; for others the new file is theirs, as any new file is.
        [[maybe_unused]] int given = replaced != nullptr ? fchown(descriptor, replaced->st_uid, replaced->st_gid) : 0;
        if (fchmod(descriptor, replaced != nullptr ? replaced->st_mode & 07777 : DefaultPermissions()) != 0
            || fsync(descriptor) != 0 || std::rename(name_.c_str(), path_.c_str()) != 0)
            Fail(path_);
        name_.clear();
    }

private:
    fs::path path_;
    std::string name_;
    File file_;
};

} // namespace

std::string ReadFile(const fs::path& path) { return ReadAll(OpenFile(path, "re").get(), path); }

void WriteFile(const fs::path& path, std::string_view text) { WriteAll(OpenFile(path, "we").get(), path, text); }

void ReplaceFile(const fs::path& path, std::string_view text) {
    struct stat status {};
    bool exists = stat(path.c_str(), &status) == 0;
    if (exists && !S_ISREG(status.st_mode)) return WriteFile(path, text);
    fs::path target = fs::is_symlink(path) ? fs::canonical(path) : path;
    Replacement(target).Commit(text, exists ? &status : nullptr);
}

Input ReadInput(const std::string& path) {
    if (path == "-") return {"<stdin>", ReadAll(stdin, "<stdin>")};
    return {path, ReadFile(path)};
}

std::vector<std::string> FilesOrInput(const std::vector<std::string>& files) {
    if (!files.empty()) return files;
    if (isatty(STDIN_FILENO) != 0) throw UsageError("a file is expected, or text on standard input");
    return {"-"};
}

void TakeFirstForLast(std::vector<std::string>& files, std::string& last, bool (*isLast)(const std::string&)) {
    if (files.empty() || !isLast(files.front()) || isLast(last)) return;
    files.push_back(last);
    last = files.front();
    files.erase(files.begin());
}

} // namespace host
