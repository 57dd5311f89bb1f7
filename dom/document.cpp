// `XmlDocument` and `XmlStyleSheet`: making, loading and saving documents, and their properties.
#include "dom/exceptions.h"
#include "dom/markup_scanner.h"
#include "dom/node.h"
#include "glue/files.h"
#include "glue/objects.h"
#include "glue/strings.h"
#include "registration/class_references.h"

namespace kova {

namespace {

using Parse = int (*)(SablotSituation, const char*, SDOM_Document*);

// Lets go of the document that the wrapper stands for, when it stands for one.
void LeaveDocument(NodeData& wrapper) {
    if (wrapper.xml == nullptr) return;
    --XmlOf(wrapper.xml)->documentWrapperCount;
    KOVAUnlockObject(wrapper.xml);
    wrapper.xml = nullptr;
    wrapper.node = nullptr;
}

// Replaces the tree. Raises nothing itself: the message handler does while the library parses.
void Load(NodeData& wrapper, KOVAString text, Parse parse) {
    XmlData& xml = *XmlOf(wrapper.xml);
    if (xml.document != nullptr) {
        SablotDestroyDocument(xml.situation, xml.document);
        xml.document = nullptr;
        wrapper.node = nullptr;
    }
    if (xml.preserveWhitespace) {
        wrapper.lastError = parse(xml.situation, CStringOrEmpty(text), &xml.document);
    } else {
        const OwnedString scanned(MarkupScanner().Run(StringGetCString(text)));
        wrapper.lastError = parse(xml.situation, CStringOrEmpty(scanned.Get()), &xml.document);
    }
    if (wrapper.lastError == 0) wrapper.node = reinterpret_cast<SDOM_Node>(xml.document);
}

void LoadFile(KOVAObject object, KOVAObject file, void (*load)(KOVAObject, KOVAString)) {
    const FileText text(file);
    load(object, text.Get());
}

} // namespace

void XmlDocument_Constructor(KOVAObject object) {
    NodeData& wrapper = *NodeOf(object);
    LeaveDocument(wrapper); // a program may call the constructor again
    wrapper.xml = PluginNewInstance(gXmlClass);
    if (wrapper.xml == nullptr) return;
    XmlData& xml = *XmlOf(wrapper.xml);
    xml.loadedFromText = 0;
    wrapper.node = reinterpret_cast<SDOM_Node>(xml.document);
    ++xml.documentWrapperCount;
}

void XmlDocument_Destroy(KOVAObject object) {
    if (XmlData* xml = XmlOf(NodeOf(object)->xml)) --xml->documentWrapperCount;
}

void XmlDocument_LoadXml(KOVAObject object, KOVAString text) {
    NodeData& wrapper = *NodeOf(object);
    if (CheckDocument(wrapper)) return;
    XmlOf(wrapper.xml)->loadedFromText = 1;
    Load(wrapper, text, SablotParseBuffer);
}

// Deliberately leaves `loadedFromText` alone.
void XmlStyleSheet_LoadXml(KOVAObject object, KOVAString text) {
    NodeData& wrapper = *NodeOf(object);
    if (CheckDocument(wrapper)) return;
    Load(wrapper, text, SablotParseStylesheetBuffer);
}

void XmlDocument_LoadXmlFile(KOVAObject object, KOVAObject file) { LoadFile(object, file, XmlDocument_LoadXml); }
void XmlStyleSheet_LoadXmlFile(KOVAObject object, KOVAObject file) { LoadFile(object, file, XmlStyleSheet_LoadXml); }

void XmlDocument_ConstructorString(KOVAObject object, KOVAString text) {
    XmlDocument_Constructor(object);
    XmlDocument_LoadXml(object, text);
}

void XmlDocument_ConstructorFile(KOVAObject object, KOVAObject file) {
    XmlDocument_Constructor(object);
    XmlDocument_LoadXmlFile(object, file);
}

void XmlStyleSheet_ConstructorString(KOVAObject object, KOVAString text) {
    XmlDocument_Constructor(object);
    XmlStyleSheet_LoadXml(object, text);
}

void XmlStyleSheet_ConstructorFile(KOVAObject object, KOVAObject file) {
    XmlDocument_Constructor(object);
    XmlStyleSheet_LoadXmlFile(object, file);
}

void XmlDocument_SaveXml(KOVAObject object, KOVAObject file) {
    const OwnedObject stream(CreateTextFile(file));
    const OwnedString text(XmlNode_GetToString(object, 0));
    WriteTextAndClose(stream.Get(), text.Get());
}

KOVAObject XmlDocument_GetDocumentElement(KOVAObject object, std::int32_t) {
    NodeData& wrapper = *NodeOf(object);
    if (CheckDocument(wrapper)) return nullptr;
    const XmlData& xml = *XmlOf(wrapper.xml);
    SDOM_Node element = nullptr;
    wrapper.lastError = SDOM_getDocumentElement(xml.situation, xml.document, &element);
    return WrapNode(wrapper.xml, element);
}

// The properties below also answer when the library document is gone, as long as there is an `Xml` object.

std::int32_t XmlDocument_GetPreserveWhitespace(KOVAObject object, std::int32_t) {
    const XmlData* xml = XmlOf(NodeOf(object)->xml);
    if (xml == nullptr) CheckDocument(*NodeOf(object));
    return xml != nullptr && xml->preserveWhitespace ? 1 : 0;
}

void XmlDocument_SetPreserveWhitespace(KOVAObject object, std::int32_t, std::int32_t value) {
    NodeData& wrapper = *NodeOf(object);
    if (XmlData* xml = XmlOf(wrapper.xml))
        xml->preserveWhitespace = value != 0;
    else
        CheckDocument(wrapper);
}

KOVAString XmlDocument_GetEncoding(KOVAObject object, std::int32_t) {
    NodeData& wrapper = *NodeOf(object);
    const XmlData* xml = XmlOf(wrapper.xml);
    if (xml == nullptr) {
        CheckDocument(wrapper);
        return nullptr;
    }
    KOVALockString(xml->encoding);
    return xml->encoding;
}

void XmlDocument_SetEncoding(KOVAObject object, std::int32_t, KOVAString value) {
    NodeData& wrapper = *NodeOf(object);
    XmlData* xml = XmlOf(wrapper.xml);
    if (xml == nullptr) {
        CheckDocument(wrapper);
        return;
    }
    KOVALockString(value);
    KOVAUnlockString(xml->encoding);
    xml->encoding = value;
}

} // namespace kova
