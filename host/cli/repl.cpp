// `kova repl`: a dialogue in the language, with editing, history and completion on a terminal.
#include "host/cli/program_session.h"
#include "host/cli/session.h"
#include "host/cli/terminal.h"
#include "host/framework/framework.h"

#include <histedit.h>
#include <kova_version.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>

namespace host {

namespace fs = std::filesystem;

namespace {

// Lines from a terminal with editing, history and completion, or plainly from a pipe.
class LineReader {
public:
    explicit LineReader(Session& session) : session_(session) {
        if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO)) return;
        editor_ = el_init("kova", stdin, stdout, stderr);
        if (editor_ == nullptr) return;
        history_ = history_init();
        HistEvent event;
        history(history_, &event, H_SETSIZE, 1000);
        history(history_, &event, H_SETUNIQUE, 1);
        if (std::optional<fs::path> file = HistoryFile()) history(history_, &event, H_LOAD, file->c_str());
        el_set(editor_, EL_CLIENTDATA, this);
        el_set(editor_, EL_EDITOR, "emacs");
        el_set(editor_, EL_PROMPT, Prompt);
        el_set(editor_, EL_HIST, history, history_);
        el_set(editor_, EL_ADDFN, "kova-complete", "Complete the word", Complete);
        el_set(editor_, EL_BIND, "^I", "kova-complete", nullptr);
    }

    ~LineReader() {
        if (editor_ == nullptr) return;
        HistEvent event;
        if (std::optional<fs::path> file = HistoryFile()) {
            std::error_code error;
            fs::create_directories(file->parent_path(), error);
            history(history_, &event, H_SAVE, file->c_str());
        }
        history_end(history_);
        el_end(editor_);
    }
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    bool IsInteractive() const { return editor_ != nullptr; }

    enum class Status { LINE, INTERRUPTED, END };

    // Reads a line without its end. `isContinuation` chooses the prompt.
    Status Read(std::string& line, bool isContinuation) {
        if (editor_ == nullptr) return std::getline(std::cin, line) ? Status::LINE : Status::END;
        isContinuation_ = isContinuation;
        int length = 0;
        errno = 0;
        const char* text = el_gets(editor_, &length);
        if ((text == nullptr) || length <= 0) {
            std::fputc('\n', stdout);
            bool interrupted = errno == EINTR;
            if (interrupted) el_reset(editor_);
            if (interrupted) ForgetInterrupt();
            return interrupted ? Status::INTERRUPTED : Status::END;
        }
        line.assign(text, static_cast<size_t>(length));
        if (line.ends_with('\n')) line.pop_back();
        HistEvent event;
        if (!line.empty()) history(history_, &event, H_ENTER, line.c_str());
        return Status::LINE;
    }

private:
    static LineReader& Of(EditLine* editor) {
        void* self = nullptr;
        el_get(editor, EL_CLIENTDATA, &self);
        return *static_cast<LineReader*>(self);
    }

    static char* Prompt(EditLine* editor) {
        static char first[] = "> ";
        static char next[] = ". ";
        return Of(editor).isContinuation_ ? next : first;
    }

    // Completes as far as all candidates agree; lists them when that adds nothing.
    static unsigned char Complete(EditLine* editor, int) {
        const LineInfo* info = el_line(editor);
        std::string before(info->buffer, info->cursor);
        Session::Completions found = Of(editor).session_.Complete(before);
        if (found.words.empty()) return CC_ERROR;
        std::string common = found.words.front();
        for (const std::string& word : found.words) {
            size_t length = 0;
            while (length < common.size() && length < word.size() && common[length] == word[length]) ++length;
            common.resize(length);
        }
        if (common.size() > found.wordLength || found.words.size() == 1) {
            el_deletestr(editor, static_cast<int>(found.wordLength));
            el_insertstr(editor, common.c_str());
            return CC_REFRESH;
        }
        std::fputc('\n', stdout);
        for (const std::string& word : found.words) std::printf("%s  ", word.c_str());
        std::fputc('\n', stdout);
        return CC_REDISPLAY;
    }

    static std::optional<fs::path> HistoryFile() {
        if (const char* state = std::getenv("XDG_STATE_HOME"); (state != nullptr) && *state)
            return fs::path(state) / "kova/history";
        if (const char* home = std::getenv("HOME"); (home != nullptr) && *home)
            return fs::path(home) / ".local/state/kova/history";
        return std::nullopt;
    }

    Session& session_;
    EditLine* editor_ = nullptr;
    History* history_ = nullptr;
    bool isContinuation_ = false;
};

// "help XmlNode" as {"XmlNode"}, "help" as {""}; nothing for other entries.
std::optional<std::string> HelpWanted(const std::string& line) {
    std::istringstream words(line);
    std::string first;
    std::string name;
    std::string rest;
    words >> first >> name >> rest;
    bool isHelp = first == "help" && rest.empty() && name != "=" && !name.starts_with('(');
    return isHelp ? std::optional(name) : std::nullopt;
}

} // namespace

int RunRepl(const HostOptions& host) {
    StartHost(host);
    SetProgramEnvironment({});
    RunOptions options;
    options.print = [](std::string_view text) { std::fwrite(text.data(), 1, text.size(), stdout); };
    Session session(options);
    InterruptHandler interrupts;
    LineReader reader(session);
    if (reader.IsInteractive()) std::puts("kova " KOVA_VERSION ". Ctrl-D ends, Tab completes, help NAME explains.");
    int result = EXIT_OK;
    std::string entry;
    for (bool end = false; !end;) {
        std::string line;
        LineReader::Status status = reader.Read(line, !entry.empty());
        if (status == LineReader::Status::INTERRUPTED) {
            entry.clear();
            continue;
        }
        end = status == LineReader::Status::END;
        if (std::optional<std::string> name = end || !entry.empty() ? std::nullopt : HelpWanted(line)) {
            DescribeName(*name);
            continue;
        }
        if (!end) entry += line + "\n";
        if (entry.empty()) continue;
        Session::Result outcome = session.Enter(entry);
        // What is still open at the end of the input is reported as the errors that it is.
        if (outcome.incomplete && !end) continue;
        entry.clear();
        for (const Diagnostic& diagnostic : outcome.diagnostics) ShowDiagnostic(diagnostic);
        if (outcome.incomplete) std::fputs("kova: the input ends inside a block\n", stderr);
        bool failed = outcome.incomplete || (!outcome.run && !outcome.diagnostics.empty());
        if (outcome.run) {
            int code = ReportOutcome(*outcome.run);
            if (outcome.run->exception && outcome.run->exception->className == END_EXCEPTION) return code;
            failed = code != EXIT_OK;
        }
        std::fflush(stdout);
        // A script on standard input fails as a whole; at a terminal an error is part of the dialogue.
        if (failed && !reader.IsInteractive()) result = EXIT_FAILED;
    }
    return result;
}

} // namespace host
