// Queries: XPath 1.0 over live trees.
#include "sablotron/dom/caches.h"
#include "sablotron/dom/call.h"
#include "sablotron/dom/path_evaluator.h"
#include "sablotron/dom/xslt_functions.h"
#include "sablotron/tree/bindings.h"
#include "sablotron/tree/double_precision.h"
#include "sablotron/tree/library_scope.h"
#include "sablotron/tree/node_union.h"
#include "sablotron/tree/number_text.h"
#include "sablotron/tree/stack.h"
#include "sablotron/tree/xpath.h"
#include "sablotron/tree/xpath_rewrite.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <deque>
#include <list>
#include <unordered_map>

// The nodes of a result. Handles are made when an item is asked for: nodes live as long as their document.
struct SDOM_NodeListRecord {
    struct Item {
        xmlNode* node;
        SDOM_Node handle; // of a namespace declaration, which no node pointer finds again
    };
    std::shared_ptr<sablot::Document*> document;
    std::vector<Item> items;
};

namespace sablot {
namespace {

constexpr size_t MAX_COMPILED = 128;
constexpr int MAX_DEPTH = 5000;     // libxml2's limit on the depth of an expression
constexpr size_t DEPTH_BYTES = 256; // of the stack for one level of it

using ObjectPointer = XPathPointer<xmlXPathObject>;

struct Query {
    XPathPointer<xmlXPathCompExpr> expression;
    std::vector<std::string> prefixes; // that the text uses
    std::optional<PathUnion> paths;    // what the expression is, if no more than that
};

// The bindings of one evaluation. An empty `defaultPrefix`: unprefixed names are in no namespace.
struct Bindings {
    std::vector<xmlNs*> declarations;
    std::string defaultPrefix;

    const xmlNs* Find(std::string_view prefix) const {
        for (const xmlNs* declaration : declarations)
            if (View(declaration->prefix) == prefix) return declaration;
        return nullptr;
    }
};

// What takes the place of a function of libxml2's.
xmlXPathFunction FindFunction(void*, const xmlChar* name, const xmlChar* uri) {
    if (uri != nullptr) return nullptr;
    const xmlXPathFunction function = FindNodeFunction(View(name));
    return function != nullptr ? function : FindStringFunction(View(name));
}

// The compiled queries, the latest used first, and the context that they are evaluated in.
class QueryEngine {
public:
    QueryEngine() : context_(xmlXPathNewContext(nullptr)) {
        if (!context_) throw std::bad_alloc();
        context_->error = OnError;
        context_->userData = &noMemory_;
        xmlXPathContextSetCache(context_.get(), 1, -1, 0);
        RegisterXsltFunctions(context_.get());
        xmlXPathRegisterFuncLookup(context_.get(), FindFunction, nullptr);
    }

    // Null when the text does not parse. It lives until the next call.
    const Query* Find(std::string_view text, const std::string& defaultPrefix) {
        std::string key = defaultPrefix + '\0';
        key.append(text);
        if (const auto found = index_.find(key); found != index_.end()) {
            queries_.splice(queries_.begin(), queries_, found->second);
            return &queries_.front().second;
        }
        const std::string rewritten =
            defaultPrefix.empty() ? std::string(text) : QualifyElementNames(text, defaultPrefix);
        Query query;
        const ErrorScope errors({.data = &noMemory_, .structured = OnError, .generic = DropGeneric});
        Reset(0);
        query.expression.reset(
            xmlXPathCtxtCompile(context_.get(), Chars(UnionsAsCalls(ShortNegations(rewritten)).c_str())));
        if (noMemory_) throw std::bad_alloc();
        if (!query.expression || !IsComplete(text)) return nullptr;
        for (const std::string_view prefix : PrefixesOf(text)) query.prefixes.emplace_back(prefix);
        query.paths = ParsePaths(rewritten);
        if (query.paths && !CompilePredicates(*query.paths)) query.paths.reset();
        if (noMemory_) throw std::bad_alloc();
        if (queries_.size() == MAX_COMPILED) {
            index_.erase(queries_.back().first);
            queries_.pop_back();
        }
        queries_.emplace_front(key, std::move(query));
        index_.emplace(std::move(key), queries_.begin());
        return &queries_.front().second;
    }

