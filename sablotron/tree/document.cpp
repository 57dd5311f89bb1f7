// Documents: handles, unattached namespaces, and an orderly end.
#include "sablotron/tree/document.h"

namespace sablot {

namespace {

unsigned long lastSerial = 0;

// libxml2 keeps this field at another place in declarations than in all other nodes.
void*& HandleSlot(xmlNode* node) { return IsDeclaration(node) ? AsDeclaration(node)->_private : node->_private; }

void FreeDetached(xmlNode* node) {
    switch (node->type) {
    case XML_ATTRIBUTE_NODE: xmlFreeProp(AsAttribute(node)); break;
    case XML_NAMESPACE_DECL: xmlFreeNs(AsDeclaration(node)); break;
    default: xmlFreeNode(node);
    }
}

} // namespace

Document::Document(SablotSituation situation, xmlDoc* tree, Origin origin)
    : situation_(situation),
      tree_(tree),
      origin_(origin),
      serial_(++lastSerial),
      nextInSituation_(situation->documents) {
    if (nextInSituation_ != nullptr) nextInSituation_->previousInSituation_ = this;
    situation->documents = this;
}

Document::~Document() {
    for (xmlNode* node : detachedNodes_) FreeDetached(node);
    xmlFreeDoc(tree_);
    for (auto& [names, ns] : unattachedNamespaces_)
        if (ns != nullptr) xmlFreeNs(ns); // memory was short for the others
    if (emptyBinding_ != nullptr) xmlFreeNs(emptyBinding_);
}

NodeHandle* Document::NewHandle(xmlNode* node, void*& slot) {
    NodeHandle* handle = situation_->nodes.Take(node, this);
    slot = handle;
    ++handleCount_;
    return handle;
}

NodeHandle* Document::HandleOf(xmlNs* declaration, xmlNode* owner) {
    if (declaration->_private != nullptr) return static_cast<NodeHandle*>(declaration->_private);
    NodeHandle* handle = NewHandle(AsNode(declaration), declaration->_private);
    handle->SetOwner(owner);
    return handle;
}

void Document::AddDetached(NodeHandle* handle) {
    detachedNodes_.push_back(handle->node);
    handle->SetSlot(detachedNodes_.size() - 1);
}

void Document::RemoveDetached(NodeHandle* handle) {
    size_t slot = handle->Slot();
    detachedNodes_[slot] = detachedNodes_.back();
    static_cast<NodeHandle*>(HandleSlot(detachedNodes_[slot]))->SetSlot(slot);
    detachedNodes_.pop_back();
    handle->SetOwner(nullptr);
}

xmlNs* Document::UnattachedNamespace(const xmlChar* prefix, const xmlChar* uri) {
    if (xmlStrEqual(prefix, Chars("xml"))) return XmlBinding();
    xmlNs*& ns = unattachedNamespaces_[{std::string(View(prefix)), std::string(View(uri))}];
    if (ns == nullptr) ns = NewNamespace(prefix, uri);
    ns->_private = this; // it never has a handle
    return ns;
}

xmlNs* Document::XmlBinding() {
    xmlNs* binding = xmlSearchNs(tree_, AsNode(tree_), Chars("xml"));
    if (binding == nullptr) throw std::bad_alloc();
    return binding;
}

xmlNs* Document::EmptyBinding() {
    if (emptyBinding_ == nullptr) emptyBinding_ = NewNamespace(nullptr, Chars(""));
    return emptyBinding_;
}

void Document::ReleaseHandle(void*& slot) {
    if (slot == nullptr) return;
    situation_->nodes.Release(static_cast<NodeHandle*>(slot));
    slot = nullptr;
    --handleCount_;
}

void Document::ReleaseHandlesBelow(xmlNode* root) {
    for (xmlNode* node : Walk(root)) {
        if (handleCount_ == 0) return;
        ReleaseHandle(node->_private);
        if (!IsElement(node)) continue;
        for (xmlNs* declaration = node->nsDef; declaration != nullptr; declaration = declaration->next)
            ReleaseHandle(declaration->_private);
        for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            ReleaseHandle(attribute->_private);
    }
}

void Document::ReleaseHandles() {
    if (emptyBinding_ != nullptr) ReleaseHandle(emptyBinding_->_private);
    if (tree_->oldNs != nullptr) ReleaseHandle(tree_->oldNs->_private);
    for (xmlNode* node : detachedNodes_) {
        if (IsElement(node))
            ReleaseHandlesBelow(node);
        else
            ReleaseHandle(HandleSlot(node));
    }
    ReleaseHandlesBelow(AsNode(tree_));
}

Document* NewDocument(SablotSituation situation, TreePointer tree, Document::Origin origin) {
    if (!tree) throw std::bad_alloc();
    auto* document = new Document(situation, tree.get(), origin);
    static_cast<void>(tree.release());
    return document;
}

Document* FindDocument(SDOM_Document handle) {
    auto* record = reinterpret_cast<SDOM_Node>(handle);
    return (FindNode(record) != nullptr) && IsDocument(record->node) ? record->document : nullptr;
}

void DestroyDocument(Document* document) {
    *document->anchor_ = nullptr;
    document->ReleaseHandles();
    Document* previous = document->previousInSituation_;
    Document* next = document->nextInSituation_;
    (previous != nullptr ? previous->nextInSituation_ : document->situation_->documents) = next;
    if (next != nullptr) next->previousInSituation_ = previous;
    delete document;
}

} // namespace sablot
