// `kova events`: native handlers on the events of XmlReader. No interpreter is involved, so that --quiet measures the
// reader and the boundary alone.
#include "host/cli/event_text.h"
#include "host/cli/session.h"
#include "host/cli/terminal.h"
#include "host/runtime/class_program.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/encoding.h"
#include "host/runtime/string.h"
#include "host/runtime/utf8.h"
#include "host/syntax/names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

namespace host {

namespace {

constexpr size_t CHUNK_SIZE = 256 * 1024;
constexpr size_t OUTPUT_SIZE = 64 * 1024;
constexpr off_t PROGRESS_SIZE = 16 * 1024 * 1024; // smaller files are done before anyone would look

// Number of events of XmlReader.
constexpr size_t EVENT_COUNT = 22;

// A content model as the declaration writes it, e.g. (title, (para | list)*).
void AppendModel(std::string& out, const ObjectRef& model, int depth) {
    constexpr std::array<const char*, 4> QUANTIFIERS = {"", "?", "*", "+"};
    constexpr int EMPTY = 1;
    constexpr int ANY = 2;
    constexpr int MIXED = 3;
    constexpr int NAME = 4;
    constexpr int CHOICE = 5;
    constexpr int DEEPEST = 200; // a deeper one is cut, to bound the recursion
    int32_t type = GetProperty(model, "Type").Integer();
    int32_t children = GetProperty(model, "NumChildren").Integer();
    auto quantifier = static_cast<uint32_t>(GetProperty(model, "Quant").Integer());
    if (type == EMPTY) {
        out += "EMPTY";
    } else if (type == ANY) {
        out += "ANY";
    } else if (type == NAME) {
        out += GetProperty(model, "Name").Text();
    } else if (depth == DEEPEST) {
        out += "(...)";
    } else {
        out += type == MIXED ? "(#PCDATA" : "(";
        for (int32_t i = 0; i < children; ++i) {
            if (i > 0 || type == MIXED) out += type == MIXED || type == CHOICE ? " | " : ", ";
            AppendModel(out, Call(model, "Child", {i}).GetObject(), depth + 1);
        }
        out += ')';
    }
    if (quantifier < QUANTIFIERS.size()) out += QUANTIFIERS[quantifier];
}

class EventReport {
public:
    explicit EventReport(bool quiet) : quiet_(quiet) {}

    // Only the first StartDocument and the last EndDocument are the document's; the others mark chunks.
    bool first = true;
    bool last = false;

    template <size_t EVENT, typename... Arguments>
    void Count(Arguments... arguments) {
        ++counts_[EVENT];
        if (!quiet_) Print(*events_[EVENT], arguments...);
    }

    void SetEvent(size_t index, const Event* event) { events_[index] = event; }

    void Flush() {
        std::fwrite(out_.data(), 1, out_.size(), stdout);
        out_.clear();
    }

    void PrintTotals(double seconds, uint64_t bytes) {
        if (!quiet_) out_ += '\n';
        uint64_t total = 0;
        std::array<char, 128> line;
        for (size_t i = 0; i < EVENT_COUNT; ++i) {
            total += counts_[i];
            if (counts_[i] == 0) continue;
            std::snprintf(line.data(), line.size(), "%10llu  %s\n", static_cast<unsigned long long>(counts_[i]),
                          events_[i]->signature.name.c_str());
            out_ += line.data();
        }
        std::snprintf(line.data(), line.size(), "%10llu  events in %.0f ms (%.1f MB/s)\n",
                      static_cast<unsigned long long>(total), seconds * 1000,
                      static_cast<double>(bytes) / 1e6 / std::max(seconds, 1e-6));
        out_ += line.data();
        Flush();
    }

private:
    template <typename... Arguments>
    void Print(const Event& event, Arguments... arguments) {
        out_ += event.signature.name;
        [[maybe_unused]] size_t index = 0;
        (PrintArgument(event.signature.parameters[index++].name, arguments), ...);
        out_ += '\n';
        if (out_.size() >= OUTPUT_SIZE) Flush();
    }

    void PrintName(const std::string& name) {
        out_ += ' ';
        out_ += name;
        out_ += '=';
    }

    void PrintArgument(const std::string& name, String* text) {
        PrintName(name);
        if (text != nullptr)
            AppendQuoted(out_, text->View());
        else
            out_ += "nil";
    }