    // The nodes of a query, from a node of the tree of `root`; nothing when it fails. Declarations among
    // them are copies that live until the next call.
    std::optional<Nodes> Evaluate(const Query& query, xmlDoc* root, xmlNode* node, const Bindings& bindings) {
        const ErrorScope errors({.data = &noMemory_, .structured = OnError, .generic = DropGeneric});
        // An expression nested deeper than what is left of the stack fails, as one beyond libxml2's limit does.
        const size_t remaining = RemainingStack() / DEPTH_BYTES;
        Reset(MAX_DEPTH - static_cast<int>(std::min(remaining, static_cast<size_t>(MAX_DEPTH))));
        context_->doc = root;
        context_->node = node;
        std::vector<xmlNs*> declarations = bindings.declarations;
        context_->namespaces = declarations.data();
        context_->nsNr = static_cast<int>(declarations.size());
        std::optional<Nodes> result;
        value_.reset();
        if (query.paths && !IsDeclaration(node)) {
            result.emplace();
            if (!PathEvaluator(*context_, AsNode(root)).Evaluate(*query.paths, node, *result)) result.reset();
        } else {
            value_.reset(xmlXPathCompiledEval(query.expression.get(), context_.get()));
            if (value_ && value_->type == XPATH_NODESET) {
                const xmlNodeSet* nodes = value_->nodesetval;
                result = nodes != nullptr ? Nodes(nodes->nodeTab, nodes->nodeTab + nodes->nodeNr) : Nodes();
            }
        }
        const bool noMemory = noMemory_; // then nodes may be missing
        Reset(0);
        if (noMemory) throw std::bad_alloc();
        return result;
    }

private:
    static void OnError(void* noMemory, xmlErrorPtr error) {
        if (error->code == XML_ERR_NO_MEMORY) *static_cast<bool*>(noMemory) = true;
    }

    void Reset(int depth) {
        noMemory_ = false;
        context_->doc = nullptr;
        context_->node = nullptr;
        context_->namespaces = nullptr;
        context_->nsNr = 0;
        context_->opLimit = maxXPathOperations;
        context_->opCount = 0;
        context_->depth = depth;
        context_->contextSize = -1;
        context_->proximityPosition = -1;
        xmlResetError(&context_->lastError);
    }

    bool CompilePredicates(PathUnion& paths) {
        return std::all_of(paths.paths.begin(), paths.paths.end(), [this](Path& path) {
            return std::all_of(path.start.begin(), path.start.end(),
                               [this](PathUnion& start) { return CompilePredicates(start); })
                   && CompilePredicates(path.startPredicates)
                   && std::all_of(path.steps.begin(), path.steps.end(),
                                  [this](Step& step) { return CompilePredicates(step.predicates); });
        });
    }
    bool CompilePredicates(std::vector<Predicate>& predicates) {
        for (Predicate& predicate : predicates) {
            if (predicate.kind != Predicate::EXPRESSION) continue;
            // Without parentheses libxml2 might evaluate it as a stream, which ends at 10,000 levels.
            const std::string text = "(" + UnionsAsCalls(ShortNegations(WaysBackAsPredicates(predicate.text))) + ")";
            predicate.compiled.reset(xmlXPathCtxtCompile(context_.get(), Chars(text.c_str())));
            if (!predicate.compiled) return false;
        }
        return true;
    }

