// `XmlDocument` and `XmlStyleSheet`: making, loading and saving documents, and their properties.
#include "dom/classes.h"
#include "dom/exceptions.h"
#include "dom/members.h"
#include "dom/node.h"
#include "dom/source_text.h"
#include "glue/exceptions.h"
#include "glue/files.h"
#include "glue/objects.h"
#include "glue/strings.h"

#include <new>
#include <string>

namespace kova {

namespace {

using Parse = int (*)(SablotSituation, const SablotSource*, SDOM_Document*);

// Lets go of the document that the wrapper stands for, when it stands for one.
void LeaveDocument(NodeData& wrapper) {
    if (wrapper.xml == nullptr) return;
    --XmlOf(wrapper.xml)->documentWrapperCount;
    SetNode(wrapper, nullptr);
    KOVAUnlockObject(wrapper.xml);
    wrapper.xml = nullptr;
}

// Replaces the tree. Raises nothing itself: the message handler does while the library parses.
void Load(NodeData& wrapper, KOVAString text, const char* baseUri, Parse parse) {
    XmlData& xml = *XmlOf(wrapper.xml);
    if (xml.document != nullptr) {
        SablotDestroyDocument(xml.situation, xml.document);
        xml.document = nullptr;
        SetNode(wrapper, nullptr);
    }
    try {
        const SourceText source(text, xml.preserveWhitespace);
        const SablotSource given = {source.Bytes().data(), source.Bytes().size(), baseUri, source.Encoding()};
        const FailureWatch watch;
        wrapper.lastError = parse(xml.situation, &given, &xml.document);
        watch.RanOutOfMemory(wrapper.lastError);
    } catch (const std::bad_alloc&) {
        wrapper.lastError = SDOM_NOT_OK;
        RaiseOutOfMemoryException();
    }
    if (wrapper.lastError == 0) SetNode(wrapper, reinterpret_cast<SDOM_Node>(xml.document));
    // As after any other failure there is a document that can be loaded again.
    if (xml.document == nullptr) SablotCreateDocument(xml.situation, &xml.document);
}

void LoadDocument(KOVAObject self, KOVAString text, const char* baseUri) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return;
    XmlOf(wrapper.xml)->loadedFromText = 1;
    Load(wrapper, text, baseUri, SablotParseSource);
}

// Deliberately leaves `loadedFromText` alone.
void LoadStyleSheet(KOVAObject self, KOVAString text, const char* baseUri) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return;
    Load(wrapper, text, baseUri, SablotParseStylesheetSource);
}

void LoadFile(KOVAObject self, KOVAObject file, void (*load)(KOVAObject, KOVAString, const char*)) {
    const FileText text(file);
    const OwnedString path(NativePath(file));
    try {
        const std::string uri = path.Get() != nullptr ? FileUri(CStringOrEmpty(path.Get())) : "";
        load(self, text.Get(), uri.empty() ? nullptr : uri.c_str());
    } catch (const std::bad_alloc&) {
        RaiseOutOfMemoryException();
    }
}

} // namespace

void XmlDocument_Constructor(KOVAObject self) {
    NodeData& wrapper = *NodeOf(self);
    LeaveDocument(wrapper); // a program may call the constructor again
    wrapper.xml = PluginNewInstance(gXmlClass);
    if (wrapper.xml == nullptr) return;
    XmlData& xml = *XmlOf(wrapper.xml);
    if (xml.status != 0) RaiseOutOfMemoryException();
    xml.loadedFromText = 0;
    SetNode(wrapper, reinterpret_cast<SDOM_Node>(xml.document));
    ++xml.documentWrapperCount;
}

void XmlDocument_Finalize(KOVAObject self) {
    if (XmlData* xml = XmlOf(NodeOf(self)->xml)) --xml->documentWrapperCount;
}

void XmlDocument_LoadXml(KOVAObject self, KOVAString text) { LoadDocument(self, text, nullptr); }
void XmlStyleSheet_LoadXml(KOVAObject self, KOVAString text) { LoadStyleSheet(self, text, nullptr); }

void XmlDocument_LoadXmlFile(KOVAObject self, KOVAObject file) { LoadFile(self, file, LoadDocument); }
void XmlStyleSheet_LoadXmlFile(KOVAObject self, KOVAObject file) { LoadFile(self, file, LoadStyleSheet); }

void XmlDocument_ConstructorText(KOVAObject self, KOVAString text) {
    XmlDocument_Constructor(self);
    XmlDocument_LoadXml(self, text);
}

void XmlDocument_ConstructorFile(KOVAObject self, KOVAObject file) {
    XmlDocument_Constructor(self);
    XmlDocument_LoadXmlFile(self, file);
}

void XmlStyleSheet_ConstructorText(KOVAObject self, KOVAString text) {
    XmlDocument_Constructor(self);
    XmlStyleSheet_LoadXml(self, text);
}

void XmlStyleSheet_ConstructorFile(KOVAObject self, KOVAObject file) {
    XmlDocument_Constructor(self);
    XmlStyleSheet_LoadXmlFile(self, file);
}

void XmlDocument_SaveXml(KOVAObject self, KOVAObject file) {
    // Made before the file is touched: a document's text is never empty, so nil means that it could not be made, and
    // the file stays what it is. A document object without a tree, left by a failed LoadXml, has an empty text.
    const OwnedString text(XmlNode_GetToString(self, 0));
    if (text.Get() == nullptr && NodeOf(self)->node != nullptr) return;
    const OwnedObject stream(CreateTextFile(file));
    WriteTextAndClose(stream.Get(), text.Get());
}

KOVAObject XmlDocument_GetDocumentElement(KOVAObject self, uint32_t) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const XmlData& xml = *XmlOf(wrapper.xml);
    SDOM_Node element = nullptr;
    wrapper.lastError = SDOM_getDocumentElement(xml.situation, xml.document, &element);
    return WrapNode(wrapper.xml, element);
}

// The properties below also answer when the library document is gone, as long as there is an `Xml` object.

KOVAInteger XmlDocument_GetPreserveWhitespace(KOVAObject self, uint32_t) {
    const XmlData* xml = XmlOf(NodeOf(self)->xml);
    if (xml == nullptr) CheckDocument(*NodeOf(self));
    return xml != nullptr && xml->preserveWhitespace ? 1 : 0;
}

void XmlDocument_SetPreserveWhitespace(KOVAObject self, uint32_t, KOVABoolean value) {
    NodeData& wrapper = *NodeOf(self);
    if (XmlData* xml = XmlOf(wrapper.xml))
        xml->preserveWhitespace = value != 0;
    else
        CheckDocument(wrapper);
}

KOVAString XmlDocument_GetEncoding(KOVAObject self, uint32_t) {
    NodeData& wrapper = *NodeOf(self);
    const XmlData* xml = XmlOf(wrapper.xml);
    if (xml == nullptr) {
        CheckDocument(wrapper);
        return nullptr;
    }
    return LockedString(xml->encoding);
}

void XmlDocument_SetEncoding(KOVAObject self, uint32_t, KOVAString value) {
    NodeData& wrapper = *NodeOf(self);
    XmlData* xml = XmlOf(wrapper.xml);
    if (xml == nullptr) {
        CheckDocument(wrapper);
        return;
    }
    ReplaceString(xml->encoding, LockedString(value));
}

} // namespace kova
