// The constructors, properties and methods of XmlReader.
#include "reader/xml_reader.h"

#include "glue/events.h"
#include "glue/exceptions.h"
#include "glue/files.h"
#include "glue/strings.h"
#include "reader/callbacks.h"
#include "reader/members.h"
#include "reader/reader_exception.h"
#include "reader/running_parse.h"

namespace kova {

namespace {

XmlReaderData& Data(KOVAObject self) { return *InstanceData<XmlReaderData>(self, xmlReaderClass); }

void SetEncoding(XmlReaderData& reader, KOVAString encoding) { ReplaceString(reader.encoding, LockedString(encoding)); }

// A parser that may exist is not freed.
void StartParser(XmlReaderData& reader, XML_Parser parser) {
    reader.parser = parser;
    if (parser == nullptr) {
        RaiseOutOfMemoryException();
        return;
    }
    InstallReaderCallbacks(reader);
    XML_SetUserData(parser, reader.owner);
}

// Inside one of the reader's own events nothing is reset: Expat would go on in what it has emptied.
KOVABoolean ResetParser(XmlReaderData& reader) {
    if (IsInUse(reader.parser)) return 0;
    // The external entity's parser shares the DTD that the reset empties, perhaps in the middle of a declaration.
    FreeParser(std::exchange(reader.entityParser, nullptr));
    return XML_ParserReset(reader.parser, CStringOrEmpty(reader.encoding));
}

// How many bytes a parser holds of a construct whose end it has not seen.
int BytesHeld(XML_Parser parser) {
    int offset = 0;
    int size = 0;
    return XML_GetInputContext(parser, &offset, &size) != nullptr ? size - offset : 0;
}

// Expat puts off looking again at a construct that a piece has not completed until twice as much has come, so that a
// huge one costs no quadratic time in small pieces; but then the end of a small one is told late. A few bytes may be
// looked at with every piece.
void BePromptAboutSmallConstructs(XML_Parser parser) {
    constexpr int SMALL = 1024;
    XML_SetReparseDeferralEnabled(parser, BytesHeld(parser) > SMALL ? XML_TRUE : XML_FALSE);
}

// Whether the parser took the text; if not, the exception is raised.
bool ParseText(XML_Parser target, XML_Parser main, KOVAString text, KOVABoolean isFinal) {
    if (target == main ? IsInUse(main) : IsParsing(target)) {
        RaiseReaderBusy(main);
        return false;
    }
    // A parser that has failed answers the same error for ever, but would measure its position across two texts.
    const bool failedBefore = (target != nullptr) && XML_GetErrorCode(target) != XML_ERROR_NONE;
    bool parsed = false;
    if (!failedBefore) {
        const RunningParse running(target, main);
        BePromptAboutSmallConstructs(target);
        const std::string_view bytes = StringBytes(text);
        parsed = XML_Parse(target, bytes.data(), static_cast<int>(bytes.size()), isFinal) != XML_STATUS_ERROR;
    }
    if (!parsed) RaiseReaderException(main);
    return parsed;
}

} // namespace

void XmlReader_Initialize(KOVAObject self) {
    XmlReaderData& reader = Data(self);
    reader.owner = self;
    for (bool& flag : reader.unused) flag = true;
    reader.handlersOff = false;
}

// The external entity's parser and the reference to the encoding are kept on purpose.
void XmlReader_Finalize(KOVAObject self) { XML_ParserFree(Data(self).parser); }

KOVAString XmlReader_GetBase(KOVAObject self, uint32_t) { return BuildUTF8String(XML_GetBase(Data(self).parser)); }

void XmlReader_SetBase(KOVAObject self, uint32_t, KOVAString value) {
    // A host that cannot show a text sets no base.
    XML_SetBase(Data(self).parser, value != nullptr ? StringGetCString(value) : "");
}

KOVAInteger XmlReader_GetCurrentLineNumber(KOVAObject self, uint32_t) {
    return static_cast<KOVAInteger>(XML_GetCurrentLineNumber(Data(self).parser));
}

KOVAInteger XmlReader_GetCurrentColumnNumber(KOVAObject self, uint32_t) {
    return static_cast<KOVAInteger>(XML_GetCurrentColumnNumber(Data(self).parser));
}

KOVAInteger XmlReader_GetCurrentByteIndex(KOVAObject self, uint32_t) {
    return static_cast<KOVAInteger>(XML_GetCurrentByteIndex(Data(self).parser));
}

KOVAInteger XmlReader_GetCurrentByteCount(KOVAObject self, uint32_t) {
    return XML_GetCurrentByteCount(Data(self).parser);
}

KOVAInteger XmlReader_GetErrorCode(KOVAObject self, uint32_t) { return XML_GetErrorCode(Data(self).parser); }

void XmlReader_SetDefaultHandler(KOVAObject self, uint32_t, KOVABoolean value) {
    XML_SetDefaultHandler(Data(self).parser, value ? DefaultCallback : nullptr);
}

void XmlReader_SetDefaultHandlerExpand(KOVAObject self, uint32_t, KOVABoolean value) {
    XML_SetDefaultHandlerExpand(Data(self).parser, value ? DefaultCallback : nullptr);
}

void XmlReader_Constructor(KOVAObject self) {
    XmlReaderData& reader = Data(self);
    constexpr char ENCODING[] = "UTF-8";
    reader.encoding = KOVABuildString(ENCODING, sizeof ENCODING - 1);
    StartParser(reader, XML_ParserCreate(ENCODING));
}

void XmlReader_ConstructorEncoding(KOVAObject self, KOVAString xmlEncoding) {
    XmlReaderData& reader = Data(self);
    SetEncoding(reader, xmlEncoding);
    StartParser(reader, XML_ParserCreate(CStringOrEmpty(xmlEncoding)));
}

void XmlReader_ConstructorNamespaces(KOVAObject self, KOVAString xmlEncoding, KOVAString namespaceSeparator) {
    XmlReaderData& reader = Data(self);
    SetEncoding(reader, xmlEncoding);
    // Only the first byte separates; an empty separator is the zero byte.
    StartParser(reader, XML_ParserCreateNS(CStringOrEmpty(xmlEncoding), *CStringOrEmpty(namespaceSeparator)));
}

// Expat's reset clears the callbacks and nothing installs them again: from then on the reader raises only
// StartDocument, EndDocument, XmlReaderException and, if asked for, Default without a reader to raise it on.
KOVABoolean XmlReader_Reset(KOVAObject self) { return ResetParser(Data(self)); }

KOVABoolean XmlReader_ResetEncoding(KOVAObject self, KOVAString xmlEncoding) {
    XmlReaderData& reader = Data(self);
    SetEncoding(reader, xmlEncoding);
    return ResetParser(reader);
}

void XmlReader_DefaultCurrent(KOVAObject self) {
    // Outside the parser's own events there is no current construct: what Expat remembers may be a text long gone.
    XML_Parser parser = Data(self).parser;
    if (IsParsing(parser)) XML_DefaultCurrent(parser);
}

void XmlReader_Parse(KOVAObject self, KOVAString s) { XmlReader_ParseChunk(self, s, 1); }

// StartDocument and EndDocument come with every chunk, not once per document.
void XmlReader_ParseChunk(KOVAObject self, KOVAString s, KOVABoolean isFinal) {
    const OwnedObject keepReader = OwnedObject::Share(self); // a handler may drop the program's last reference

    RaiseEvent(self, EventRecord(ReaderEvent::START_DOCUMENT));
    const XmlReaderData& reader = Data(self);
    XML_Parser target = reader.entityParser != nullptr ? reader.entityParser : reader.parser;
    if (ParseText(target, reader.parser, s, isFinal)) RaiseEvent(self, EventRecord(ReaderEvent::END_DOCUMENT));
}

void XmlReader_ParseFile(KOVAObject self, KOVAObject file) { XmlReader_Parse(self, FileText(file).Get()); }

void XmlReader_ParseFileChunk(KOVAObject self, KOVAObject file, KOVABoolean isFinal) {
    XmlReader_ParseChunk(self, FileText(file).Get(), isFinal);
}

void XmlReader_CreateExternalEntityReader(KOVAObject self, KOVAString xmlEncoding) {
    XmlReaderData& reader = Data(self);
    // One that may exist is not freed. A null context means an external parameter entity or DTD subset.
    reader.entityParser = XML_ExternalEntityParserCreate(reader.parser, nullptr, CStringOrEmpty(xmlEncoding));
}

void XmlReader_FreeExternalEntityReader(KOVAObject self) {
    FreeParser(std::exchange(Data(self).entityParser, nullptr));
}

} // namespace kova
