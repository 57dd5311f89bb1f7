// Shell: runs other commands of the machine.
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/array.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace host {

namespace {

struct ShellData {
    StringRef result;
    StringRef errors;
    int32_t exitCode = 0;

    static ClassDefinition& Record();
};

// One end of a connection to the command.
class End {
public:
    ~End() { Close(); }
    void Close() {
        if (file >= 0) close(file);
        file = -1;
    }
    int file = -1;
};

struct Connection {
    End ours;
    End theirs;

    // Sockets, so that writing to a command that has gone raises no signal.
    bool Open() {
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) return false;
        ours.file = ends[0];
        theirs.file = ends[1];
        return true;
    }
};

struct Connections {
    Connection input;
    Connection output;
    Connection errors;
};

int Start(std::vector<char*>& words, Connections& to, pid_t& child) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, to.input.theirs.file, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, to.output.theirs.file, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, to.errors.theirs.file, STDERR_FILENO);
    int error = posix_spawnp(&child, words[0], &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    for (Connection* connection : {&to.input, &to.output, &to.errors}) connection->theirs.Close();
    return error;
}

// Reads what has come; at its end the file is closed.
void Receive(End& end, std::string& text) {
    std::array<char, 65536> buffer;
    ssize_t count = read(end.file, buffer.data(), buffer.size());
    if (count > 0)
        text.append(buffer.data(), static_cast<size_t>(count));
    else if (count == 0 || errno != EINTR)
        end.Close();
}

void Send(End& end, std::string_view& rest) {
    ssize_t count = send(end.file, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    bool isLost = count < 0 && errno != EAGAIN && errno != EINTR;
    if (count > 0) rest.remove_prefix(static_cast<size_t>(count));
    if (isLost || rest.empty()) end.Close();
}

// Writes and reads whatever is ready until the command has said everything.
void Talk(Connections& to, std::string_view input, std::string& output, std::string& errors) {
    if (input.empty()) to.input.ours.Close();
    while (to.output.ours.file >= 0 || to.errors.ours.file >= 0) {
        std::array<pollfd, 3> files{
            {{to.output.ours.file, POLLIN, 0}, {to.errors.ours.file, POLLIN, 0}, {to.input.ours.file, POLLOUT, 0}}};
        if (poll(files.data(), files.size(), -1) < 0) continue;
        if (files[0].revents != 0) Receive(to.output.ours, output);
        if (files[1].revents != 0) Receive(to.errors.ours, errors);
        if (files[2].revents != 0) Send(to.input.ours, input);
    }
}

// The command is looked for in the folders of PATH. Its arguments reach it as they are: no shell reads them.
void Execute(Object* self, String* command, Array* arguments, String* input) {
    std::vector<char*> words{const_cast<char*>(CString(command))};
    for (int32_t i = 0; arguments != nullptr && i < arguments->count; ++i) {
        words.push_back(const_cast<char*>(CString(arguments->Strings()[i])));
    }
    words.push_back(nullptr);
    // What was printed before is shown before.
    std::fflush(stdout);
    Connections to;
    pid_t child = 0;
    bool isOpen = to.input.Open() && to.output.Open() && to.errors.Open();
    int error = isOpen ? Start(words, to, child) : errno;
    if (error != 0) {
        RaiseNew("IOException", error, std::string(words[0]) + ": " + std::strerror(error));
        return;
    }
    std::string output;
    std::string errors;
    Talk(to, StringView(input), output, errors);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    auto& data = DataOf<ShellData>(self);
    data.result = StringRef::Adopt(BuildString(output, ENCODING_UTF8));
    data.errors = StringRef::Adopt(BuildString(errors, ENCODING_UTF8));
    data.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

String* GetResult(Object* self, int32_t) { return StringRef(DataOf<ShellData>(self).result).Detach(); }
String* GetErrors(Object* self, int32_t) { return StringRef(DataOf<ShellData>(self).errors).Detach(); }
int32_t GetExitCode(Object* self, int32_t) { return DataOf<ShellData>(self).exitCode; }

const PropertyDefinition PROPERTIES[] = {
    ReadOnly("Result", "String", Native<GetResult>()),
    ReadOnly("Errors", "String", Native<GetErrors>()),
    ReadOnly("ExitCode", "Integer", Native<GetExitCode>()),
};

const MethodDefinition METHODS[] = {
    Member("Execute(command as String, arguments() as String, input as String = \"\")", Native<Execute>()),
};

ClassDefinition& ShellData::Record() {
    static ClassDefinition record = ClassRecordOf<ShellData>("Shell", PROPERTIES, METHODS);
    return record;
}

} // namespace

void RegisterShell() { RegisterClass(ShellData::Record()); }

} // namespace host
