// The members of XmlReader, XmlReaderException, XmlAttributeList and XmlContentModel that the host calls.
// Property getters take the record's parameter word, which is 0 throughout.
#pragma once

#include "glue/host_types.h"

namespace kova {

// XmlReader: class constructor and destructor, run by the host for every object.
void XmlReader_Initialize(KOVAObject self);
void XmlReader_Finalize(KOVAObject self);

KOVAString XmlReader_GetBase(KOVAObject self, uint32_t param);
void XmlReader_SetBase(KOVAObject self, uint32_t param, KOVAString value);
KOVAInteger XmlReader_GetCurrentLineNumber(KOVAObject self, uint32_t param);
KOVAInteger XmlReader_GetCurrentColumnNumber(KOVAObject self, uint32_t param);
KOVAInteger XmlReader_GetCurrentByteIndex(KOVAObject self, uint32_t param);
KOVAInteger XmlReader_GetCurrentByteCount(KOVAObject self, uint32_t param);
KOVAInteger XmlReader_GetErrorCode(KOVAObject self, uint32_t param);
void XmlReader_SetDefaultHandler(KOVAObject self, uint32_t param, KOVABoolean value);
void XmlReader_SetDefaultHandlerExpand(KOVAObject self, uint32_t param, KOVABoolean value);

void XmlReader_Constructor(KOVAObject self);
void XmlReader_ConstructorEncoding(KOVAObject self, KOVAString xmlEncoding);
void XmlReader_ConstructorNamespaces(KOVAObject self, KOVAString xmlEncoding, KOVAString namespaceSeparator);
KOVABoolean XmlReader_Reset(KOVAObject self);
KOVABoolean XmlReader_ResetEncoding(KOVAObject self, KOVAString xmlEncoding);
void XmlReader_DefaultCurrent(KOVAObject self);
void XmlReader_Parse(KOVAObject self, KOVAString s);
void XmlReader_ParseChunk(KOVAObject self, KOVAString s, KOVABoolean isFinal);
void XmlReader_ParseFile(KOVAObject self, KOVAObject file);
void XmlReader_ParseFileChunk(KOVAObject self, KOVAObject file, KOVABoolean isFinal);
void XmlReader_CreateExternalEntityReader(KOVAObject self, KOVAString xmlEncoding);
void XmlReader_FreeExternalEntityReader(KOVAObject self);

KOVAInteger XmlReaderException_GetCurrentLineNumber(KOVAObject self, uint32_t param);
KOVAInteger XmlReaderException_GetCurrentColumnNumber(KOVAObject self, uint32_t param);
KOVAInteger XmlReaderException_GetCurrentByteIndex(KOVAObject self, uint32_t param);
KOVAInteger XmlReaderException_GetCurrentByteCount(KOVAObject self, uint32_t param);

KOVAString XmlAttributeList_Key(KOVAObject self, KOVAInteger index);
KOVAString XmlAttributeList_Value(KOVAObject self, KOVAInteger index);
KOVAString XmlAttributeList_ValueOf(KOVAObject self, KOVAString key);

void XmlContentModel_Initialize(KOVAObject self);
void XmlContentModel_Finalize(KOVAObject self);
KOVAInteger XmlContentModel_GetType(KOVAObject self, uint32_t param);
KOVAInteger XmlContentModel_GetQuant(KOVAObject self, uint32_t param);
KOVAString XmlContentModel_GetName(KOVAObject self, uint32_t param);
KOVAInteger XmlContentModel_GetNumChildren(KOVAObject self, uint32_t param);
KOVAObject XmlContentModel_Child(KOVAObject self, KOVAInteger index);

} // namespace kova
