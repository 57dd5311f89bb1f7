// Work in processes of their own, several at once.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>

namespace host {

// A folder that goes with this object, with all it holds.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return path_; }

private:
    std::filesystem::path path_;
};

struct Jobs {
    size_t count = 0;
    size_t atOnce = 0; // 0: one for each processor
    // In a process of its own, forked from this one: does the work and answers its exit code.
    std::function<int(size_t index)> work;
    // In this process, in the order in which they end; the status is that of waitpid. False starts no further ones.
    std::function<bool(size_t index, int status)> ended;
};

// Runs all jobs. After a second, a terminal on standard error shows how many are done.
void RunJobs(const Jobs& jobs);

} // namespace host
