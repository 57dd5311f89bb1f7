// The bundle in a process that uses libxml2 and libxslt itself: what the process has set there is there again after
// every call, for its other threads all the time.
#include "tests/plugin/plugin_host.h"

#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/xmlmemory.h>
#include <libxslt/documents.h>
#include <libxslt/xsltutils.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

namespace {

using host::Call;
using host::ObjectRef;

int errors = 0;
int loads = 0;

void OnError(void*, xmlErrorPtr) { ++errors; }
void OnText(void*, const char*, ...) { ++errors; }

xmlParserInputPtr LoadNothing(const char*, const char*, xmlParserCtxtPtr) {
    ++loads;
    return nullptr;
}

xmlDocPtr NoDocument(const xmlChar*, xmlDictPtr, int, void*, xsltLoadType) { return nullptr; }

// An allocator that is not malloc to those who look, although it is.
void Free(void* memory) { std::free(memory); }
void* Allocate(size_t size) { return std::malloc(size); }
void* Reallocate(void* memory, size_t size) { return std::realloc(memory, size); }
char* Duplicate(const char* text) { return strdup(text); }

// Uses libxml2 as the process does: an entity is asked of its loader, a fault told to its handler.
void ExpectOwnHooks() {
    errors = loads = 0;
    const char entity[] = "<!DOCTYPE a [<!ENTITY e SYSTEM 'e.xml'>]><a>&e;</a>";
    xmlFreeDoc(xmlReadMemory(entity, sizeof entity - 1, nullptr, nullptr, XML_PARSE_NOENT));
    EXPECT_EQ(loads, 1);
    EXPECT_EQ(xmlReadMemory("<a", 2, nullptr, nullptr, 0), nullptr);
    EXPECT_GT(errors, 0);
}

void SetErrorHandlers() {
    xmlSetStructuredErrorFunc(&errors, OnError);
    xmlSetGenericErrorFunc(&errors, OnText);
}

void OnAnotherThread(const std::function<void()>& action) { std::thread(action).join(); }

void UseEverything() {
    const ObjectRef document = MakeDocument("<a><b/></a>");
    const char* const sheet = "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
                              "<xsl:template match='/'><o><xsl:value-of select=\"document('none')\"/></o>"
                              "</xsl:template></xsl:stylesheet>";
    Call(document, "Xql(query as String) as XmlNodeList", {"//b"});
    EXPECT_EQ(Raised([&] { Call(document, "LoadXml(doc as String)", {"<a"}); }), "XmlException 2");
    EXPECT_EQ(Raised([&] { Call(MakeDocument("<a/>"), "Transform(xsl as String) as String", {sheet}); }),
              "XmlException 65");
    EXPECT_EQ(Raised([&] { Call(MakeDocument("<a/>"), "Transform(xsl as String) as String", {"<a/>"}); }).substr(0, 12),
              "XmlException");
}

TEST(ForeignLibrary, HasItsHooksBack) {
    StartHost();
    xmlMemSetup(Free, Allocate, Reallocate, Duplicate);
    xmlSetExternalEntityLoader(LoadNothing);
    xsltSetLoaderFunc(NoDocument);
    SetErrorHandlers();
    for (int i = 0; i < 2; ++i) {
        UseEverything();
        ExpectOwnHooks();
        OnAnotherThread([] {
            SetErrorHandlers();
            ExpectOwnHooks();
        });
        OnAnotherThread(UseEverything);
        ExpectOwnHooks();
    }
    EXPECT_EQ(xmlGetExternalEntityLoader(), LoadNothing);
    EXPECT_EQ(xsltDocDefaultLoader, NoDocument);
    EXPECT_EQ(xmlStructuredError, OnError);
    EXPECT_EQ(xmlStructuredErrorContext, &errors);
    EXPECT_EQ(xmlGenericError, OnText);
    xmlFreeFunc free = nullptr;
    xmlMallocFunc allocate = nullptr;
    xmlReallocFunc reallocate = nullptr;
    xmlStrdupFunc duplicate = nullptr;
    xmlMemGet(&free, &allocate, &reallocate, &duplicate);
    EXPECT_EQ(free, Free);
    EXPECT_EQ(allocate, Allocate);
    xmlMemSetup(std::free, std::malloc, std::realloc, strdup);
    xmlSetExternalEntityLoader(nullptr);
    xsltSetLoaderFunc(nullptr);
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    xmlSetGenericErrorFunc(nullptr, nullptr);
}

} // namespace
