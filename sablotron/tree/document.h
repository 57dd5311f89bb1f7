// A document: the libxml2 tree with the handles of its nodes and everything that was made in it.
#pragma once

#include "sablotron/tree/situation.h"
#include "sablotron/tree/tree.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace sablot {

// What is made from a document and stays with it. Who makes it derives its own class.
class DocumentExtra {
public:
    DocumentExtra() = default;
    DocumentExtra(const DocumentExtra&) = delete;
    DocumentExtra& operator=(const DocumentExtra&) = delete;
    virtual ~DocumentExtra() = default;
};

class Document {
public:
    enum class Origin { CREATED, PARSED };

    // Takes over the tree, which has no handles yet. `origin` decides on the implicit binding xmlns="" (see
    // bindings.h).
    Document(SablotSituation situation, xmlDoc* tree, Origin origin);
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;
    ~Document();

    xmlDoc* Tree() const { return tree_; }
    SablotSituation Situation() const { return situation_; }
    Origin MadeBy() const { return origin_; }
    unsigned long Serial() const { return serial_; }
    // The document element, or null.
    xmlNode* Root() const { return xmlDocGetRootElement(tree_); }

    SDOM_Document Handle() { return reinterpret_cast<SDOM_Document>(HandleOf(AsNode(tree_))); }

    // The handle of a node of this document that is no namespace declaration; made at the first call, the same ever
    // after.
    NodeHandle* HandleOf(xmlNode* node) {
        if (node == nullptr) return nullptr;
        if (node->_private != nullptr) return static_cast<NodeHandle*>(node->_private);
        return NewHandle(node, node->_private);
    }
    NodeHandle* HandleOf(xmlAttr* attribute) { return HandleOf(AsNode(attribute)); }
    // The handle of a declaration, which stands on `owner` (null for one that stands nowhere).
    NodeHandle* HandleOf(xmlNs* declaration, xmlNode* owner);

    // Roots of trees of their own. Whatever stands in no other node must be listed: the list is what frees it.
    void AddDetached(NodeHandle* handle);
    void RemoveDetached(NodeHandle* handle);

    // An unattached namespace, one that is declared nowhere: for the names of attributes that stand on no element, and
    // of elements outside the tree that were made with a binding of the document element. It lives as long as the
    // document.
    xmlNs* UnattachedNamespace(const xmlChar* prefix, const xmlChar* uri);
    bool IsUnattached(const xmlNs* ns) const { return ns->_private == this; }
    // Only then a tree that joins another must be looked through for names that are declared nowhere.
    bool HasUnattachedNamespaces() const { return !unattachedNamespaces_.empty(); }
    // The binding of `xml`, and the implicit xmlns="" of a parsed document's root.
    xmlNs* XmlBinding();
    xmlNs* EmptyBinding();

    // Counts changes of the tree; what is derived from the tree keeps the count it was made at.
    unsigned EditCount() const { return editCount_; }
    // Called by every edit. Drops the compiled stylesheet (a run that holds it keeps it alive).
    void Touch() {
        ++editCount_;
        if (stylesheet) stylesheet.reset();
    }

    // The compiled stylesheet of this tree as it stands, or null.
    std::shared_ptr<DocumentExtra> stylesheet;
    // What makes indexed access and comparing cheap in loops, or null.
    std::unique_ptr<DocumentExtra> caches;

    // Holds this document for as long as it is not destroyed, then null.
    const std::shared_ptr<Document*>& Anchor() const { return anchor_; }

private:
    friend void DestroyDocument(Document* document);

    NodeHandle* NewHandle(xmlNode* node, void*& slot);
    void ReleaseHandle(void*& slot);
    void ReleaseHandlesBelow(xmlNode* root);
    void ReleaseHandles();

    SablotSituation situation_;
    xmlDoc* tree_;
    Origin origin_;
    unsigned long serial_;
    unsigned editCount_ = 0;
    size_t handleCount_ = 0;
    std::vector<xmlNode*> detachedNodes_;
    std::map<std::pair<std::string, std::string>, xmlNs*> unattachedNamespaces_;
    xmlNs* emptyBinding_ = nullptr;
    std::shared_ptr<Document*> anchor_ = std::make_shared<Document*>(this);
    Document* previousInSituation_ = nullptr;
    Document* nextInSituation_ = nullptr;
};

// A document of the situation that takes over the tree; a null tree means that memory is short.
Document* NewDocument(SablotSituation situation, TreePointer tree, Document::Origin origin);
// The live document behind a handle; null for a null, a destroyed document or a node that is no document.
Document* FindDocument(SDOM_Document handle);
// The live node behind a handle; null for a null or a node of a destroyed document. Its document is handle->document.
inline xmlNode* FindNode(SDOM_Node handle) { return handle != nullptr ? handle->node : nullptr; }
// Makes the handles of the document inert and frees it.
void DestroyDocument(Document* document);

} // namespace sablot
