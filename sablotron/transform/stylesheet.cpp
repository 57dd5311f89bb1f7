// Compiling stylesheets, and finding the compiled form of one again.
#include "sablotron/transform/stylesheet.h"

#include "sablotron/transform/modules.h"
#include "sablotron/tree/parse.h"

#include <libexslt/exslt.h>

#include <algorithm>

namespace sablot {
namespace {

constexpr size_t MAX_COMPILED_TEXTS = 4;

} // namespace

Stylesheet::Stylesheet(xsltStylesheet* stylesheet) : stylesheet_(stylesheet), instructions_(stylesheet) {}

Stylesheet::~Stylesheet() { xsltFreeStylesheet(stylesheet_); }

std::shared_ptr<Stylesheet> Stylesheet::Compile(TreePointer tree, Sandbox& sandbox, ErrorCollector& errors) {
    static const bool REGISTERED = [] {
        exsltRegisterAll();
        return true;
    }();
    static_cast<void>(REGISTERED);
    if (!sandbox.AdmitModule(tree.get())) return nullptr;
    xsltStylesheet* compiled = xsltParseStylesheetDoc(tree.get());
    if (compiled == nullptr) return nullptr;
    static_cast<void>(tree.release()); // the module is the compiled stylesheet's
    std::shared_ptr<Stylesheet> stylesheet(new Stylesheet(compiled));
    if (errors.HasFailed() || !sandbox.AdmitStylesheet()) return nullptr;
    stylesheet->dependencies_ = sandbox.Loaded();
    stylesheet->lines_ = errors.GetLines();
    return stylesheet;
}

bool Stylesheet::StripsSpace() const {
    for (xsltStylesheet* level = stylesheet_; level != nullptr; level = xsltNextImport(level))
        if ((level->stripSpaces != nullptr) || level->stripAll > 0) return true;
    return false;
}

bool Stylesheet::IsCurrent(SablotHandle processor) const {
    return std::all_of(dependencies_.begin(), dependencies_.end(), [processor](const Dependency& dependency) {
        return Sandbox::StateOf(processor, dependency.uri) == dependency.state;
    });
}

const xmlNode* Stylesheet::FindOutput(const char* attribute, const std::string& value) const {
    const xmlNode* found = nullptr;
    ForEachModule(stylesheet_, [&](xmlDoc* module) {
        const xmlNode* root = xmlDocGetRootElement(module);
        for (xmlNode* node = root->children; node != nullptr; node = node->next) {
            const xmlAttr* given = IsElement(node) && IsXslt(node) && View(node->name) == "output"
                                       ? xmlHasProp(node, Chars(attribute))
                                       : nullptr;
            if ((found == nullptr) && (given != nullptr) && (given->children != nullptr)
                && View(given->children->content) == value)
                found = node;
        }
    });
    return found;
}

void Stylesheet::AddModules(ErrorCollector& errors) const {
    ForEachModule(stylesheet_, [&errors](const xmlDoc* module) { errors.AddModule(module); });
    errors.SetLines(lines_);
    errors.SetStylesheetUri(Chars(stylesheet_->doc->URL));
}

namespace {

std::shared_ptr<Stylesheet> CompileTree(TreePointer tree, SablotHandle processor, ErrorCollector& errors) {
    if (!tree) return nullptr;
    const std::string uri = UriOf(*tree, STYLESHEET_URI);
    if (tree->URL != nullptr) xmlFree(const_cast<xmlChar*>(tree->URL));
    tree->URL = xmlStrdup(Chars(uri.c_str()));
    errors.SetStylesheetUri(uri);
    Sandbox sandbox(processor, errors);
    return Stylesheet::Compile(std::move(tree), sandbox, errors);
}

std::shared_ptr<Stylesheet> CompiledOf(Document& document, SablotHandle processor, ErrorCollector& errors) {
    auto stylesheet = std::static_pointer_cast<Stylesheet>(document.stylesheet);
    if (stylesheet && stylesheet->IsCurrent(processor)) return stylesheet;
    stylesheet = CompileTree(CopyTree(document.Tree()), processor, errors);
    document.stylesheet = stylesheet;
    return stylesheet;
}

std::shared_ptr<Stylesheet> CompiledOf(const std::string& text, SablotHandle processor, ErrorCollector& errors) {
    std::vector<CompiledText>& kept = processor->compiledTexts;
    const auto found =
        std::find_if(kept.begin(), kept.end(), [&text](const CompiledText& entry) { return entry.text == text; });
    if (found != kept.end()) {
        std::rotate(kept.begin(), found, found + 1);
        if (kept.front().stylesheet->IsCurrent(processor)) return kept.front().stylesheet;
        kept.erase(kept.begin());
    }
    ParseFailure failure;
    TreePointer tree = ParseTree(SourceOf(text), failure);
    if (!tree) {
        errors.Fail({.code = CODE_NOT_WELL_FORMED,
                     .uri = STYLESHEET_URI,
                     .line = failure.line,
                     .text = std::move(failure.text)});
        return nullptr;
    }
    std::shared_ptr<Stylesheet> stylesheet = CompileTree(std::move(tree), processor, errors);
    if (!stylesheet) return nullptr;
    if (kept.size() == MAX_COMPILED_TEXTS) kept.pop_back();
    kept.insert(kept.begin(), {text, stylesheet});
    return stylesheet;
}

} // namespace

std::shared_ptr<Stylesheet> CompiledArgument(SablotHandle processor, const Argument& argument, ErrorCollector& errors) {
    if (!argument.isTree) return CompiledOf(argument.text, processor, errors);
    return CompiledOf(**argument.document, processor, errors);
}

int CompileDocument(Document& document) {
    SablotHandle processor = document.Situation()->processor;
    Message failure;
    {
        ErrorCollector errors;
        if (CompiledOf(document, processor, errors)) return 0;
        failure = errors.Take();
    }
    SendMessage(processor, failure);
    return failure.code;
}

} // namespace sablot
