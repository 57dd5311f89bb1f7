// The bundle in a host that lacks one service: the wrapper's fallback flows on, and nothing falls over.
#include "host/framework/files.h"
#include "host/runtime/services.h"
#include "tests/plugin/child.h"
#include "tests/plugin/plugin_host.h"
#include "tests/plugin/reader_trace.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

namespace {

// What a reader makes of a document, of a wrong one and of a file while the service is missing.
struct Case {
    const char* service;
    const char* document;
    const char* wrong;
    const char* file;
};

constexpr const char* DOCUMENT =
    "StartDocument() StartElement('a', [x='1']) Characters('t') EndElement('a') EndDocument()";
constexpr const char* WRONG = "StartDocument() StartElement('a', []) XmlReaderException 7: mismatched tag";
constexpr const char* FILE_TEXT = "StartDocument() StartElement('f', []) EndElement('f') EndDocument()";
constexpr const char* EMPTY = "StartDocument() XmlReaderException 3: no element found";

const Case CASES[] = {
    {"PluginRegisterClass", nullptr, nullptr, nullptr}, // there is no reader then
    {"PluginRegisterModule", DOCUMENT, WRONG, FILE_TEXT},
    {"PluginNewInstance", "StartDocument() StartElement('a', nil) Characters('t') EndElement('a') EndDocument()",
     "StartDocument() StartElement('a', nil)", "StartDocument() StartElement('f', nil) EndElement('f') EndDocument()"},
    {"KOVALockObject", DOCUMENT, WRONG, FILE_TEXT},
    {"KOVAUnlockObject", DOCUMENT, WRONG, FILE_TEXT},
    {"KOVABuildString", "StartDocument() StartElement(nil, [=nil]) Characters(nil) EndElement(nil) EndDocument()",
     "StartDocument() StartElement(nil, []) XmlReaderException 7",
     "StartDocument() StartElement(nil, []) EndElement(nil) EndDocument()"},
    {"KOVALockString", DOCUMENT, WRONG, FILE_TEXT},
    {"KOVAUnlockString", DOCUMENT, WRONG, FILE_TEXT},
    // The name of the encoding is taken as empty, too.
    {"StringGetCString", EMPTY, EMPTY, "StartDocument() XmlReaderException 18: unknown encoding"},
    {"KOVAGetStringEncoding", DOCUMENT, WRONG, FILE_TEXT},
    {"KOVASetStringEncoding", DOCUMENT, WRONG, FILE_TEXT},
    {"KOVAConvertString", DOCUMENT, WRONG, FILE_TEXT},
    {"RuntimeAddString", DOCUMENT, WRONG, FILE_TEXT},
    {"RuntimeStringCompare", DOCUMENT, WRONG, FILE_TEXT},
    {"GetEventInstance", "", "XmlReaderException 7: mismatched tag", ""},
    {"RuntimeRaiseException", DOCUMENT, "StartDocument() StartElement('a', [])", FILE_TEXT},
    {"RuntimeUBound", DOCUMENT, WRONG, FILE_TEXT},
    {"RuntimeDirectReadStringArray", DOCUMENT, WRONG, FILE_TEXT},
    {"KOVAGetPropValueInt", DOCUMENT, WRONG, EMPTY}, // the length of the stream
    {"KOVASetPropValueInt", DOCUMENT, "StartDocument() StartElement('a', []) XmlReaderException 0: mismatched tag",
     FILE_TEXT},
    {"KOVASetPropValueString", DOCUMENT, "StartDocument() StartElement('a', []) XmlReaderException 7", FILE_TEXT},
    {"KOVALoadObjectMethod", DOCUMENT, WRONG, EMPTY},
    {"KOVALoadGlobalMethod", EMPTY, EMPTY, EMPTY}, // LenB
    {"KOVAGetKVVersion", DOCUMENT, WRONG, FILE_TEXT},
};

std::string Line(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : " ") + line;
    return text;
}

class MissingService : public testing::TestWithParam<Case> {};

TEST_P(MissingService, ItsFallbackFlowsOn) {
    const Case& expected = GetParam();
    const std::string path = "document.xml";
    std::ofstream(path) << "<f/>";
    const ChildResult child = RunInChild([&]() -> std::string {
        host::SetServiceEnabled(expected.service, false);
        try {
            ReaderTrace trace;
            return Line(trace.Events("<a x='1'>t</a>")) + "\n" + Line(trace.Events("<a></b>")) + "\n"
                   + Line(trace.Parse(trace.NewReader({"UTF-8"}), host::NewFolderItem(path)));
        } catch (const host::DefinitionError& error) {
            return error.what();
        }
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.output, expected.document
                                ? std::string(expected.document) + "\n" + expected.wrong + "\n" + expected.file
                                : "there is no class XmlReader");
}

INSTANTIATE_TEST_SUITE_P(Services, MissingService, testing::ValuesIn(CASES),
                         [](const auto& test) { return test.param.service; });

} // namespace