    using Entry = std::pair<std::string, Query>;
    XPathPointer<xmlXPathContext> context_;
    bool noMemory_ = false; // since the last Reset
    ObjectPointer value_;   // owns the copies of declarations in the latest result
    std::list<Entry> queries_;
    std::unordered_map<std::string, std::list<Entry>::iterator> index_;
};

// The root node that XPath takes for granted, and the parent of an attribute, given for one evaluation to a tree that
// stands outside the document: paths do not lead out of it.
class ScratchRoot {
public:
    explicit ScratchRoot(xmlNode* node) : top_(node) {
        while (top_->parent != nullptr) top_ = top_->parent;
        if (IsDocument(top_)) return;
        document_.type = XML_DOCUMENT_NODE;
        document_.children = document_.last = top_;
        if (IsAttribute(top_)) {
            element_.type = XML_ELEMENT_NODE;
            element_.name = Chars("");
            element_.doc = top_->doc;
            element_.properties = AsAttribute(top_);
            element_.parent = AsNode(&document_);
            document_.children = document_.last = &element_;
        }
        top_->parent = IsAttribute(top_) ? &element_ : AsNode(&document_);
    }
    ScratchRoot(const ScratchRoot&) = delete;
    ScratchRoot& operator=(const ScratchRoot&) = delete;
    ~ScratchRoot() {
        if (!IsDocument(top_)) top_->parent = nullptr;
    }

    xmlDoc* Get() { return IsDocument(top_) ? reinterpret_cast<xmlDoc*>(top_) : &document_; }
    bool Holds(const xmlNode* node) const { return node == &element_ || node == AsNode(&document_); }

private:
    xmlNode* top_;
    xmlDoc document_{};
    xmlNode element_{};
};

SDOM_NodeListRecord::Item ItemOf(Document& document, xmlNode* node) {
    if (!IsDeclaration(node)) return {node, nullptr};
    const xmlNs* copy = AsDeclaration(node);
    xmlNode* element = AsNode(copy->next); // as libxml2 keeps it
    const Binding binding = FindBinding(document, element, copy->prefix);
    return {nullptr, binding.declaration != nullptr ? document.HandleOf(binding.declaration, binding.owner) : nullptr};
}

// To XPath each element has namespace nodes of its own, of which libxml2 does not know the order; here the declaration
// is the node.
void SortDeclarations(Document& document, std::vector<SDOM_NodeListRecord::Item>& items) {
    if (std::none_of(items.begin(), items.end(), [](const auto& item) { return !item.node; })) return;
    for (SDOM_NodeListRecord::Item& item : items)
        if (item.node != nullptr) item.handle = document.HandleOf(item.node);
    OrderIndex& order = CachesOf(document).order;
    std::erase_if(items, [](const auto& item) { return !item.handle; });
    std::stable_sort(items.begin(), items.end(), [&order](const auto& left, const auto& right) {
        return order.Compare(left.handle, right.handle) < 0;
    });
    items.erase(std::unique(items.begin(), items.end(),
                            [](const auto& left, const auto& right) { return left.handle == right.handle; }),
                items.end());
}

// `named` are the bindings that the text may use, `bindings` also holds that of the default prefix.
SDOM_Exception Run(std::string_view text, SDOM_Node handle, const Bindings& named, const Bindings& bindings,
                   SDOM_NodeList* list) {
    static QueryEngine engine;
    Document& document = *handle->document;
    const Query* query = engine.Find(text, bindings.defaultPrefix);
    if (query == nullptr) return SDOM_QUERY_PARSE_ERR;
    for (const std::string& prefix : query->prefixes)
        if (prefix != "xml" && (named.Find(prefix) == nullptr)) return SDOM_QUERY_PARSE_ERR;

    xmlNode* node = handle->node;
    xmlNode* anchor = node;
    // A namespace declaration as XPath sees it, a node of one element.
    const XPathPointer<xmlNodeSet> namespaceNode(xmlXPathNodeSetCreate(nullptr));
    if (IsDeclaration(node)) {
        anchor = handle->Owner();
        // The implicit bindings stand on the document element.
        if (anchor == nullptr && (node == AsNode(document.XmlBinding()) || node == AsNode(document.EmptyBinding())))
            anchor = document.Root();
        if ((anchor == nullptr) || xmlXPathNodeSetAddNs(namespaceNode.get(), anchor, AsDeclaration(node)) < 0)
            return SDOM_QUERY_EXECUTION_ERR;
        node = namespaceNode->nodeTab[0];
    }
    ScratchRoot root(anchor);
    const DoublePrecision precision;
    const std::optional<Nodes> nodes = engine.Evaluate(*query, root.Get(), node, bindings);
    if (!nodes) return SDOM_QUERY_EXECUTION_ERR;

    auto result = std::make_unique<SDOM_NodeListRecord>();
    result->document = document.Anchor();
    result->items.reserve(nodes->size());
    for (xmlNode* found : *nodes)
        if (!root.Holds(found)) result->items.push_back(ItemOf(document, found));
    SortDeclarations(document, result->items);
    *list = result.release();
    return SDOM_OK;
}

} // namespace
} // namespace sablot

