// What a stylesheet can reach: named arguments and local files, for reading.
#pragma once

#include "sablotron/transform/error_collector.h"
#include "sablotron/transform/module_check.h"
#include "sablotron/transform/processor.h"
#include "sablotron/transform/uri.h"
#include "sablotron/tree/tree.h"

#include <libxslt/documents.h>
#include <libxslt/security.h>

namespace sablot {

// Security preferences that forbid every way of writing. What is read goes through the sandbox, whatever its scheme.
xsltSecurityPrefs* ReadOnlyPreferences();

// A resource and the state that it was read in.
struct Dependency {
    std::string uri;
    std::string state;
};

// While it lives, libxml2 and libxslt load documents and entities through it; then the loaders that were there before
// are back. Sandboxes do not nest: no code of the caller runs while there is one.
class Sandbox {
public:
    // The processor's arguments are reachable; it may be null.
    Sandbox(SablotHandle processor, ErrorCollector& errors);
    // Asked about every document that a run reads, which may refuse it with a failure.
    using DocumentCheck = bool (*)(xsltTransformContext* run, xmlDoc* tree);
    void SetDocumentCheck(DocumentCheck check) { isAllowed_ = check; }
    // The main module and its URI.
    void SetStylesheet(const Argument& stylesheet, std::string uri) {
        stylesheet_ = &stylesheet;
        stylesheetUri_ = std::move(uri);
    }
    Sandbox(const Sandbox&) = delete;
    Sandbox& operator=(const Sandbox&) = delete;
    ~Sandbox();

    // A fresh copy of the tree at the URI, a module with its names in `names`; null after a reported failure.
    TreePointer Load(const std::string& uri, xmlDict* names);
    // The same for an argument, under that URI.
    TreePointer Load(const Argument& argument, const std::string& uri, xmlDict* names);
    // Makes a module known for messages, as it was parsed, and prepares it for the compiler; false after a failure.
    bool AdmitModule(xmlDoc* module);
    // What is to be checked when all modules are there; false after a failure.
    bool AdmitStylesheet() { return check_.CheckAttributeSets(); }
    // What was loaded so far.
    const std::vector<Dependency>& Loaded() const { return loaded_; }

    // The state of a resource now: what a Dependency of it would have. Empty when it cannot be read.
    static std::string StateOf(SablotHandle processor, const std::string& uri);

private:
    static xmlDoc* OnDocument(const xmlChar* uri, xmlDict* names, int options, void* context, xsltLoadType type);
    static xmlParserInput* OnDeclarations(const char* uri, const char* id, xmlParserCtxt* parser);
    TreePointer Parse(const SablotSource& source, const std::string& uri, xmlDict* names);
    TreePointer NotFound(const std::string& uri);

    static Sandbox* current_;

    SablotHandle processor_;
    ErrorCollector& errors_;
    ModuleCheck check_;
    const Argument* stylesheet_ = nullptr;
    std::string stylesheetUri_;
    DocumentCheck isAllowed_ = nullptr;
    std::vector<Dependency> loaded_;
    std::map<std::string, unsigned> moduleLoads_;
    xsltDocLoaderFunc oldDocumentLoader_;
};

} // namespace sablot
