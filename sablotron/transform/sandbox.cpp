// Loading of arguments and files, and nothing else.
#include "sablotron/transform/sandbox.h"

#include "sablotron/transform/modules.h"
#include "sablotron/tree/document.h"
#include "sablotron/tree/parse.h"

#include <fcntl.h>
#include <libxml/parserInternals.h>
#include <libxml/uri.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdlib>
#include <optional>
#include <utility>

namespace sablot {
namespace {

constexpr size_t MAX_INSTRUCTION_DEPTH = 3000;    // libxslt looks at what is around each instruction
constexpr unsigned MAX_MODULE_LOADS = 32;         // of one module by one stylesheet
constexpr size_t MAX_FILE_SIZE = size_t{1} << 29; // bytes; the whole text is held in memory

// The folder below which files may be read, if the process was given one.
const char* ReadableFolder() { return std::getenv("KOVA_READ_BELOW"); }

// Whether an open file stands below the folder, whatever links and ".." led there.
bool IsBelow(int file, const char* folder) {
    std::array<char, PATH_MAX> real{};
    std::array<char, PATH_MAX> path{};
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    if (realpath(folder, real.data()) == nullptr || readlink(link.c_str(), path.data(), path.size() - 1) < 0)
        return false;
    std::string prefix = real.data();
    if (prefix != "/") prefix += '/';
    return std::string_view(path.data()).starts_with(prefix);
}

class File {
public:
    // Only regular files: reading a device or a pipe may never end.
    explicit File(const std::string& path)
        : descriptor_(path.empty() ? -1 : open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {
        if (descriptor_ < 0) return;
        const char* folder = ReadableFolder();
        const bool isReadable = fstat(descriptor_, &status_) == 0 && S_ISREG(status_.st_mode)
                                && (folder == nullptr || IsBelow(descriptor_, folder));
        if (!isReadable) Close();
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { Close(); }

    // Changes whenever the file does; empty for no file.
    std::string State() const {
        if (descriptor_ < 0) return {};
        return std::to_string(status_.st_ino) + ' ' + std::to_string(status_.st_size) + ' '
               + std::to_string(status_.st_mtim.tv_sec) + '.' + std::to_string(status_.st_mtim.tv_nsec);
    }

    std::optional<std::string> Read() {
        std::string text;
        char buffer[1 << 16];
        while (descriptor_ >= 0 && text.size() <= MAX_FILE_SIZE) {
            const ssize_t count = read(descriptor_, buffer, sizeof buffer);
            if (count == 0) return text;
            if (count < 0) break;
            text.append(buffer, static_cast<size_t>(count));
        }
        return std::nullopt;
    }

private:
    void Close() {
        if (descriptor_ >= 0) close(descriptor_);
        descriptor_ = -1;
    }

    int descriptor_;
    struct stat status_ {};
};

// Gives the tree, which is empty yet, other names to share.
void ShareNames(xmlDoc* tree, xmlDict* names) {
    xmlDictReference(names);
    xmlDictFree(tree->dict);
    tree->dict = names;
}

} // namespace

Sandbox* Sandbox::current_ = nullptr;

xsltSecurityPrefs* ReadOnlyPreferences() {
    struct Deleter {
        void operator()(xsltSecurityPrefs* preferences) const { xsltFreeSecurityPrefs(preferences); }
    };
    static const std::unique_ptr<xsltSecurityPrefs, Deleter> PREFERENCES = [] {
        std::unique_ptr<xsltSecurityPrefs, Deleter> preferences(xsltNewSecurityPrefs());
        for (const xsltSecurityOption option :
             {XSLT_SECPREF_WRITE_FILE, XSLT_SECPREF_CREATE_DIRECTORY, XSLT_SECPREF_WRITE_NETWORK})
            xsltSetSecurityPrefs(preferences.get(), option, xsltSecurityForbid);
        return preferences;
    }();
    return PREFERENCES.get();
}

Sandbox::Sandbox(SablotHandle processor, ErrorCollector& errors)
    : processor_(processor), errors_(errors), check_(errors), oldDocumentLoader_(xsltDocDefaultLoader) {
    current_ = this;
    xsltSetLoaderFunc(OnDocument);
}

Sandbox::~Sandbox() {
    xsltSetLoaderFunc(oldDocumentLoader_);
    current_ = nullptr;
}

std::string Sandbox::StateOf(SablotHandle processor, const std::string& uri) {
    if (const Argument* argument = processor != nullptr ? processor->FindArgument(ArgumentName(uri)) : nullptr) {
        if (!argument->isTree) return "text " + argument->text;
        const Document* document = *argument->document;
        return "tree " + std::to_string(document->Serial()) + ' ' + std::to_string(document->EditCount());
    }
    return File(LocalPath(uri)).State();
}

TreePointer Sandbox::Load(const std::string& uri, xmlDict* names) {
    if ((stylesheet_ != nullptr) && uri == stylesheetUri_) return Load(*stylesheet_, uri, names);
    std::string state = StateOf(processor_, uri);
    if (state.empty()) return NotFound(uri);
    loaded_.push_back({uri, std::move(state)});
    if (const Argument* argument = processor_ != nullptr ? processor_->FindArgument(ArgumentName(uri)) : nullptr)
        return Load(*argument, uri, names);
    const std::optional<std::string> text = File(LocalPath(uri)).Read();
    if (!text) return NotFound(uri);
    return Parse({text->data(), text->size(), uri.c_str(), nullptr}, uri, names);
}

TreePointer Sandbox::Load(const Argument& argument, const std::string& uri, xmlDict* names) {
    TreePointer parsed;
    const xmlDoc* original = argument.isTree ? (*argument.document)->Tree() : nullptr;
    if (!argument.isTree) {
        parsed = Parse(SourceOf(argument.text), uri, nullptr);
        if (!parsed) return nullptr;
        original = parsed.get();
    }
    TreePointer tree;
    if (names != nullptr) {
        tree = NewTree();
        if (!tree) return nullptr;
        ShareNames(tree.get(), names);
        for (const xmlNode* child = original->children; child != nullptr; child = child->next)
            if (xmlNode* copy = CopySubtree(child, true, tree.get())) LinkBefore(AsNode(tree.get()), copy, nullptr);
    } else {
        tree = parsed ? std::move(parsed) : CopyTree(original);
        if (!tree) return nullptr;
        if (tree->URL != nullptr) xmlFree(const_cast<xmlChar*>(tree->URL));
    }
    tree->URL = xmlStrdup(Chars(uri.c_str()));
    return tree;
}

// Declarations of entities that a module takes from files (the stylesheets for DocBook do) are read; for data nothing
// is.
TreePointer Sandbox::Parse(const SablotSource& source, const std::string& uri, xmlDict* names) {
    ParseFailure failure;
    TreePointer tree =
        ParseTree(source, failure, {.names = names, .declarations = names != nullptr ? OnDeclarations : nullptr});
    if (!tree)
        errors_.Fail({.code = CODE_NOT_WELL_FORMED, .uri = uri, .line = failure.line, .text = std::move(failure.text)});
    return tree;
}

TreePointer Sandbox::NotFound(const std::string& uri) {
    const char* folder = ReadableFolder();
    errors_.Fail({.code = CODE_NOT_FOUND,
                  .text = "'" + DisplayName(uri) + "' not found"
                          + (folder != nullptr ? " below '" + std::string(folder) + "'" : "")});
    return nullptr;
}

xmlDoc* Sandbox::OnDocument(const xmlChar* uri, xmlDict* names, int, void* context, xsltLoadType type) {
    if (type != XSLT_LOAD_STYLESHEET) {
        TreePointer tree = current_->Load(Chars(uri), nullptr);
        auto* run = static_cast<xsltTransformContext*>(context);
        return tree && current_->isAllowed_(run, tree.get()) ? tree.release() : nullptr;
    }
    // Modules that import and include each other in a circle, which libxslt does not always see.
    if (++current_->moduleLoads_[Chars(uri)] > MAX_MODULE_LOADS) {
        current_->errors_.Fail(
            {.code = CODE_OTHER, .text = "'" + DisplayName(Chars(uri)) + "' is imported in a circle"});
        return nullptr;
    }
    TreePointer tree = current_->Load(Chars(uri), names);
    return tree && current_->AdmitModule(tree.get()) ? tree.release() : nullptr;
}

bool Sandbox::AdmitModule(xmlDoc* module) {
    errors_.AddModule(module);
    errors_.TakeLines(module);
    size_t depth = 0;
    bool tooDeep = false;
    const auto enter = [&](const xmlNode* node) {
        if (++depth > MAX_INSTRUCTION_DEPTH && IsElement(node) && IsXslt(node)) tooDeep = true;
    };
    WalkTree(AsNode(module), enter, [&](const xmlNode*) { --depth; });
    if (!tooDeep) return check_.Prepare(module);
    errors_.Fail(
        {.code = CODE_OTHER, .uri = std::string(View(module->URL)), .text = "the instructions are nested too deeply"});
    return false;
}

xmlParserInput* Sandbox::OnDeclarations(const char* uri, const char*, xmlParserCtxt* parser) {
    Sandbox& sandbox = *current_;
    const std::string name = uri != nullptr ? uri : "";
    File file(LocalPath(name));
    const std::optional<std::string> text = file.Read();
    if (!text) {
        sandbox.NotFound(name);
        return nullptr;
    }
    sandbox.loaded_.push_back({name, file.State()});
    xmlParserInputBuffer* buffer =
        xmlParserInputBufferCreateMem(text->data(), static_cast<int>(text->size()), XML_CHAR_ENCODING_NONE);
    xmlParserInput* input = buffer != nullptr ? xmlNewIOInputStream(parser, buffer, XML_CHAR_ENCODING_NONE) : nullptr;
    if (input != nullptr) input->filename = Chars(xmlStrdup(Chars(name.c_str())));
    return input;
}

} // namespace sablot