using namespace sablot;

SDOM_Exception SDOM_xql(SablotSituation situation, const char* query, SDOM_Node node, SDOM_NodeList* list) {
    if (list == nullptr) return Record(situation, SDOM_NOT_FOUND_ERR);
    *list = nullptr;
    return CallOnNode(situation, node, [&](xmlNode*) {
        Bindings bindings;
        xmlNs defaultBinding{};
        if (const xmlNode* root = node->document->Root()) {
            for (xmlNs* declaration = root->nsDef; declaration != nullptr; declaration = declaration->next)
                if (declaration->prefix != nullptr)
                    bindings.declarations.push_back(declaration);
                else
                    defaultBinding = *declaration;
        }
        if ((defaultBinding.href != nullptr) && *defaultBinding.href) {
            bindings.defaultPrefix = "default";
            while (bindings.Find(bindings.defaultPrefix) != nullptr) bindings.defaultPrefix += '-';
        }
        const Bindings named = bindings;
        if (!bindings.defaultPrefix.empty()) {
            defaultBinding.next = nullptr;
            defaultBinding.prefix = Chars(bindings.defaultPrefix.c_str());
            bindings.declarations.push_back(&defaultBinding);
        }
        return Run(Argument(query), node, named, bindings, list);
    });
}

SDOM_Exception SDOM_xql_ns(SablotSituation situation, const char* query, SDOM_Node node, const char* const* namespaces,
                           SDOM_NodeList* list) {
    if (list == nullptr) return Record(situation, SDOM_NOT_FOUND_ERR);
    *list = nullptr;
    return CallOnNode(situation, node, [&](xmlNode*) {
        std::deque<xmlNs> declarations;
        Bindings bindings;
        for (; (namespaces != nullptr) && (namespaces[0] != nullptr) && (namespaces[1] != nullptr); namespaces += 2) {
            if (!*namespaces[0]) continue;
            xmlNs& declaration = declarations.emplace_back();
            declaration = {};
            declaration.type = XML_LOCAL_NAMESPACE;
            declaration.prefix = Chars(namespaces[0]);
            declaration.href = Chars(namespaces[1]);
            bindings.declarations.push_back(&declaration);
        }
        return Run(Argument(query), node, bindings, bindings, list);
    });
}

SDOM_Exception SDOM_getNodeListLength(SablotSituation situation, SDOM_NodeList list, int* length) {
    if (length != nullptr) *length = 0;
    if ((list == nullptr) || (length == nullptr)) return Record(situation, SDOM_NOT_FOUND_ERR);
    *length = static_cast<int>(list->items.size());
    return Record(situation, SDOM_OK);
}

SDOM_Exception SDOM_getNodeListItem(SablotSituation situation, SDOM_NodeList list, int index, SDOM_Node* node) {
    if (node != nullptr) *node = nullptr;
    if ((list == nullptr) || (node == nullptr)) return Record(situation, SDOM_NOT_FOUND_ERR);
    return Call(situation, [&] {
        if (index < 0 || static_cast<size_t>(index) >= list->items.size()) return SDOM_INDEX_SIZE_ERR;
        Document* document = *list->document;
        if (document == nullptr) return SDOM_NOT_FOUND_ERR;
        const SDOM_NodeListRecord::Item& item = list->items[static_cast<size_t>(index)];
        *node = item.handle != nullptr ? item.handle : document->HandleOf(item.node);
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_disposeNodeList(SablotSituation situation, SDOM_NodeList list) {
    delete list;
    return Record(situation, SDOM_OK);
}
