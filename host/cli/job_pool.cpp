// Forks, waits, counts.
#include "host/cli/job_pool.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

namespace host {

namespace fs = std::filesystem;

namespace {

class Count {
public:
    explicit Count(size_t total) : total_(total) {}
    ~Count() {
        if (isShown_) std::fputs("\r\033[K", stderr);
    }
    Count(const Count&) = delete;
    Count& operator=(const Count&) = delete;

    void Show(size_t done) {
        bool isSoon = std::chrono::steady_clock::now() - start_ < std::chrono::seconds(1);
        if (isSoon || isatty(STDERR_FILENO) == 0) return;
        isShown_ = true;
        std::fprintf(stderr, "\r\033[K%zu of %zu", done, total_);
    }

private:
    size_t total_;
    bool isShown_ = false;
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (fs::temp_directory_path() / "kova-XXXXXX").native();
    if (mkdtemp(pattern.data()) == nullptr)
        throw fs::filesystem_error("", pattern, std::error_code(errno, std::generic_category()));
    path_ = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    fs::remove_all(path_, error);
}

void RunJobs(const Jobs& jobs) {
    size_t atOnce = jobs.atOnce > 0 ? jobs.atOnce : std::max(1U, std::thread::hardware_concurrency());
    size_t wanted = jobs.count;
    std::map<pid_t, size_t> running;
    Count count(jobs.count);
    for (size_t started = 0; started < wanted || !running.empty();) {
        if (started < wanted && running.size() < atOnce) {
            std::fflush(stdout);
            std::fflush(stderr);
            pid_t child = fork();
            if (child < 0) throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
            if (child == 0) std::exit(jobs.work(started));
            running[child] = started++;
            continue;
        }
        int status = 0;
        auto ended = running.find(waitpid(-1, &status, 0));
        if (ended == running.end()) continue;
        size_t index = ended->second;
        running.erase(ended);
        count.Show(started - running.size());
        if (!jobs.ended(index, status)) wanted = started;
    }
}

} // namespace host
