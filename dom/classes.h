// Class records of the document model's classes, and the class references kept after registration. Both are defined in
// registration/, which includes this header and the member headers of each folder; nothing below includes one of its.
#pragma once

#include "glue/records.h"

namespace kova {

extern ClassDefinition xmlExceptionClass;
extern ClassDefinition xmlDomExceptionClass;
extern ClassDefinition xmlNamespacesClass;
extern ClassDefinition xmlClass;
extern ClassDefinition xmlNodeListClass;
extern ClassDefinition xmlNodeClass;
extern ClassDefinition xmlElementClass;
extern ClassDefinition xmlAttributeClass;
extern ClassDefinition xmlTextNodeClass;
extern ClassDefinition xmlCDATASectionClass;
extern ClassDefinition xmlCommentClass;
extern ClassDefinition xmlProcessingInstructionClass;
extern ClassDefinition xmlDocumentClass;
extern ClassDefinition xmlStyleSheetClass;
extern ModuleDefinition xmlNodeTypeModule;

// What PluginNewInstance takes for these classes; set once all classes are registered.
extern ClassReference gXmlNodeClass;
extern ClassReference gXmlProcessingInstructionClass;
extern ClassReference gXmlCommentClass;
extern ClassReference gXmlCDATASectionClass;
extern ClassReference gXmlTextNodeClass;
extern ClassReference gXmlAttributeClass;
extern ClassReference gXmlElementClass;
extern ClassReference gXmlClass;
extern ClassReference gXmlNodeListClass;
extern ClassReference gXmlDocumentClass;

} // namespace kova
