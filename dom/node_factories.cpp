// The factories and the import of `XmlDocument`. New nodes belong to the document and stand nowhere in it.
#include "dom/exceptions.h"
#include "dom/members.h"
#include "dom/node.h"
#include "glue/exceptions.h"
#include "glue/strings.h"

namespace kova {

namespace {

const char* Text(KOVAString text) { return CStringOrEmpty(text); }

// `LastError` is the call's code; nothing else is raised.
template <typename Call>
KOVAObject Create(KOVAObject self, Call call) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const XmlData& xml = *XmlOf(wrapper.xml);
    SDOM_Node node = nullptr;
    wrapper.lastError = Checked(call(xml.situation, xml.document, &node));
    return WrapNode(wrapper.xml, node);
}

template <typename Call>
KOVAObject CreateFromText(KOVAObject self, KOVAString text, Call call) {
    return Create(self, [&](SablotSituation situation, SDOM_Document document, SDOM_Node* node) {
        return call(situation, document, node, Text(text));
    });
}

} // namespace

KOVAObject XmlDocument_ImportNode(KOVAObject self, KOVAObject foreignNode, KOVABoolean deep) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    if (foreignNode == nullptr) {
        RaiseNilObjectException();
        return nullptr;
    }
    NodeData& foreign = *NodeOf(foreignNode);
    if (CheckDocument(foreign)) return nullptr;
    const XmlData& xml = *XmlOf(wrapper.xml);
    SDOM_Node clone = nullptr;
    wrapper.lastError = SDOM_cloneForeignNode(xml.situation, xml.document, foreign.node, deep, &clone);
    if (clone == nullptr && wrapper.lastError != 0) RaiseLastError(wrapper);
    return WrapNode(wrapper.xml, clone);
}

KOVAObject XmlDocument_CreateAttribute(KOVAObject self, KOVAString qName) {
    return CreateFromText(self, qName, SDOM_createAttribute);
}

// Unlike the other factories takes the code that the library recorded, and raises even when that is 0.
KOVAObject XmlDocument_CreateAttributeNS(KOVAObject self, KOVAString uri, KOVAString qName) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const XmlData& xml = *XmlOf(wrapper.xml);
    SDOM_Node attribute = nullptr;
    SDOM_createAttributeNS(xml.situation, xml.document, &attribute, Text(uri), Text(qName));
    wrapper.lastError = SDOM_getExceptionCode(xml.situation);
    if (attribute == nullptr) RaiseLastError(wrapper);
    return WrapNode(wrapper.xml, attribute);
}

KOVAObject XmlDocument_CreateElement(KOVAObject self, KOVAString tagName) {
    if (*Text(tagName) == '\0') {
        CheckDocument(*NodeOf(self));
        return nullptr; // `LastError` of a living document stays as it was
    }
    return CreateFromText(self, tagName, SDOM_createElement);
}

// Raises whenever there is no element, even when the code is 0.
KOVAObject XmlDocument_CreateElementNS(KOVAObject self, KOVAString uri, KOVAString tagName) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper) || *Text(tagName) == '\0') return nullptr;
    const XmlData& xml = *XmlOf(wrapper.xml);
    SDOM_Node element = nullptr;
    wrapper.lastError = SDOM_createElementNS(xml.situation, xml.document, &element, Text(uri), Text(tagName));
    if (element == nullptr) RaiseLastError(wrapper);
    return WrapNode(wrapper.xml, element);
}

KOVAObject XmlDocument_CreateTextNode(KOVAObject self, KOVAString data) {
    return CreateFromText(self, data, SDOM_createTextNode);
}

KOVAObject XmlDocument_CreateCDATASection(KOVAObject self, KOVAString data) {
    return CreateFromText(self, data, SDOM_createCDATASection);
}

KOVAObject XmlDocument_CreateComment(KOVAObject self, KOVAString data) {
    return CreateFromText(self, data, SDOM_createComment);
}

KOVAObject XmlDocument_CreateProcessingInstruction(KOVAObject self, KOVAString target, KOVAString data) {
    return Create(self, [&](SablotSituation situation, SDOM_Document document, SDOM_Node* node) {
        return SDOM_createProcessingInstruction(situation, document, node, Text(target), Text(data));
    });
}

} // namespace kova
