// Node wrappers: the host objects that stand for library nodes.
#pragma once

#include "dom/xml.h"
#include "sablotron/sdom.h"

#include <cstdint>

namespace kova {

// Instance data of `XmlNode` and of all its subclasses. A wrapper holds its node's handle (see sdom.h) and never owns
// the node. When LoadXml replaces the tree, the nodes of the old one answer SDOM_NOT_FOUND_ERR from then on.
struct NodeData {
    KOVAObject self;
    KOVAObject xml; // one reference; nil in a wrapper that a program made itself
    SDOM_Node node; // null: none, as after a failed LoadXml
    int32_t lastError;
};

static_assert(sizeof(NodeData) == 16 && offsetof(NodeData, lastError) == 12);

// Null for nil.
inline NodeData* NodeOf(KOVAObject wrapper) {
    return wrapper != nullptr ? InstanceData<NodeData>(wrapper, xmlNodeClass) : nullptr;
}

inline SDOM_Node LibraryNodeOf(KOVAObject wrapper) { return NodeOf(wrapper)->node; }

// Lets the wrapper stand for another node (null: none). It holds the node's handle as long as it has an `Xml` object.
void SetNode(NodeData& wrapper, SDOM_Node node);

// Makes a wrapper of the class that fits the node, a new one each time. The caller owns it. Nil for no node.
KOVAObject WrapNode(KOVAObject xml, SDOM_Node node);

// Whether the document is gone; `LastError` is 8 then.
inline bool CheckDocument(NodeData& wrapper) {
    const XmlData* xml = XmlOf(wrapper.xml);
    if (xml != nullptr && xml->document != nullptr) return false;
    wrapper.lastError = SDOM_NOT_FOUND_ERR;
    return true;
}

// Want of memory is the host's OutOfMemoryException in every member, also in those that raise nothing else: a program
// must not take it for "there is none". Answers the code.
int32_t Checked(int32_t code);

// `LastError` becomes the code that the library recorded for the last call. If it is a failure, raises XmlDomException
// and answers false.
bool CheckLibrary(NodeData& wrapper);
void RaiseLastError(const NodeData& wrapper);

// The markup of a document or of an element, "" for other nodes. The code of the library goes to `lastError`.
KOVAString SerialiseDocument(const XmlData& xml, SDOM_Document document, int32_t& lastError);
KOVAString SerialiseNode(const XmlData& xml, SDOM_Node node, int32_t& lastError);

// The entries at the beginning of an element's attribute list that programs do not see.
struct AttributeRange {
    int32_t count = 0; // with the hidden ones
    int32_t hidden = 0;
};
AttributeRange AttributesOf(const NodeData& wrapper);

SDOM_NodeType TypeOf(const XmlData& xml, SDOM_Node node);

} // namespace kova
