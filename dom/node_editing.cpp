// Comparing, reaching by index, changing and cloning nodes.
#include "dom/exceptions.h"
#include "dom/members.h"
#include "dom/node.h"
#include "glue/objects.h"

namespace kova {

namespace {

constexpr int32_t NOT_COMPARABLE = -50;

// Answers the new child itself, for its caller to own. `edit` is not run when an argument is nil: then a failure left
// in `LastError` by an earlier call is raised again, deliberately.
template <typename Edit>
KOVAObject PlaceChild(KOVAObject self, KOVAObject newChild, bool argumentsGiven, Edit edit) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    if (!argumentsGiven) {
        if (wrapper.lastError != 0) RaiseLastError(wrapper);
        return nullptr;
    }
    edit(XmlOf(wrapper.xml)->situation, wrapper.node);
    if (!CheckLibrary(wrapper)) return nullptr;
    return LockedObject(newChild);
}

} // namespace

KOVAInteger XmlNode_Compare(KOVAObject self, KOVAObject other) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper) || other == nullptr) return NOT_COMPARABLE;
    int result = 0;
    const SablotSituation situation = XmlOf(wrapper.xml)->situation;
    const SDOM_Exception code = SDOM_compareNodes(situation, wrapper.node, LibraryNodeOf(other), &result);
    return Checked(code) == SDOM_OK ? result : NOT_COMPARABLE;
}

KOVAObject XmlNode_Child(KOVAObject self, KOVAInteger index) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    SDOM_Node child = nullptr;
    Checked(SDOM_getChildNodeIndex(XmlOf(wrapper.xml)->situation, wrapper.node, index, &child));
    return WrapNode(wrapper.xml, child);
}

KOVAObject XmlNode_Insert(KOVAObject self, KOVAObject newChild, KOVAObject beforeChild) {
    return PlaceChild(self, newChild, newChild != nullptr && beforeChild != nullptr,
                      [&](SablotSituation situation, SDOM_Node parent) {
                          SDOM_insertBefore(situation, parent, LibraryNodeOf(newChild), LibraryNodeOf(beforeChild));
                      });
}

KOVAObject XmlNode_ReplaceChild(KOVAObject self, KOVAObject newChild, KOVAObject oldChild) {
    return PlaceChild(self, newChild, newChild != nullptr && oldChild != nullptr,
                      [&](SablotSituation situation, SDOM_Node parent) {
                          SDOM_replaceChild(situation, parent, LibraryNodeOf(newChild), LibraryNodeOf(oldChild));
                      });
}

KOVAObject XmlNode_AppendChild(KOVAObject self, KOVAObject newChild) {
    return PlaceChild(self, newChild, newChild != nullptr, [&](SablotSituation situation, SDOM_Node parent) {
        SDOM_appendChild(situation, parent, LibraryNodeOf(newChild));
    });
}

void XmlNode_InsertOnly(KOVAObject self, KOVAObject newChild, KOVAObject beforeChild) {
    KOVAUnlockObject(XmlNode_Insert(self, newChild, beforeChild));
}

void XmlNode_ReplaceChildOnly(KOVAObject self, KOVAObject newChild, KOVAObject oldChild) {
    KOVAUnlockObject(XmlNode_ReplaceChild(self, newChild, oldChild));
}

void XmlNode_AppendChildOnly(KOVAObject self, KOVAObject newChild) {
    KOVAUnlockObject(XmlNode_AppendChild(self, newChild));
}

void XmlNode_RemoveChild(KOVAObject self, KOVAObject oldChild) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper) || oldChild == nullptr) return;
    SDOM_removeChild(XmlOf(wrapper.xml)->situation, wrapper.node, LibraryNodeOf(oldChild));
    CheckLibrary(wrapper);
}

KOVAObject XmlNode_Clone(KOVAObject self, KOVABoolean deep) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    SDOM_Node clone = nullptr;
    wrapper.lastError = SDOM_cloneNode(XmlOf(wrapper.xml)->situation, wrapper.node, deep, &clone);
    if (clone == nullptr && wrapper.lastError != 0) RaiseLastError(wrapper);
    return WrapNode(wrapper.xml, clone);
}

} // namespace kova
