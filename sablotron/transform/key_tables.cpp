// Filling the tables of keys as libxslt does, but for the comparisons.
#include "sablotron/transform/key_tables.h"

#include "sablotron/transform/instructions.h"
#include "sablotron/tree/tree.h"
#include "sablotron/tree/xpath.h"

#include <libxml/xpathInternals.h>
#include <libxslt/documents.h>
#include <libxslt/imports.h>
#include <libxslt/keys.h>
#include <libxslt/xsltutils.h>

#include <new>
#include <unordered_map>
#include <unordered_set>

namespace sablot {
namespace {

// What an evaluation changes of the context of a run.
class SavedContext {
public:
    explicit SavedContext(xsltTransformContext* context)
        : context_(context),
          xpath_(*context->xpathCtxt),
          instruction_(context->inst),
          node_(context->node),
          document_(context->document) {
        ++context->keyInitLevel;
    }
    SavedContext(const SavedContext&) = delete;
    SavedContext& operator=(const SavedContext&) = delete;
    ~SavedContext() {
        --context_->keyInitLevel;
        context_->inst = instruction_;
        context_->node = node_;
        context_->document = document_;
        xmlXPathContext& xpath = *context_->xpathCtxt;
        xpath.node = xpath_.node;
        xpath.doc = xpath_.doc;
        xpath.namespaces = xpath_.namespaces;
        xpath.nsNr = xpath_.nsNr;
        xpath.proximityPosition = xpath_.proximityPosition;
        xpath.contextSize = xpath_.contextSize;
    }

private:
    xsltTransformContext* context_;
    const xmlXPathContext xpath_;
    xmlNode* instruction_;
    xmlNode* node_;
    xsltDocument* document_;
};

class KeyTables {
public:
    KeyTables(xsltTransformContext* context, xsltDocument* document) : context_(context), document_(document) {}

    // All keys of one name before those of the next, which may ask for them.
    void Fill() {
        for (xsltStylesheet* level = context_->style; level != nullptr; level = xsltNextImport(level))
            for (auto* key = static_cast<xsltKeyDef*>(level->keys); key != nullptr; key = key->next)
                if (Find(*key) == nullptr && !FillNamed(*key)) return; // else another key needed it
    }

private:
    template <typename Named>
    static bool HasName(const Named& named, const xsltKeyDef& key) {
        return View(named.name) == View(key.name) && View(named.nameURI) == View(key.nameURI);
    }

    bool FillNamed(const xsltKeyDef& first) {
        isAgain_ = false;
        for (xsltStylesheet* level = context_->style; level != nullptr; level = xsltNextImport(level)) {
            for (auto* key = static_cast<xsltKeyDef*>(level->keys); key != nullptr; key = key->next) {
                if (!HasName(*key, first)) continue;
                if (key->comp == nullptr || key->usecomp == nullptr || !Fill(*key)) return false;
                isAgain_ = true;
            }
        }
        return true;
    }

    xsltKeyTable* Find(const xsltKeyDef& key) const {
        auto* table = static_cast<xsltKeyTable*>(document_->keys);
        while (table != nullptr && !HasName(*table, key)) table = table->next;
        return table;
    }

    xsltKeyTable* Add(const xsltKeyDef& key) {
        auto* table = static_cast<xsltKeyTable*>(xmlMalloc(sizeof(xsltKeyTable)));
        if (table == nullptr) throw std::bad_alloc();
        *table = {static_cast<xsltKeyTable*>(document_->keys), xmlStrdup(key.name), xmlStrdup(key.nameURI),
                  xmlHashCreate(0)};
        document_->keys = table;
        return table;
    }

    bool Fail(const xsltKeyDef& key, const char* text) {
        xsltTransformError(context_, nullptr, key.inst, "%s", text);
        context_->state = XSLT_STATE_STOPPED;
        return false;
    }

    bool Fill(const xsltKeyDef& key) {
        const SavedContext saved(context_);
        ++document_->nbKeysComputed;
        context_->document = document_;
        context_->inst = key.inst;
        xmlXPathContext& xpath = *context_->xpathCtxt;
        xpath.doc = document_->doc;
        xpath.namespaces = key.nsList;
        xpath.nsNr = key.nsNr;
        context_->node = xpath.node = AsNode(document_->doc);
        const XPathPointer<xmlXPathObject> matches(xmlXPathCompiledEval(key.comp, &xpath));
        if (!matches) return Fail(key, "Failed to evaluate the 'match' expression.\n");
        if (matches->type != XPATH_NODESET)
            return Fail(key, "The 'match' expression did not evaluate to a node set.\n");
        xsltKeyTable* table = Find(key);
        if (table == nullptr) table = Add(key);
        const xmlNodeSet* nodes = matches->nodesetval;
        for (int i = 0; nodes != nullptr && i < nodes->nodeNr; ++i) {
            if (!IS_XSLT_REAL_NODE(nodes->nodeTab[i])) continue;
            xpath.contextSize = xpath.proximityPosition = 1;
            context_->node = xpath.node = nodes->nodeTab[i];
            const XPathPointer<xmlXPathObject> use(xmlXPathCompiledEval(key.usecomp, &xpath));
            if (!use) return Fail(key, "Failed to evaluate the 'use' expression.\n");
            Enter(*table, nodes->nodeTab[i], use.get());
        }
        return context_->state != XSLT_STATE_STOPPED;
    }

    void Enter(const xsltKeyTable& table, xmlNode* node, xmlXPathObject* use) {
        if (use->type != XPATH_NODESET) return Enter(table, node, xmlXPathCastToString(use));
        const xmlNodeSet* values = use->nodesetval;
        for (int i = 0; values != nullptr && i < values->nodeNr; ++i)
            Enter(table, node, xmlXPathCastNodeToString(values->nodeTab[i]));
    }

    void Enter(const xsltKeyTable& table, xmlNode* node, xmlChar* value) {
        if (value == nullptr) throw std::bad_alloc();
        auto* nodes = static_cast<xmlNodeSet*>(xmlHashLookup(table.keys, value));
        const bool isFirst = nodes == nullptr;
        if (isFirst) nodes = xmlXPathNodeSetCreate(node);
        const bool isEntered = nodes != nullptr && (!isFirst || xmlHashAddEntry(table.keys, value, nodes) == 0);
        xmlFree(value);
        if (!isEntered) throw std::bad_alloc();
        if (!isFirst && IsNew(*nodes, node) && xmlXPathNodeSetAddUnique(nodes, node) < 0) throw std::bad_alloc();
    }

    // Only several keys of one name meet a node again, but for values that it has twice.
    bool IsNew(const xmlNodeSet& nodes, const xmlNode* node) {
        if (!isAgain_) return nodes.nodeTab[nodes.nodeNr - 1] != node;
        std::unordered_set<const xmlNode*>& entered = entered_[&nodes];
        if (entered.empty()) entered.insert(nodes.nodeTab, nodes.nodeTab + nodes.nodeNr);
        return entered.insert(node).second;
    }

    xsltTransformContext* context_;
    xsltDocument* document_;
    bool isAgain_ = false; // the key at work has the name of one before
    std::unordered_map<const xmlNodeSet*, std::unordered_set<const xmlNode*>> entered_;
};

} // namespace

void FillKeyTables(xsltTransformContext* context, xmlDoc* tree) {
    if (context->keyInitLevel > 0 || context->hasTemplKeyPatterns != 0 || IsFragment(AsNode(tree))) return;
    xsltDocument* document = xsltFindDocument(context, tree);
    if (document != nullptr && document->nbKeysComputed < context->nbKeys) KeyTables(context, document).Fill();
}

} // namespace sablot
