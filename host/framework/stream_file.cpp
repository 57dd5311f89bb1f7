// The open file of a stream, and the way a new file takes the place of an old one.
#include "host/framework/stream_file.h"

#include "host/framework/files.h"
#include "host/runtime/exception.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <new>
#include <system_error>
#include <utility>

namespace host {

namespace {

namespace fs = std::filesystem;

constexpr int MAX_LINKS = 40; // as the system follows them

// Asking a file how much is left costs more than having room for this much.
constexpr size_t ROOM_WITHOUT_ASKING = 65536;

// The file that a path stands for, links followed; empty for one that is written where it is: a device, a pipe, an open
// file of this process, or what cannot be examined.
fs::path ReplaceableFile(const fs::path& path, struct stat& status, bool& exists) {
    exists = stat(path.c_str(), &status) == 0;
    if (exists ? !S_ISREG(status.st_mode) : errno != ENOENT) return {};
    fs::path file = path;
    std::error_code error;
    for (int i = 0; i < MAX_LINKS; ++i) {
        file = fs::canonical(file.parent_path(), error) / file.filename();
        if (error || file.native().starts_with("/proc/")) return {};
        fs::path next = fs::read_symlink(file, error);
        if (error) return file; // no link
        file = next.is_absolute() ? next : file.parent_path() / next;
    }
    return {};
}

// The descriptor of this process that a path such as /dev/stdout names; -1 for another path.
int NamedDescriptor(const fs::path& path) {
    if (path == "/dev/stdout") return STDOUT_FILENO;
    if (path == "/dev/stderr") return STDERR_FILENO;
    const fs::path folder = path.parent_path();
    if (folder != "/dev/fd" && folder != "/proc/self/fd") return -1;
    const std::string name = path.filename();
    int number = -1;
    auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    return error == std::errc() && end == name.data() + name.size() ? number : -1;
}

// A name for a file in a folder that has none yet.
fs::path FreshName(const fs::path& folder) {
    static unsigned count = 0;
    return folder / (".kova-" + std::to_string(getpid()) + "-" + std::to_string(++count));
}

int OpenFresh(const fs::path& folder, int mode, fs::path& name) {
    for (;;) {
        name = FreshName(folder);
        int descriptor = open(name.c_str(), mode | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor >= 0 || errno != EEXIST) return descriptor;
    }
}

// Gives the open file a name in the folder. One opened with O_TMPFILE has none, and leaves nothing when the process is
// killed. false with errno set.
bool LinkFresh(int descriptor, const fs::path& folder, fs::path& name) {
    const std::string open = "/proc/self/fd/" + std::to_string(descriptor);
    do {
        name = FreshName(folder);
        if (linkat(AT_FDCWD, open.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
    } while (errno == EEXIST);
    name.clear();
    return false;
}

} // namespace

StreamFile::~StreamFile() {
    if (file_ == nullptr) return;
    try {
        if (!IsProgramFailing() && error_ == 0) Close();
    } catch (const std::bad_alloc&) {
        RaiseOutOfMemory();
    }
    if (file_ != nullptr) Discard();
}

bool StreamFile::Open(const std::string& path, const char* mode) {
    path_ = path;
    file_ = std::fopen(path.c_str(), mode);
    struct stat status {};
    // A folder can be opened for reading, but not read.
    if (file_ != nullptr && fstat(fileno(file_), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(std::exchange(file_, nullptr));
        errno = EISDIR;
    }
    isRegular_ = file_ != nullptr && S_ISREG(status.st_mode);
    if (file_ == nullptr) RaiseFileError(path, errno);
    return file_ != nullptr;
}

bool StreamFile::Create(const fs::path& path, bool isReadable) {
    // An open file goes on where it is; opened anew it would be written over from its start.
    if (const int named = NamedDescriptor(path); named >= 0) {
        std::fflush(stdout);
        path_ = path;
        const int descriptor = fcntl(named, F_DUPFD_CLOEXEC, 0);
        if (descriptor >= 0) file_ = fdopen(descriptor, isReadable ? "w+" : "w");
        if (file_ != nullptr) return true;
        RaiseFileError(path, errno);
        if (descriptor >= 0) close(descriptor);
        return false;
    }
    struct stat old {};
    bool exists = false;
    const fs::path target = ReplaceableFile(path, old, exists);
    if (target.empty() || (exists && access(path.c_str(), W_OK) != 0)
        || !OpenBeside(target, exists ? &old : nullptr, isReadable))
        return Open(path, isReadable ? "w+e" : "we");
    path_ = path;
    return true;
}

// false when the folder takes no new file or the old one's owner cannot be kept: then it is written in place.
bool StreamFile::OpenBeside(const fs::path& target, const struct stat* old, bool isReadable) {
    const int mode = isReadable ? O_RDWR : O_WRONLY;
    const fs::path folder = target.parent_path();
    if (access(folder.c_str(), W_OK | X_OK) != 0) return false;
    int descriptor = open(folder.c_str(), mode | O_TMPFILE | O_CLOEXEC, 0666);
    if (descriptor < 0) descriptor = OpenFresh(folder, mode, temporary_);
    if (descriptor < 0) return false;
    struct stat made {};
    bool isLike = old == nullptr || fstat(descriptor, &made) == 0;
    if (old != nullptr && isLike && (made.st_uid != old->st_uid || made.st_gid != old->st_gid))
        isLike = fchown(descriptor, old->st_uid, old->st_gid) == 0;
    if (old != nullptr && isLike) isLike = fchmod(descriptor, old->st_mode & 07777) == 0;
    if (isLike) file_ = fdopen(descriptor, isReadable ? "w+" : "w");
    if (file_ != nullptr) {
        target_ = target;
        return true;
    }
    close(descriptor);
    if (!temporary_.empty()) unlink(temporary_.c_str());
    temporary_.clear();
    return false;
}

void StreamFile::Close() {
    if (file_ == nullptr) return;
    if (error_ == 0 && std::fflush(file_) != 0) error_ = errno;
    if (error_ == 0 && !target_.empty()) error_ = Replace();
    if (error_ != 0)
        Discard();
    else if (std::fclose(std::exchange(file_, nullptr)) != 0)
        error_ = errno;
    if (error_ != 0) RaiseFileError(path_, std::exchange(error_, 0));
}

// 0, or the error number.
int StreamFile::Replace() {
    // A rename may reach the disk before what was written does. Where that cannot be waited for, it is not.
    if (fsync(fileno(file_)) != 0 && errno != EINVAL) return errno;
    if (temporary_.empty() && !LinkFresh(fileno(file_), target_.parent_path(), temporary_)) return errno;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) return errno;
    temporary_.clear();
    return 0;
}

void StreamFile::Discard() {
    // What stdio still holds must not be written to a file that is written in place either, but there is no way to
    // keep it from it.
    std::fclose(std::exchange(file_, nullptr));
    if (!temporary_.empty()) unlink(temporary_.c_str());
    temporary_.clear();
}

std::FILE* StreamFile::Get() const {
    if (file_ == nullptr) RaiseFileError(path_, EBADF);
    return file_;
}

void StreamFile::RaiseIf(bool failed) {
    if (!failed) return;
    RaiseFileError(path_, errno);
    std::clearerr(file_);
}

void StreamFile::Write(std::string_view bytes) {
    std::FILE* file = Get();
    if (file == nullptr) return;
    const bool failed = std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size();
    if (failed && !target_.empty()) error_ = errno;
    RaiseIf(failed);
}

void StreamFile::Flush() {
    std::FILE* file = Get();
    if (file == nullptr) return;
    const bool failed = std::fflush(file) != 0;
    if (failed && !target_.empty()) error_ = errno;
    RaiseIf(failed);
}

int64_t StreamFile::Remaining() const {
    off_t position = ftello(file_);
    if (position < 0) return 0;
    if (isAhead_) return static_cast<int64_t>(ahead_.size()) - position;
    struct stat status {};
    if (fstat(fileno(file_), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return std::max<off_t>(status.st_size - position, 0);
}

bool StreamFile::ReadAhead() {
    std::string text;
    char buffer[65536];
    for (size_t length; (length = std::fread(buffer, 1, sizeof buffer, file_)) > 0;) text.append(buffer, length);
    if (std::ferror(file_) != 0) {
        RaiseIf(true);
        return false;
    }
    ahead_ = std::move(text);
    // An empty one cannot be opened; a file at its end reads as if empty.
    std::FILE* memory = ahead_.empty() ? nullptr : fmemopen(ahead_.data(), ahead_.size(), "r");
    if (memory != nullptr) std::fclose(std::exchange(file_, memory));
    isAhead_ = memory != nullptr;
    return true;
}

int64_t StreamFile::Length() {
    std::FILE* file = Get();
    if (file == nullptr) return 0;
    if (isAhead_) return static_cast<int64_t>(ahead_.size());
    struct stat status {};
    if (std::fflush(file) != 0 || fstat(fileno(file), &status) != 0) return 0;
    if (S_ISREG(status.st_mode)) return status.st_size;
    if ((fcntl(fileno(file), F_GETFL) & O_ACCMODE) == O_WRONLY || !ReadAhead()) return 0;
    return static_cast<int64_t>(ahead_.size());
}

String* StreamFile::Read(size_t count, uint32_t encoding) {
    std::FILE* file = Get();
    if (file == nullptr) return nullptr;
    if (count > ROOM_WITHOUT_ASKING || !isRegular_) {
        if (int64_t rest = Remaining(); rest > 0) count = static_cast<size_t>(std::min<int64_t>(rest, count));
    }
    StringRef text = StringRef::Adopt(AllocateString(count, encoding));
    if (!text) return nullptr;
    size_t length = count > 0 ? std::fread(text.Get()->bytes, 1, count, file) : 0;
    RaiseIf(std::ferror(file) != 0);
    if (length == count) return text.Detach();
    if (isRegular_ && length > 0) std::clearerr(file); // it may grow
    return BuildString(text.View().substr(0, length), encoding);
}

String* StreamFile::ReadRest(uint32_t encoding) {
    std::FILE* file = Get();
    if (file == nullptr) return nullptr;
    if (Remaining() == 0 && !isAhead_ && !ReadAhead()) return nullptr;
    return Read(static_cast<size_t>(std::min<int64_t>(Remaining(), INT32_MAX)), encoding);
}

} // namespace host