    // A Boolean; other words than 0 and 1 are shown as they are.
    void PrintArgument(const std::string& name, int32_t flag) {
        PrintName(name);
        out_ += flag == 0 ? "False" : flag == 1 ? "True" : std::to_string(flag);
    }

    void PrintArgument(const std::string& name, Object* object) {
        PrintName(name);
        ObjectRef value = ObjectRef::Share(object);
        if (!value) {
            out_ += "nil";
        } else if (SameName(object->cls->name, "XmlAttributeList")) {
            AppendAttributes(out_, value);
        } else {
            AppendModel(out_, value, 0);
        }
    }

    bool quiet_;
    std::array<uint64_t, EVENT_COUNT> counts_{};
    std::array<const Event*, EVENT_COUNT> events_{};
    std::string out_;
};

// The report of the one command that runs; the handlers have no other way to it.
EventReport* running;

template <size_t EVENT, typename Result, typename... Arguments>
Result Handle(Object*, Arguments... arguments) {
    // Nothing may be thrown through the parser.
    try {
        running->Count<EVENT>(arguments...);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kova: %s\n", error.what());
    }
    // Documents that are not standalone are accepted, and external entities passed over.
    if constexpr (!std::is_void_v<Result>) return 1;
}

void HandleStart(Object* self) {
    if (running->first) Handle<0, void>(self);
}

void HandleEnd(Object* self) {
    if (running->last) Handle<1, void>(self);
}

struct Row {
    const char* name;
    void* function;
};

template <typename Result, typename... Arguments>
void* Native(Result (*function)(Object*, Arguments...)) {
    return reinterpret_cast<void*>(function);
}

const std::array<Row, EVENT_COUNT> HANDLERS = {{
    {"StartDocument", Native(HandleStart)},
    {"EndDocument", Native(HandleEnd)},
    {"StartPrefixMapping", Native(Handle<2, void, String*, String*>)},
    {"EndPrefixMapping", Native(Handle<3, void, String*>)},
    {"StartElement", Native(Handle<4, void, String*, Object*>)},
    {"EndElement", Native(Handle<5, void, String*>)},
    {"Characters", Native(Handle<6, void, String*>)},
    {"ProcessingInstruction", Native(Handle<7, void, String*, String*>)},
    {"Comment", Native(Handle<8, void, String*>)},
    {"StartCDATA", Native(Handle<9, void>)},
    {"EndCDATA", Native(Handle<10, void>)},
    {"StartDoctypeDecl", Native(Handle<11, void, String*, String*, String*, int32_t>)},
    {"EndDoctypeDecl", Native(Handle<12, void>)},
    {"EntityDecl", Native(Handle<13, void, String*, int32_t, String*, String*, String*, String*, String*>)},
    {"NotationDecl", Native(Handle<14, void, String*, String*, String*, String*>)},
    {"ElementDecl", Native(Handle<15, void, String*, Object*>)},
    {"AttlistDecl", Native(Handle<16, void, String*, String*, String*, String*, int32_t>)},
    {"XmlDecl", Native(Handle<17, void, String*, String*, int32_t>)},
    {"NotStandalone", Native(Handle<18, int32_t>)},
    {"ExternalEntityRef", Native(Handle<19, int32_t, String*, String*, String*, String*>)},
    {"SkippedEntity", Native(Handle<20, void, String*, int32_t>)},
    {"Default", Native(Handle<21, void, String*>)},
}};

// A file, or standard input for "-", read in chunks, with the share that is done shown on a terminal while nothing else
// is.
class ChunkedFile {
public:
    ChunkedFile(const std::filesystem::path& path, bool showProgress) : path_(path == "-" ? "<stdin>" : path) {
        file_ = path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC);
        struct stat status {};
        if (file_ < 0 || fstat(file_, &status) != 0) Fail();
        if (S_ISREG(status.st_mode)) size_ = status.st_size;
        showProgress_ = showProgress && size_ >= PROGRESS_SIZE && (isatty(STDERR_FILENO) != 0);
    }
    ~ChunkedFile() {
        if (file_ >= 0) close(file_);
        if (shown_) std::fputs("\r\033[K", stderr);
    }
    ChunkedFile(const ChunkedFile&) = delete;
    ChunkedFile& operator=(const ChunkedFile&) = delete;

    // The next chunk, empty at the end of the file.
    std::string_view Read() {
        size_t length = 0;
        while (length < buffer_.size()) {
            ssize_t count = read(file_, buffer_.data() + length, buffer_.size() - length);
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) Fail();
            if (count == 0) break;
            length += static_cast<size_t>(count);
        }
        total_ += length;
        if (showProgress_) ShowProgress();
        return {buffer_.data(), length};
    }

