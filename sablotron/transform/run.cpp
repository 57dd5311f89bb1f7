// One transformation: from the arguments of a processor to its result.
#include "sablotron/transform/encoding.h"
#include "sablotron/transform/large_stack.h"
#include "sablotron/transform/output.h"
#include "sablotron/transform/stylesheet.h"
#include "sablotron/tree/double_precision.h"
#include "sablotron/tree/guarded.h"
#include "sablotron/tree/xpath.h"

#include <libxml/threads.h>
#include <libxslt/pattern.h>
#include <libxslt/transform.h>
#include <libxslt/xsltutils.h>

#include <climits>
#include <new>
#include <utility>

namespace sablot {
namespace {

constexpr unsigned FLAG_BITS = 15; // libxslt's flags of source nodes, at the shifts below
constexpr unsigned NODE_FLAGS = FLAG_BITS << 12;
constexpr unsigned HIGH_FLAGS = FLAG_BITS << 27; // of documents and attributes

constexpr uint64_t EXPRESSIONS_OF_MANY_STEPS = 3; // that a run may evaluate, as many as one may take

struct ContextDeleter {
    void operator()(xsltTransformContext* context) const { xsltFreeTransformContext(context); }
};

// Visits all nodes but the document, which has other fields than they.
template <typename Visit>
void ForEachNode(xmlDoc* tree, Visit visit) {
    for (xmlNode* node : Walk(AsNode(tree)))
        if (!IsDocument(node)) visit(node);
}

// The tree of a document, borrowed for a run: puts back what the run leaves on it: the URI, order indexes in the
// content of elements, flags, and line numbers beyond 65534, whose place (`psvi`) libxslt takes for itself.
class BorrowedTree {
public:
    BorrowedTree(xmlDoc* tree, const std::string& uri)
        : tree_(tree), url_(std::exchange(tree->URL, xmlStrdup(Chars(uri.c_str())))) {
        size_ = MeasureTree(tree, [this](xmlNode* node) {
            if (node->psvi == nullptr) return;
            lines_.push_back({node, node->line, node->psvi});
            node->psvi = nullptr;
        });
    }
    BorrowedTree(const BorrowedTree&) = delete;
    BorrowedTree& operator=(const BorrowedTree&) = delete;
    ~BorrowedTree() {
        ForEachNode(tree_, [](xmlNode* node) {
            node->psvi = nullptr;
            node->extra = static_cast<unsigned short>(node->extra & ~NODE_FLAGS);
            if (!IsElement(node)) return;
            node->content = nullptr;
            for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
                attribute->psvi = nullptr;
                attribute->atype = static_cast<xmlAttributeType>(static_cast<unsigned>(attribute->atype) & ~HIGH_FLAGS);
            }
        });
        for (const Line& line : lines_) {
            line.node->line = line.number;
            line.node->psvi = line.whole;
        }
        tree_->psvi = nullptr;
        tree_->properties = static_cast<int>(static_cast<unsigned>(tree_->properties) & ~HIGH_FLAGS);
        xmlFree(const_cast<xmlChar*>(std::exchange(tree_->URL, url_)));
    }

    const TreeSize& Size() const { return size_; }

private:
    xmlDoc* tree_;
    const xmlChar* url_;
    TreeSize size_;
    struct Line {
        xmlNode* node;
        unsigned short number;
        void* whole;
    };
    std::vector<Line> lines_; // that do not fit into the node's own field
};

// What a run came to. Nothing of it is sent to the caller before libxslt and libxml2 are done and have their own
// handlers back: what the caller's handlers do then can no longer meet the run.
struct Outcome {
    int code = 0;
    std::vector<Message> messages;
    std::string text;
    bool isText = false;
    TreePointer result;
};

class Transformation {
public:
    explicit Transformation(SablotHandle processor) : processor_(processor) {}

    Outcome Run(const std::string& stylesheetUri, const std::string& inputUri) {
        if (!Transform(stylesheetUri, inputUri)) {
            Message failure = errors_.Take();
            outcome_.code = failure.code;
            outcome_.messages.push_back(std::move(failure));
            outcome_.result.reset();
        }
        return std::move(outcome_);
    }

private:
    bool Transform(const std::string& stylesheetUri, const std::string& inputUri) {
        const Argument* style = Find(stylesheetUri);
        const Argument* input = style != nullptr ? Find(inputUri) : nullptr;
        if (input == nullptr) return false;
        const std::shared_ptr<Stylesheet> stylesheet = CompiledArgument(processor_, *style, errors_);
        if (!stylesheet) return false;
        stylesheet->AddModules(errors_);

        std::string encoding = OutputEncoding(*processor_, stylesheet->Get());
        if (!CheckEncoding(*stylesheet, encoding)) return false;
        Sandbox sandbox(processor_, errors_);
        sandbox.SetStylesheet(*style, Chars(stylesheet->Get()->doc->URL));
        sandbox.SetDocumentCheck(RegisterDocument);
        if (input->isTree && !stylesheet->StripsSpace()) {
            Document& document = **input->document;
            const BorrowedTree borrowed(document.Tree(), UriOf(*document.Tree(), inputUri));
            if (!Apply(*stylesheet, document.Tree(), borrowed.Size())) return false;
        } else {
            const TreePointer own = sandbox.Load(*input, inputUri, nullptr);
            if (!own) return false;
            const std::string uri =
                input->isTree ? UriOf(*(*input->document)->Tree(), inputUri) : ArgumentBase(ArgumentName(inputUri));
            xmlFree(const_cast<xmlChar*>(std::exchange(own->URL, xmlStrdup(Chars(uri.c_str())))));
            const TreeSize size = MeasureTree(own.get(), [](xmlNode* node) { node->psvi = nullptr; });
            if (!Apply(*stylesheet, own.get(), size)) return false;
        }
        std::string failure;
        std::optional<std::string> text = ResultText(outcome_.result.get(), stylesheet->Get(), encoding, failure);
        if (text) outcome_.text = std::move(*text);
        if (!failure.empty()) Fail(CODE_OTHER, std::move(failure));
        return text.has_value();
    }

