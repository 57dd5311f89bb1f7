// A function run in a process of its own, for what happens once in a process or may end it.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <functional>
#include <string>

struct ChildResult {
    int status; // as of waitpid: 0 when the function returned
    std::string output;
};

// The result of the function is the child's output, or what an exception says.
inline ChildResult RunInChild(const std::function<std::string()>& function) {
    int ends[2];
    if (pipe(ends) != 0) return {-1, "pipe failed"};
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        std::string output;
        try {
            output = function();
        } catch (const std::exception& exception) {
            output = exception.what();
        }
        const bool written = write(ends[1], output.data(), output.size()) == static_cast<ssize_t>(output.size());
        _exit(written ? 0 : 1); // without the checks at exit, which are the parent's
    }
    close(ends[1]);
    ChildResult result{};
    char buffer[4096];
    for (ssize_t count; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
        result.output.append(buffer, static_cast<size_t>(count));
    close(ends[0]);
    waitpid(child, &result.status, 0);
    return result;
}
