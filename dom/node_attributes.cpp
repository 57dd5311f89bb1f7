// Attributes by name, by namespace and by index.
#include "dom/exceptions.h"
#include "dom/library_strings.h"
#include "dom/members.h"
#include "dom/node.h"
#include "glue/objects.h"
#include "glue/strings.h"

namespace kova {

namespace {

const char* Utf8(KOVAString text) { return CStringOrEmpty(EnsureUTF8(text)); }

// Deliberately does not free the URI.
bool HasNamespace(SablotSituation situation, SDOM_Node node) {
    char* uri = nullptr;
    Checked(SDOM_getNodeNSUri(situation, node, &uri));
    return uri != nullptr && *uri != '\0';
}

// A wrapper for the attribute. Without one, a failure that stands in `LastError` is raised, whenever it happened.
KOVAObject WrapOrRaise(const NodeData& wrapper, SDOM_Node attribute) {
    if (attribute == nullptr && wrapper.lastError != 0) RaiseLastError(wrapper);
    return WrapNode(wrapper.xml, attribute);
}

} // namespace

KOVAString XmlNode_GetAttribute(KOVAObject self, KOVAString name) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const SablotSituation situation = XmlOf(wrapper.xml)->situation;
    GetterString value;
    SDOM_getAttribute(situation, wrapper.node, Utf8(name), value.Out());
    wrapper.lastError = Checked(SDOM_getExceptionCode(situation));
    return BuildUTF8String(value.Text());
}

// Deliberately leaves `LastError` alone, unlike the form above.
KOVAString XmlNode_GetAttributeNS(KOVAObject self, KOVAString uri, KOVAString name) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    GetterString value;
    Checked(SDOM_getAttributeNS(XmlOf(wrapper.xml)->situation, wrapper.node, Utf8(uri), Utf8(name), value.Out()));
    return BuildUTF8String(value.Text());
}

void XmlNode_SetAttribute(KOVAObject self, KOVAString name, KOVAString value) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return;
    SDOM_setAttribute(XmlOf(wrapper.xml)->situation, wrapper.node, Utf8(name), Utf8(value));
    CheckLibrary(wrapper);
}

void XmlNode_SetAttributeNS(KOVAObject self, KOVAString uri, KOVAString name, KOVAString value) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return;
    SDOM_setAttributeNS(XmlOf(wrapper.xml)->situation, wrapper.node, Utf8(uri), Utf8(name), Utf8(value));
    CheckLibrary(wrapper);
}

KOVAObject XmlNode_GetAttributeNode(KOVAObject self, KOVAString name) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const SablotSituation situation = XmlOf(wrapper.xml)->situation;
    SDOM_Node attribute = nullptr;
    SDOM_getAttributeNode(situation, wrapper.node, Utf8(name), &attribute);
    wrapper.lastError = SDOM_getExceptionCode(situation);
    return WrapOrRaise(wrapper, attribute);
}

KOVAObject XmlNode_GetAttributeNodeNS(KOVAObject self, KOVAString uri, KOVAString name) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const SablotSituation situation = XmlOf(wrapper.xml)->situation;
    SDOM_Node attribute = nullptr;
    SDOM_getAttributeNodeNS(situation, wrapper.node, Utf8(uri), Utf8(name), &attribute);
    wrapper.lastError = SDOM_getExceptionCode(situation);
    return WrapOrRaise(wrapper, attribute);
}

KOVAObject XmlNode_GetAttributeNodeIndex(KOVAObject self, KOVAInteger index) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const XmlData& xml = *XmlOf(wrapper.xml);
    SDOM_Node attribute = nullptr;
    if (TypeOf(xml, wrapper.node) == SDOM_ELEMENT_NODE) {
        const AttributeRange range = AttributesOf(wrapper);
        // Deliberate: negative indexes reach the hidden entries, and one past the end is asked for and not found.
        if (range.count - range.hidden >= index) {
            SDOM_getAttributeNodeIndex(xml.situation, wrapper.node, index + range.hidden, &attribute);
            wrapper.lastError = SDOM_getExceptionCode(xml.situation);
        }
    }
    return WrapOrRaise(wrapper, attribute);
}

KOVAObject XmlNode_SetAttributeNode(KOVAObject self, KOVAObject attribute) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    SDOM_Node replaced = nullptr;
    if (attribute != nullptr) {
        const SablotSituation situation = XmlOf(wrapper.xml)->situation;
        const SDOM_Node node = LibraryNodeOf(attribute);
        const auto set = HasNamespace(situation, node) ? SDOM_setAttributeNodeNS : SDOM_setAttributeNode;
        set(situation, wrapper.node, node, &replaced);
        wrapper.lastError = SDOM_getExceptionCode(situation);
    }
    return WrapOrRaise(wrapper, replaced);
}

KOVAObject XmlNode_RemoveAttributeNode(KOVAObject self, KOVAObject attribute) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    SDOM_Node removed = nullptr;
    if (attribute != nullptr) {
        const SablotSituation situation = XmlOf(wrapper.xml)->situation;
        SDOM_removeAttributeNode(situation, wrapper.node, LibraryNodeOf(attribute), &removed);
        wrapper.lastError = SDOM_getExceptionCode(situation);
    }
    return WrapOrRaise(wrapper, removed);
}

void XmlNode_SetAttributeNodeOnly(KOVAObject self, KOVAObject attribute) {
    KOVAUnlockObject(XmlNode_SetAttributeNode(self, attribute));
}

void XmlNode_RemoveAttributeNodeOnly(KOVAObject self, KOVAObject attribute) {
    KOVAUnlockObject(XmlNode_RemoveAttributeNode(self, attribute));
}

void XmlNode_RemoveAttribute(KOVAObject self, KOVAString name) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return;
    SDOM_removeAttribute(XmlOf(wrapper.xml)->situation, wrapper.node, Utf8(name));
    CheckLibrary(wrapper);
}

} // namespace kova
