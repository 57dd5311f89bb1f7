// The modules System, StdIn, StdOut and StdErr.
#include "host/framework/files.h"
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/array.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/log.h"
#include "host/runtime/string.h"
#include "host/runtime/value.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace host {

namespace {

ProgramEnvironment& TheEnvironment() {
    static ProgramEnvironment environment;
    return environment;
}

String* BuildUtf8(std::string_view text) { return BuildString(text, ENCODING_UTF8); }

Array* Arguments() {
    Slot array = Value(TheEnvironment().arguments).Detach();
    return array.array;
}

// The arguments as one text, separated by blanks.
String* GetCommandLine(Object*, int32_t) {
    std::string line;
    for (const std::string& argument : TheEnvironment().arguments) {
        if (!line.empty()) line += ' ';
        line += argument;
    }
    return BuildUtf8(line);
}

Object* GetProgramFolder(Object*, int32_t) {
    const std::filesystem::path& program = TheEnvironment().program;
    return NewFolderItem(program.empty() ? "." : program.parent_path()).Detach();
}

Object* GetTemporaryFolder(Object*, int32_t) {
    std::error_code error;
    std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    return NewFolderItem(error ? "/tmp" : folder).Detach();
}

// A new file or folder of a name that nothing else has, for this user alone.
template <bool FOLDER>
Object* NewTemporary() {
    std::error_code error;
    std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    std::string name = ((error ? "/tmp" : folder) / "kova-XXXXXX").native();
    bool isMade = false;
    if (FOLDER) {
        isMade = mkdtemp(name.data()) != nullptr;
    } else {
        int file = mkostemp(name.data(), O_CLOEXEC);
        isMade = file >= 0;
        if (isMade) close(file);
    }
    if (isMade) return NewFolderItem(name).Detach();
    RaiseFileError(name, errno);
    return nullptr;
}

String* EnvironmentVariable(String* name) {
    const char* value = std::getenv(CString(name));
    return value != nullptr ? BuildUtf8(value) : nullptr;
}

Array* LogMessages() {
    Slot array = Value(TakeLogMessages()).Detach();
    return array.array;
}

void Quit(int32_t code) { RaiseNew(END_EXCEPTION, code, {}); }

double Microseconds() {
    std::chrono::duration<double, std::micro> time = std::chrono::steady_clock::now().time_since_epoch();
    return time.count();
}

template <bool ERROR, bool LINE>
void WriteStandard(String* text) {
    std::FILE* stream = ERROR ? stderr : stdout;
    // What was printed before is shown before.
    if (ERROR) std::fflush(stdout);
    // Bytes of unknown encoding are written as they are, text as UTF-8.
    StringRef utf8 =
        text && text->encoding != ENCODING_UNKNOWN ? ConvertString(text, ENCODING_UTF8) : StringRef::Share(text);
    std::string_view bytes = utf8.View();
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    if (LINE) std::putc('\n', stream);
}

void FlushOutput() { std::fflush(stdout); }

String* ReadInputLine() {
    std::fflush(stdout);
    std::string line;
    int next;
    while ((next = std::getc(stdin)) != EOF && next != '\n') line += static_cast<char>(next);
    if (line.ends_with('\r')) line.pop_back();
    return BuildUtf8(line);
}

String* ReadInput() {
    std::string text;
    char buffer[65536];
    for (size_t length; (length = std::fread(buffer, 1, sizeof buffer, stdin)) > 0;) text.append(buffer, length);
    return BuildUtf8(text);
}

int32_t GetInputEnd(Object*, int32_t) {
    std::fflush(stdout);
    int next = std::getc(stdin);
    if (next != EOF) std::ungetc(next, stdin);
    return static_cast<int32_t>(next == EOF);
}

const GlobalFunction FUNCTIONS[] = {
    {"Microseconds() as Double", Native<Microseconds>()},
};

const PropertyDefinition SYSTEM_PROPERTIES[] = {
    ReadOnly("CommandLine", "String", Native<GetCommandLine>()),
    ReadOnly("ProgramFolder", "FolderItem", Native<GetProgramFolder>()),
    ReadOnly("TemporaryFolder", "FolderItem", Native<GetTemporaryFolder>()),
};

const GlobalFunction SYSTEM_FUNCTIONS[] = {
    {"Arguments() as String()", Native<Arguments>()},
    {"EnvironmentVariable(name as String) as String", Native<EnvironmentVariable>()},
    {"NewTemporaryFile() as FolderItem", Native<NewTemporary<false>>()},
    {"NewTemporaryFolder() as FolderItem", Native<NewTemporary<true>>()},
    {"LogMessages() as String()", Native<LogMessages>()},
    {"Quit(code as Integer = 0)", Native<Quit>()},
};

const PropertyDefinition INPUT_PROPERTIES[] = {
    ReadOnly("EOF", "Boolean", Native<GetInputEnd>()),
};

const GlobalFunction INPUT_FUNCTIONS[] = {
    {"ReadLine() as String", Native<ReadInputLine>()},
    {"ReadAll() as String", Native<ReadInput>()},
};

const GlobalFunction OUTPUT_FUNCTIONS[] = {
    {"Write(text as String)", Native<WriteStandard<false, false>>()},
    {"WriteLine(text as String = \"\")", Native<WriteStandard<false, true>>()},
    {"Flush()", Native<FlushOutput>()},
};

const GlobalFunction ERROR_FUNCTIONS[] = {
    {"Write(text as String)", Native<WriteStandard<true, false>>()},
    {"WriteLine(text as String = \"\")", Native<WriteStandard<true, true>>()},
};

} // namespace

void SetProgramEnvironment(ProgramEnvironment environment) {
    environment.program =
        environment.program.empty() ? environment.program : std::filesystem::absolute(environment.program);
    TheEnvironment() = std::move(environment);
}

void RegisterSystem() {
    RegisterFunctions(FUNCTIONS);
    RegisterModuleProperties(SYSTEM_PROPERTIES, "System");
    RegisterFunctions(SYSTEM_FUNCTIONS, "System");
    RegisterModuleProperties(INPUT_PROPERTIES, "StdIn");
    RegisterFunctions(INPUT_FUNCTIONS, "StdIn");
    RegisterFunctions(OUTPUT_FUNCTIONS, "StdOut");
    RegisterFunctions(ERROR_FUNCTIONS, "StdErr");
}

} // namespace host
