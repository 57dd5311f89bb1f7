// What the commands show on a terminal and nowhere else, and how they show faults.
#pragma once

#include "host/syntax/diagnostic.h"

#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>

namespace host {

// True for a terminal whose user has not switched colours off (https://no-color.org).
bool UsesColor(std::FILE* stream);

// Writes "FILE:LINE:COLUMN: error: MESSAGE", the source line and a caret to standard error.
void ShowDiagnostic(const Diagnostic& diagnostic);

// While it lives, a line on standard error says what is being done and for how long, from the first second on. Only on
// a terminal.
class Progress {
public:
    explicit Progress(std::string text);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void Show();

    std::string text_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isDone_ = false;
    std::thread thread_;
};

} // namespace host
