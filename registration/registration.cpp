// The registration routine: nineteen classes and one module, in a fixed order.
#include "dom/classes.h"
#include "glue/plugin_main.h"
#include "glue/services.h"
#include "reader/classes.h"
#include "registration/tables.h"
#include "xslt/classes.h"

namespace kova {

ClassReference gXmlNodeClass;
ClassReference gXmlProcessingInstructionClass;
ClassReference gXmlCommentClass;
ClassReference gXmlCDATASectionClass;
ClassReference gXmlTextNodeClass;
ClassReference gXmlAttributeClass;
ClassReference gXmlElementClass;
ClassReference gXmlClass;
ClassReference gXmlNodeListClass;
ClassReference gXmlDocumentClass;

namespace {

constexpr ClassDefinition* READER_CLASSES[] = {
    &xmlXsltHandlerClass, &xmlReaderExceptionClass, &xmlAttributeListClass, &xmlContentModelClass, &xmlReaderClass,
};

// A superclass stands before its subclasses.
constexpr ClassDefinition* DOM_CLASSES[] = {
    &xmlExceptionClass, &xmlDomExceptionClass, &xmlNamespacesClass, &xmlClass,
    &xmlNodeListClass,  &xmlNodeClass,         &xmlElementClass,    &xmlAttributeClass,
    &xmlTextNodeClass,  &xmlCDATASectionClass, &xmlCommentClass,    &xmlProcessingInstructionClass,
    &xmlDocumentClass,  &xmlStyleSheetClass,
};

struct KeptReference {
    ClassReference& reference;
    const ClassDefinition& record;
};

constexpr KeptReference KEPT_REFERENCES[] = {
    {gXmlNodeClass, xmlNodeClass},         {gXmlProcessingInstructionClass, xmlProcessingInstructionClass},
    {gXmlCommentClass, xmlCommentClass},   {gXmlCDATASectionClass, xmlCDATASectionClass},
    {gXmlTextNodeClass, xmlTextNodeClass}, {gXmlAttributeClass, xmlAttributeClass},
    {gXmlElementClass, xmlElementClass},   {gXmlClass, xmlClass},
    {gXmlNodeListClass, xmlNodeListClass}, {gXmlDocumentClass, xmlDocumentClass},
};

template <size_t COUNT>
void RegisterClasses(ClassDefinition* const (&records)[COUNT]) {
    for (ClassDefinition* record : records) record->flags |= CLASS_FLAG;
    for (ClassDefinition* record : records) PluginRegisterClass(record);
}

void RegisterXmlReaderClasses() {
    RegisterClasses(READER_CLASSES);
    KOVAGetKVVersion(); // asked for and not used: nothing depends on the host's version
}

void RegisterXmlDomClasses() {
    RegisterClasses(DOM_CLASSES);
    for (const KeptReference& kept : KEPT_REFERENCES) kept.reference = kept.record.name;
    PluginRegisterModule(&xmlNodeTypeModule);
}

} // namespace

void PluginEntry() {
    RegisterXmlReaderClasses();
    RegisterXmlDomClasses();
}

} // namespace kova