    // Whether a result can be handed out in the encoding. One with zero bytes cannot, but events do not need it.
    bool CheckEncoding(const Stylesheet& stylesheet, std::string& encoding) {
        const EncodingKind kind = KindOf(encoding);
        if (kind == EncodingKind::WRITABLE) return true;
        if (kind == EncodingKind::WITH_ZERO_BYTES && (processor_->outputHandler != nullptr)) {
            encoding = "UTF-8";
            return true;
        }
        errors_.FailAt(processor_->encoding.empty() ? stylesheet.FindOutput("encoding", encoding) : nullptr,
                       CODE_UNKNOWN_ENCODING,
                       kind == EncodingKind::UNKNOWN ? "unknown encoding '" + encoding + "'"
                                                     : "A string cannot hold text in '" + encoding
                                                           + "': set the encoding to UTF-8 or another one");
        return false;
    }

    bool Apply(const Stylesheet& stylesheet, xmlDoc* source, const TreeSize& size) {
        const std::unique_ptr<xsltTransformContext, ContextDeleter> context(
            xsltNewTransformContext(stylesheet.Get(), source));
        if (!context) return false;
        MemoryGuard memory(processor_->maxMemory);
        sablot::Run run{.instructions = stylesheet.GetInstructions(),
                        .errors = errors_,
                        .memory = memory,
                        .maxSteps = EXPRESSIONS_OF_MANY_STEPS * uint64_t{maxXPathOperations}};
        run.guard.Register(size.depth);
        context->_private = &run;
        context->opLimit = processor_->maxInstructions;
        context->maxTemplateDepth = INT_MAX; // the stack decides
        context->maxTemplateVars = INT_MAX;
        context->xpathCtxt->opLimit = maxXPathOperations;
        ExtendLimits(context.get(), size);
        xsltSetCtxtSecurityPrefs(ReadOnlyPreferences(), context.get());
        GuardFunctions(context.get());
        errors_.SetRun(context.get());
        // Without a template for the root the built-in rules walk the tree from there.
        const bool walks = xsltGetTemplate(context.get(), AsNode(source), nullptr) == nullptr;
        if (CheckStack(context.get(), walks))
            outcome_.result.reset(
                xsltApplyStylesheetUser(stylesheet.Get(), source, nullptr, nullptr, nullptr, context.get()));
        if (!outcome_.result) errors_.EnsureFailure();
        errors_.SetRun(nullptr);
        outcome_.isText = context->type == XSLT_OUTPUT_TEXT;
        outcome_.messages = std::move(run.messages);
        return outcome_.result && !errors_.HasFailed();
    }

    const Argument* Find(const std::string& uri) {
        const Argument* argument = processor_->FindArgument(ArgumentName(uri));
        if (argument == nullptr) Fail(CODE_NOT_FOUND, "'" + uri + "' not found");
        return argument;
    }

    void Fail(int code, std::string text) { errors_.Fail({.code = code, .text = std::move(text)}); }

    SablotHandle processor_;
    ErrorCollector errors_;
    Outcome outcome_;
};

} // namespace
} // namespace sablot

using namespace sablot;

int SablotRunProcessorGen(SablotSituation, SablotHandle processor, const char* stylesheet, const char* input,
                          const char* result) {
    if ((processor == nullptr) || (stylesheet == nullptr) || (input == nullptr) || (result == nullptr))
        return CODE_OTHER;
    return Guarded([&] {
        const ProcessorUse use(processor);
        const std::string name(ArgumentName(result));
        processor->results.erase(name);
        Outcome outcome;
        OnLargeStack([&] {
            if (xmlGetGlobalState() == nullptr) throw std::bad_alloc(); // of this thread
            const DoublePrecision precision;
            outcome = Transformation(processor).Run(stylesheet, input);
        });
        for (const Message& message : outcome.messages) SendMessage(processor, message);
        if (outcome.code != 0) return outcome.code;
        if (processor->outputHandler != nullptr) SendEvents(outcome.result.get(), outcome.isText, processor);
        processor->results[name] = std::move(outcome.text); // whatever runs the events have started
        return 0;
    });
}
