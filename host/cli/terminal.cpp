// Colours, diagnostics and the progress line.
#include "host/cli/terminal.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace host {

bool UsesColor(std::FILE* stream) {
    const char* off = std::getenv("NO_COLOR");
    return (isatty(fileno(stream)) != 0) && !((off != nullptr) && (*off != 0));
}

void ShowDiagnostic(const Diagnostic& diagnostic) {
    std::string text = FormatDiagnostic(diagnostic, UsesColor(stderr));
    if (diagnostic.sourceLine.empty()) text.resize(text.find('\n') + 1);
    std::fflush(stdout);
    std::fputs(text.c_str(), stderr);
}

Progress::Progress(std::string text) : text_(std::move(text)) {
    if (isatty(STDERR_FILENO) != 0) thread_ = std::thread([this] { Show(); });
}

Progress::~Progress() {
    if (!thread_.joinable()) return;
    {
        std::lock_guard lock(mutex_);
        isDone_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void Progress::Show() {
    std::unique_lock lock(mutex_);
    for (int seconds = 0;; ++seconds) {
        if (seconds > 0) std::fprintf(stderr, "\r\033[K%s: %d s", text_.c_str(), seconds);
        if (!changed_.wait_for(lock, std::chrono::seconds(1), [this] { return isDone_; })) continue;
        if (seconds > 0) std::fputs("\r\033[K", stderr);
        return;
    }
}

} // namespace host
