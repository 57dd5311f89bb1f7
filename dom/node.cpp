// Wrapping, checking and serialising nodes.
#include "dom/node.h"

#include "dom/classes.h"
#include "dom/exceptions.h"
#include "dom/library_strings.h"
#include "dom/members.h"
#include "glue/objects.h"
#include "glue/strings.h"

#include <string_view>

namespace kova {

namespace {

ClassReference ClassOf(SDOM_NodeType type) {
    switch (type) {
    case SDOM_ELEMENT_NODE: return gXmlElementClass;
    case SDOM_ATTRIBUTE_NODE: return gXmlAttributeClass;
    case SDOM_TEXT_NODE: return gXmlTextNodeClass;
    case SDOM_CDATA_SECTION_NODE: return gXmlCDATASectionClass;
    case SDOM_PROCESSING_INSTRUCTION_NODE: return gXmlProcessingInstructionClass;
    case SDOM_COMMENT_NODE: return gXmlCommentClass;
    case SDOM_DOCUMENT_NODE: return gXmlDocumentClass;
    default: return gXmlNodeClass;
    }
}

// How many entries an element has that only the library's root binding puts there.
int32_t HiddenAttributes(const XmlData& xml, SDOM_Node element, int32_t count) {
    // Deliberate: in a document filled by LoadXml the first two entries are hidden, whatever they hold.
    if (xml.loadedFromText != 0) return 2;
    const OwnedString wanted(BuildUTF8String("xmlns:xml"));
    for (int32_t index = 0; index < count; ++index) {
        SDOM_Node attribute = nullptr;
        Checked(SDOM_getAttributeNodeIndex(xml.situation, element, index, &attribute));
        GetterString text;
        Checked(SDOM_getNodeName(xml.situation, attribute, text.Out()));
        const OwnedString name(BuildUTF8String(text.Text()));
        if (RuntimeStringCompare(name.Get(), wanted.Get()) == 0) return 1; // taken for the first, wherever it stands
        if (text.Text() == nullptr || !std::string_view(text.Text()).starts_with("xmlns")) return 0; // no more bindings
    }
    return 0;
}

} // namespace

SDOM_NodeType TypeOf(const XmlData& xml, SDOM_Node node) {
    SDOM_NodeType type{};
    Checked(SDOM_getNodeType(xml.situation, node, &type));
    return type;
}

void SetNode(NodeData& wrapper, SDOM_Node node) {
    if (const XmlData* xml = XmlOf(wrapper.xml)) {
        if (node != nullptr) SDOM_holdNode(node);
        if (wrapper.node != nullptr) SDOM_endHold(xml->situation, wrapper.node);
    }
    wrapper.node = node;
}

KOVAObject WrapNode(KOVAObject xml, SDOM_Node node) {
    if (node == nullptr) return nullptr;
    XmlData& document = *XmlOf(xml);
    const SDOM_NodeType type = TypeOf(document, node);
    const KOVAObject object = PluginNewInstance(ClassOf(type));
    if (object == nullptr) return nullptr;
    if (type == SDOM_DOCUMENT_NODE) ++document.documentWrapperCount;
    NodeData& wrapper = *NodeOf(object);
    wrapper.xml = LockedObject(xml);
    SetNode(wrapper, node);
    return object;
}

int32_t Checked(int32_t code) {
    if (code == SDOM_NOT_OK) RaiseOutOfMemoryException();
    return code;
}

bool CheckLibrary(NodeData& wrapper) {
    wrapper.lastError = SDOM_getExceptionCode(XmlOf(wrapper.xml)->situation);
    if (wrapper.lastError == 0) return true;
    RaiseLastError(wrapper);
    return false;
}

void RaiseLastError(const NodeData& wrapper) {
    if (Checked(wrapper.lastError) == SDOM_NOT_OK) return;
    // The library may have recorded another one since.
    const GetterString message(SDOM_getMessageOfCode(static_cast<SDOM_Exception>(wrapper.lastError)));
    RaiseDomException(wrapper.lastError, message.Text());
}

KOVAString SerialiseDocument(const XmlData& xml, SDOM_Document document, int32_t& lastError) {
    SerialisedString text;
    lastError = Checked(SDOM_docToString(xml.situation, document, text.Out()));
    return BuildUTF8String(text.Text());
}

KOVAString SerialiseNode(const XmlData& xml, SDOM_Node node, int32_t& lastError) {
    SerialisedString text;
    lastError = Checked(SDOM_nodeToString(xml.situation, xml.document, node, text.Out()));
    return BuildUTF8String(text.Text());
}

AttributeRange AttributesOf(const NodeData& wrapper) {
    const XmlData& xml = *XmlOf(wrapper.xml);
    AttributeRange range;
    if (TypeOf(xml, wrapper.node) != SDOM_ELEMENT_NODE) return range;
    Checked(SDOM_getAttributeNodeCount(xml.situation, wrapper.node, &range.count));
    range.hidden = HiddenAttributes(xml, wrapper.node, range.count);
    return range;
}

void XmlNode_Initialize(KOVAObject self) {
    NodeData& wrapper = *NodeOf(self);
    wrapper = NodeData{};
    wrapper.self = self;
}

void XmlNode_Finalize(KOVAObject self) {
    NodeData& wrapper = *NodeOf(self);
    if (wrapper.xml == nullptr) return;
    SetNode(wrapper, nullptr);
    KOVAUnlockObject(wrapper.xml);
    wrapper.xml = nullptr;
}

} // namespace kova