    // A line of what was read, without its end; empty when it cannot be read once more.
    std::string Line(uint32_t number) const {
        if (size_ == 0) return {};
        std::ifstream text("/proc/self/fd/" + std::to_string(file_)); // the same file, whatever has its name now
        std::string line;
        while (number > 0 && std::getline(text, line)) --number;
        if (line.ends_with('\r')) line.pop_back();
        return number == 0 && IsValidUTF8(line) ? line : std::string();
    }

    const std::filesystem::path& Path() const { return path_; }
    bool AtEnd() const { return size_ > 0 && total_ >= static_cast<uint64_t>(size_); }
    uint64_t Total() const { return total_; }

private:
    [[noreturn]] void Fail() const { throw std::runtime_error(path_.native() + ": " + std::strerror(errno)); }

    void ShowProgress() {
        auto percent = static_cast<int>(total_ * 100 / static_cast<uint64_t>(size_));
        if (percent == percent_) return;
        percent_ = percent;
        shown_ = true;
        std::fprintf(stderr, "\r%3d %%", percent);
    }

    std::filesystem::path path_;
    int file_ = -1;
    off_t size_ = 0;
    uint64_t total_ = 0;
    bool showProgress_ = false;
    bool shown_ = false;
    int percent_ = -1;
    std::vector<char> buffer_ = std::vector<char>(CHUNK_SIZE);
};

ObjectRef CreateReader(const HandlerClass& readerClass, const EventsCommandOptions& options) {
    if (options.separator)
        return readerClass.Create({options.encoding.value_or("UTF-8"), *options.separator},
                                  "Constructor(xmlEncoding as String, namespaceSeparator as String)");
    if (options.encoding) return readerClass.Create({*options.encoding}, "Constructor(xmlEncoding as String)");
    return readerClass.Create({}, "Constructor()");
}

void Feed(const ObjectRef& reader, ChunkedFile& file) {
    const Method* parse = reader.Get()->cls->FindMethod(ParseSignature("Parse(s as String, isFinal as Boolean)"));
    if (parse == nullptr) throw DefinitionError("XmlReader has no Parse(s as String, isFinal as Boolean)");
    while (!running->last) {
        std::string_view chunk = file.Read();
        running->last = file.AtEnd() || chunk.size() < CHUNK_SIZE;
        StringRef text = StringRef::Adopt(BuildString(chunk, ENCODING_UTF8));
        std::array<Slot, 3> arguments{};
        arguments[0].object = reader.Get();
        arguments[1].string = text.Get();
        arguments[2].integer = static_cast<int32_t>(running->last);
        Slot result;
        CallNative(parse->shape, parse->function, arguments.data(), &result);
        running->first = false;
        ThrowPending();
    }
}

} // namespace

int ShowEvents(const HostOptions& host, const EventsCommandOptions& options) {
    ChunkedFile file(options.file, options.quiet || (isatty(STDOUT_FILENO) == 0));
    StartHost(host);
    EventReport events(options.quiet);
    running = &events;
    HandlerClass readerClass("XmlReader");
    for (size_t i = 0; i < HANDLERS.size(); ++i) {
        const Event* event = readerClass.Get()->FindEvent(HANDLERS[i].name);
        if (event == nullptr) throw DefinitionError(std::string("XmlReader has no event ") + HANDLERS[i].name);
        events.SetEvent(i, event);
        SetEventHandler(readerClass.Get(), event, HANDLERS[i].function);
    }
    ObjectRef reader = CreateReader(readerClass, options);
    auto start = std::chrono::steady_clock::now();
    try {
        Feed(reader, file);
    } catch (const ProgramException& error) {
        events.Flush();
        Diagnostic fault;
        fault.file = file.Path();
        fault.line = static_cast<uint32_t>(GetProperty(error.exception, "CurrentLineNumber").Integer());
        fault.column = static_cast<uint32_t>(GetProperty(error.exception, "CurrentColumnNumber").Integer()) + 1;
        fault.message =
            error.message.empty() ? "the parser reports error " + std::to_string(error.number) : error.message;
        fault.sourceLine = file.Line(fault.line);
        ShowDiagnostic(fault);
        return EXIT_FAILED;
    }
    std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    events.PrintTotals(time.count(), file.Total());
    return EXIT_OK;
}

} // namespace host
