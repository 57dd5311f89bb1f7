// XmlXsltHandler. Declarations are part of the interface and stand here letter by letter.
#include "registration/tables.h"
#include "xslt/classes.h"
#include "xslt/members.h"
#include "xslt/xslt_handler.h"

namespace kova {

EventDefinition xmlXsltHandlerEvents[] = {
    {"StartDocument()"},
    {"StartElement(name as String, attributeList as XmlAttributeList)"},
    {"EndElement(name as String)"},
    {"StartNamespace(prefix as String, uri as String)"},
    {"EndNamespace(prefix as String)"},
    {"Comment(contents as String)"},
    {"ProcessingInstruction(target as String, contents as String)"},
    {"Characters(contents as String)"},
    {"EndDocument()"},
};

ClassDefinition xmlXsltHandlerClass = {
    .name = "XmlXsltHandler",
    .dataSize = sizeof(XsltHandlerData),
    .constructor = XmlXsltHandler_Initialize,
    .events = xmlXsltHandlerEvents,
    .eventCount = Count(xmlXsltHandlerEvents),
    .flags = CLASS_FLAG,
};

} // namespace kova
