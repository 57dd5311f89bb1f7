// The properties of `XmlNode` and `XmlAttribute.OwnerElement`.
#include "dom/library_strings.h"
#include "dom/members.h"
#include "dom/node.h"
#include "glue/strings.h"

namespace kova {

namespace {

// Getters raise for want of memory only: any other failure stands in `LastError`, and the result is empty.

KOVAString GetText(KOVAObject self, SDOM_Exception (*get)(SablotSituation, SDOM_Node, char**)) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    GetterString text;
    wrapper.lastError = Checked(get(XmlOf(wrapper.xml)->situation, wrapper.node, text.Out()));
    return BuildUTF8String(text.Text());
}

KOVAObject GetNode(KOVAObject self, SDOM_Exception (*get)(SablotSituation, SDOM_Node, SDOM_Node*)) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    SDOM_Node node = nullptr;
    wrapper.lastError = Checked(get(XmlOf(wrapper.xml)->situation, wrapper.node, &node));
    return WrapNode(wrapper.xml, node);
}

void SetText(KOVAObject self, KOVAString value, SDOM_Exception (*set)(SablotSituation, SDOM_Node, const char*)) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return;
    set(XmlOf(wrapper.xml)->situation, wrapper.node, CStringOrEmpty(EnsureUTF8(value)));
    CheckLibrary(wrapper);
}

} // namespace

KOVAObject XmlNode_GetOwnerDocument(KOVAObject self, uint32_t) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    SDOM_Document document = nullptr;
    Checked(SDOM_getOwnerDocument(XmlOf(wrapper.xml)->situation, wrapper.node, &document));
    return WrapNode(wrapper.xml, reinterpret_cast<SDOM_Node>(document));
}

KOVAInteger XmlNode_GetType(KOVAObject self, uint32_t) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return 0;
    SDOM_NodeType type{};
    wrapper.lastError = Checked(SDOM_getNodeType(XmlOf(wrapper.xml)->situation, wrapper.node, &type));
    return static_cast<int32_t>(type);
}

KOVAString XmlNode_GetName(KOVAObject self, uint32_t) { return GetText(self, SDOM_getNodeName); }
void XmlNode_SetName(KOVAObject self, uint32_t, KOVAString value) { SetText(self, value, SDOM_setNodeName); }
KOVAString XmlNode_GetNamespaceUri(KOVAObject self, uint32_t) { return GetText(self, SDOM_getNodeNSUri); }
KOVAString XmlNode_GetPrefix(KOVAObject self, uint32_t) { return GetText(self, SDOM_getNodePrefix); }
KOVAString XmlNode_GetLocalName(KOVAObject self, uint32_t) { return GetText(self, SDOM_getNodeLocalName); }
KOVAString XmlNode_GetValue(KOVAObject self, uint32_t) { return GetText(self, SDOM_getNodeValue); }
void XmlNode_SetValue(KOVAObject self, uint32_t, KOVAString value) { SetText(self, value, SDOM_setNodeValue); }

KOVAInteger XmlNode_GetChildCount(KOVAObject self, uint32_t) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return 0;
    int count = 0;
    wrapper.lastError = Checked(SDOM_getChildNodeCount(XmlOf(wrapper.xml)->situation, wrapper.node, &count));
    return count;
}

KOVAObject XmlNode_GetParent(KOVAObject self, uint32_t) { return GetNode(self, SDOM_getParentNode); }
KOVAObject XmlNode_GetFirstChild(KOVAObject self, uint32_t) { return GetNode(self, SDOM_getFirstChild); }
KOVAObject XmlNode_GetLastChild(KOVAObject self, uint32_t) { return GetNode(self, SDOM_getLastChild); }
KOVAObject XmlNode_GetPreviousSibling(KOVAObject self, uint32_t) { return GetNode(self, SDOM_getPreviousSibling); }
KOVAObject XmlNode_GetNextSibling(KOVAObject self, uint32_t) { return GetNode(self, SDOM_getNextSibling); }

KOVAString XmlNode_GetToString(KOVAObject self, uint32_t) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const XmlData& xml = *XmlOf(wrapper.xml);
    switch (TypeOf(xml, wrapper.node)) {
    case SDOM_DOCUMENT_NODE:
        return SerialiseDocument(xml, reinterpret_cast<SDOM_Document>(wrapper.node), wrapper.lastError);
    case SDOM_ELEMENT_NODE: return SerialiseNode(xml, wrapper.node, wrapper.lastError);
    default: return nullptr; // deliberately nothing for text, comments, attributes and the rest
    }
}

KOVAInteger XmlNode_GetAttributeCount(KOVAObject self, uint32_t) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return 0;
    const AttributeRange range = AttributesOf(wrapper);
    return range.count - range.hidden;
}

KOVAObject XmlAttribute_GetOwnerElement(KOVAObject self, uint32_t) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    SDOM_Node element = nullptr;
    const SablotSituation situation = XmlOf(wrapper.xml)->situation;
    SDOM_getAttributeElement(situation, wrapper.node, &element);
    wrapper.lastError = Checked(SDOM_getExceptionCode(situation));
    return WrapNode(wrapper.xml, element);
}

} // namespace kova
