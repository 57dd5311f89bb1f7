#include "sablotron/transform/stylesheet.h"

#include "sablotron/transform/instructions.h"
#include "sablotron/tree/parse.h"

#include <libexslt/exslt.h>
#include <libxslt/imports.h>
#include <libxslt/xslt.h>

#include <algorithm>

namespace sablot {
namespace {

constexpr size_t MAX_COMPILED_TEXTS = 4;

// Every module: the stylesheet, what it imports and what they include.
template <typename Visit>
void ForEachModule(xsltStylesheet* stylesheet, Visit visit) {
    for (xsltStylesheet* level = stylesheet; level; level = xsltNextImport(level)) {
        if (level->doc) visit(level->doc);
        for (const xsltDocument* included = level->docList; included; included = included->next) visit(included->doc);
    }
}

} // namespace

Stylesheet::Stylesheet(xsltStylesheet* stylesheet) : stylesheet_(stylesheet) { Instrument(); }

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
    static_cast<void>(tree.release());
    std::shared_ptr<Stylesheet> stylesheet(new Stylesheet(compiled));
    if (errors.HasFailed()) return nullptr;
    stylesheet->dependencies_ = sandbox.Loaded();
    stylesheet->lines_ = errors.GetLines();
    return stylesheet;
}

// Puts RunInstruction in the place of every function, and gives xsl:message, which libxslt does not compile, a form.
void Stylesheet::Instrument() {
    for (xsltStylesheet* level = stylesheet_; level != nullptr; level = xsltNextImport(level)) {
        for (xsltElemPreComp* compiled = level->preComps; compiled != nullptr; compiled = compiled->next) {
            if (compiled->func == nullptr) continue;
            if (compiled->type < XSLT_FUNC_EXTENSION)
                functions_[compiled->type] = compiled->func;
            else
                extensions_.emplace(compiled, compiled->func);
            compiled->func = RunInstruction;
        }
    }
    ForEachModule(stylesheet_, [](xmlDoc* module) {
        auto* root = reinterpret_cast<xmlNode*>(module);
        for (xmlNode* node = root; node != nullptr; node = NextInTree(node, root))
            if (IsElement(node) && (node->ns != nullptr) && View(node->ns->href) == Chars(XSLT_NAMESPACE)
                && View(node->name) == "message")
                node->psvi = MessageInstruction();
    });
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

xsltTransformFunction Stylesheet::FunctionOf(const xsltElemPreComp* instruction) const {
    if (instruction->type < XSLT_FUNC_EXTENSION) return functions_[instruction->type];
    return extensions_.find(instruction)->second;
}

void Stylesheet::AddModules(ErrorCollector& errors) const {
    ForEachModule(stylesheet_, [&errors](const xmlDoc* module) { errors.AddModule(module); });
    errors.SetLines(lines_);
}

namespace {

std::shared_ptr<Stylesheet> CompileTree(TreePointer tree, SablotHandle processor, ErrorCollector& errors) {
    if (!tree) return nullptr;
    if (tree->URL != nullptr) xmlFree(const_cast<xmlChar*>(tree->URL));
    tree->URL = xmlStrdup(Chars(STYLESHEET_URI));
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
    TreePointer tree = ParseTree(text.c_str(), failure);
    if (!tree) {
        Message message;
        message.code = CODE_NOT_WELL_FORMED;
        message.text = failure.text;
        message.uri = STYLESHEET_URI;
        message.line = failure.line;
        errors.Fail(std::move(message));
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

using namespace sablot;

int SablotParseStylesheetBuffer(SablotSituation situation, const char* buffer, SDOM_Document* document) {
    const int code = SablotParseBuffer(situation, buffer, document);
    if (code != 0) return code;
    return Guarded([&] { return CompileDocument(*FindDocument(*document)); });
}
