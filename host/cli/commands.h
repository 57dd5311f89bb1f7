// The commands of `kova`, one function each. All return the exit code of the process.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace host {

// Exit codes, as users of the command line expect them.
constexpr int EXIT_OK = 0;
constexpr int EXIT_FAILED = 1;        // the program, the document or a test failed
constexpr int EXIT_USAGE = 2;         // the command line is wrong
constexpr int EXIT_TIME_LIMIT = 124;  // as timeout(1)
constexpr int EXIT_INTERRUPTED = 130; // as a shell reports a process that SIGINT ended

// A fault of the command line found after parsing it: reported with EXIT_USAGE.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Runs the command that the arguments name.
int RunCommandLine(int argc, char** argv);

// What all commands that load the plug-in share.
struct HostOptions {
    std::vector<std::string> plugins; // paths of bundles; empty means the one that belongs to this command
    std::vector<std::string> without; // services to withhold
    std::filesystem::path readBelow;  // the folder whose files stylesheets may read; empty means all files
};

// What a program may need; 0 for no limit.
struct ProgramLimits {
    double seconds = 0;
    double megabytes = 0;
};

struct RunCommandOptions {
    std::filesystem::path program;
    std::vector<std::string> arguments; // with `each` the files, one for each run
    bool each = false;
    int jobs = 0; // of `each`, at once; 0: one for each processor
    bool reportLeaks = false;
    bool profile = false;
    ProgramLimits limits;
};

struct CheckCommandOptions {
    std::vector<std::string> files; // programs and XML files; "-" is XML on standard input
    bool xml = false;               // all are XML, whatever their names
    bool ownDocumentType = false;   // validate by what the document's DOCTYPE names
    std::string dtd;                // files to validate by; empty for none
    std::string schema;
    std::string relaxNg;
};

struct TestCommandOptions {
    std::filesystem::path folder;
    std::string filter; // part of a program's name
    std::filesystem::path leakList;
    std::filesystem::path data; // what programs find as the environment variable KOVA_DATA
    bool update = false;
    int jobs = 0;                                        // 0: one for each processor
    ProgramLimits limits{.seconds = 60, .megabytes = 0}; // of each program
};

struct EventsCommandOptions {
    std::filesystem::path file;
    std::optional<std::string> encoding;
    std::optional<std::string> separator; // switches namespace processing on
    bool quiet = false;
};

struct XqlCommandOptions {
    std::vector<std::string> files; // "-" is standard input; none is too
    std::string query;
    std::vector<std::pair<std::string, std::string>> namespaces; // prefix, URI
    bool count = false;
    bool text = false;
    bool json = false;
};

struct FormatCommandOptions {
    std::vector<std::string> files;
    int indent = 2;
    bool canonical = false;
    bool inPlace = false;
    bool check = false; // tell which files would change
};

struct Edit {
    enum class Kind { SET, DELETE, APPEND };
    Kind kind;
    std::string query;
    std::string value; // text or markup
};

struct EditCommandOptions {
    std::vector<std::string> files;
    std::vector<Edit> edits;                                     // in this order
    std::vector<std::pair<std::string, std::string>> namespaces; // prefix, URI
    std::string output;                                          // empty: the file itself
};

struct ViewCommandOptions {
    std::string file;
    std::string query;                                           // marks what it finds; may be empty
    std::vector<std::pair<std::string, std::string>> namespaces; // prefix, URI
    std::string output;                                          // empty: standard output
};

struct TransformCommandOptions {
    std::vector<std::string> files; // "-" is standard input; none is too
    std::string stylesheet;
    std::vector<std::pair<std::string, std::string>> parameters; // name, value
    std::string output;                                          // empty: standard output
    bool events = false;
};

int RunProgram(const HostOptions& host, const RunCommandOptions& options);
int RunEach(const HostOptions& host, const RunCommandOptions& options);
int Check(const HostOptions& host, const CheckCommandOptions& options);
int RunRepl(const HostOptions& host);
int Describe(const HostOptions& host, const std::string& name);
int DescribeName(const std::string& name); // with the host started
int RunLanguageServer(const HostOptions& host);
int WriteSyntaxFiles(const HostOptions& host, const std::string& folder);
int RunTests(const HostOptions& host, const TestCommandOptions& options);
int ShowEvents(const HostOptions& host, const EventsCommandOptions& options);
int Query(XqlCommandOptions options);
int Format(const FormatCommandOptions& options);
int EditFiles(const EditCommandOptions& options);
int View(const ViewCommandOptions& options);
int Transform(const HostOptions& host, TransformCommandOptions options);

} // namespace host
