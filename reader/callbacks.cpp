// The callbacks, in the order in which a document meets them.
#include "reader/callbacks.h"

#include "glue/events.h"
#include "glue/strings.h"
#include "reader/attribute_list.h"
#include "reader/content_model.h"

#include <tuple>

namespace kova {

namespace {

static_assert(sizeof(XML_Char) == 1, "Expat hands out UTF-8");

// A text with a length of its own.
struct CountedText {
    const XML_Char* bytes;
    int length;
};

// What Expat reports as an event argument: a text becomes a host string that lives as long as the event, a flag goes
// through unchanged.
OwnedString Argument(const XML_Char* text) { return OwnedString(BuildUTF8String(text)); }
OwnedString Argument(CountedText text) { return OwnedString(BuildUTF8String(text.bytes, text.length)); }
KOVAInteger Argument(int flag) { return flag; }

KOVAString Word(const OwnedString& string) { return string.Get(); }
KOVAInteger Word(KOVAInteger flag) { return flag; }

template <typename Result = void, typename... Reported>
Result Raise(void* userData, ReaderEvent event, Reported... reported) {
    auto* reader = static_cast<KOVAObject>(userData); // nil after a reset: then the host has no handler
    const std::tuple arguments{Argument(reported)...};
    return std::apply(
        [&](const auto&... argument) { return RaiseEvent<Result>(reader, EventRecord(event), Word(argument)...); },
        arguments);
}

// Prolog.

void OnXmlDecl(void* reader, const XML_Char* version, const XML_Char* encoding, int standalone) {
    Raise(reader, ReaderEvent::XML_DECL, version, encoding, standalone);
}

void OnStartDoctypeDecl(void* reader, const XML_Char* name, const XML_Char* systemId, const XML_Char* publicId,
                        int hasInternalSubset) {
    Raise(reader, ReaderEvent::START_DOCTYPE_DECL, name, systemId, publicId, hasInternalSubset & 0xFF);
}

void OnEndDoctypeDecl(void* reader) { Raise(reader, ReaderEvent::END_DOCTYPE_DECL); }

void OnEntityDecl(void* reader, const XML_Char* name, int isParameterEntity, const XML_Char* value, int valueLength,
                  const XML_Char* base, const XML_Char* systemId, const XML_Char* publicId,
                  const XML_Char* notationName) {
    Raise(reader, ReaderEvent::ENTITY_DECL, name, isParameterEntity, CountedText{value, valueLength}, base, systemId,
          publicId, notationName);
}

void OnNotationDecl(void* reader, const XML_Char* name, const XML_Char* base, const XML_Char* systemId,
                    const XML_Char* publicId) {
    Raise(reader, ReaderEvent::NOTATION_DECL, name, base, systemId, publicId);
}

void OnElementDecl(void* userData, const XML_Char* name, XML_Content* model) {
    auto* reader = static_cast<KOVAObject>(userData);
    OwnedObject content; // declared before the name, which is released first
    const OwnedString hostName = Argument(name);
    content = OwnedObject(NewContentModel(model));
    RaiseEvent(reader, EventRecord(ReaderEvent::ELEMENT_DECL), hostName.Get(), content.Get());
}

void OnAttlistDecl(void* reader, const XML_Char* element, const XML_Char* attribute, const XML_Char* type,
                   const XML_Char* defaultValue, int isRequired) {
    Raise(reader, ReaderEvent::ATTLIST_DECL, element, attribute, type, defaultValue, isRequired);
}

// Content.

void OnStartNamespaceDecl(void* reader, const XML_Char* prefix, const XML_Char* uri) {
    Raise(reader, ReaderEvent::START_PREFIX_MAPPING, prefix, uri);
}

void OnEndNamespaceDecl(void* reader, const XML_Char* prefix) {
    Raise(reader, ReaderEvent::END_PREFIX_MAPPING, prefix);
}

void OnStartElement(void* userData, const XML_Char* name, const XML_Char** attributes) {
    auto* reader = static_cast<KOVAObject>(userData);
    AttributeListView list; // declared before the name, which is released first
    const OwnedString hostName = Argument(name);
    list.Show(attributes);
    RaiseEvent(reader, EventRecord(ReaderEvent::START_ELEMENT), hostName.Get(), list.Get());
}

void OnEndElement(void* reader, const XML_Char* name) { Raise(reader, ReaderEvent::END_ELEMENT, name); }

void OnCharacters(void* reader, const XML_Char* bytes, int length) {
    Raise(reader, ReaderEvent::CHARACTERS, CountedText{bytes, length});
}

void OnProcessingInstruction(void* reader, const XML_Char* target, const XML_Char* data) {
    Raise(reader, ReaderEvent::PROCESSING_INSTRUCTION, target, data);
}

void OnComment(void* reader, const XML_Char* data) { Raise(reader, ReaderEvent::COMMENT, data); }

void OnStartCdata(void* reader) { Raise(reader, ReaderEvent::START_CDATA); }

void OnEndCdata(void* reader) { Raise(reader, ReaderEvent::END_CDATA); }

// Entities. Both answers go back to Expat: without a handler it refuses the document with code 22 or 21.

int OnNotStandalone(void* reader) { return Raise<KOVABoolean>(reader, ReaderEvent::NOT_STANDALONE); }

int OnExternalEntityRef(XML_Parser parser, const XML_Char* context, const XML_Char* base, const XML_Char* systemId,
                        const XML_Char* publicId) {
    return Raise<KOVABoolean>(XML_GetUserData(parser), ReaderEvent::EXTERNAL_ENTITY_REF, context, base, systemId,
                              publicId);
}

void OnSkippedEntity(void* reader, const XML_Char* name, int isParameterEntity) {
    Raise(reader, ReaderEvent::SKIPPED_ENTITY, name, isParameterEntity);
}

} // namespace

void InstallReaderCallbacks(const XmlReaderData& reader) {
    XML_Parser parser = reader.parser;
    const bool off = reader.handlersOff;
    const auto unlessOff = [off](auto* callback) { return off ? nullptr : callback; };

    XML_SetNotStandaloneHandler(parser, unlessOff(OnNotStandalone));
    XML_SetSkippedEntityHandler(parser, unlessOff(OnSkippedEntity));
    XML_SetExternalEntityRefHandler(parser, unlessOff(OnExternalEntityRef));

    XML_SetNamespaceDeclHandler(parser, unlessOff(OnStartNamespaceDecl), unlessOff(OnEndNamespaceDecl));
    XML_SetElementHandler(parser, unlessOff(OnStartElement), unlessOff(OnEndElement));
    XML_SetCharacterDataHandler(parser, unlessOff(OnCharacters));
    XML_SetProcessingInstructionHandler(parser, unlessOff(OnProcessingInstruction));
    XML_SetCommentHandler(parser, unlessOff(OnComment));
    XML_SetCdataSectionHandler(parser, unlessOff(OnStartCdata), unlessOff(OnEndCdata));
    XML_SetParamEntityParsing(parser, off ? XML_PARAM_ENTITY_PARSING_NEVER : XML_PARAM_ENTITY_PARSING_ALWAYS);

    XML_SetDoctypeDeclHandler(parser, unlessOff(OnStartDoctypeDecl), unlessOff(OnEndDoctypeDecl));
    XML_SetNotationDeclHandler(parser, unlessOff(OnNotationDecl));
    XML_SetEntityDeclHandler(parser, unlessOff(OnEntityDecl));
    XML_SetElementDeclHandler(parser, unlessOff(OnElementDecl));
    XML_SetAttlistDeclHandler(parser, unlessOff(OnAttlistDecl));
    XML_SetXmlDeclHandler(parser, unlessOff(OnXmlDecl));
}

void DefaultCallback(void* userData, const XML_Char* bytes, int length) {
    Raise(userData, ReaderEvent::DEFAULT, CountedText{bytes, length});
}

} // namespace kova
