// The plug-in in a host that lacks a service or answers oddly: the fallback flows on, and nothing falls over.
#include "host/framework/files.h"
#include "host/runtime/exception.h"
#include "host/runtime/services.h"
#include "tests/plugin/child.h"
#include "tests/plugin/linked_plugin.h"
#include "tests/plugin/plugin_host.h"
#include "tests/plugin/reader_trace.h"
#include "tests/sanitizers.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>

namespace {

using host::Call;
using host::ObjectRef;
using host::SetProperty;
using host::Value;

// What a reader makes of a document, of a wrong one and of a file while the service is missing.
struct ReaderCase {
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

const ReaderCase READER_CASES[] = {
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

std::string ReaderStory() {
    std::ofstream("document.xml") << "<f/>";
    ReaderTrace trace;
    return Line(trace.Events("<a x='1'>t</a>")) + "\n" + Line(trace.Events("<a></b>")) + "\n"
           + Line(trace.Parse(trace.NewReader({"UTF-8"}), host::NewFolderItem("document.xml")));
}

// Runs the story in a process of its own; an exception ends it.
void ExpectStory(const std::function<std::string()>& story, const std::string& expected) {
    const ChildResult child = RunInChild([&] {
        StartHost();
        return story();
    });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.output, expected);
}

// Stands for a service that fails, whatever it is asked: nil, 0, false.
int32_t AnswerNothing() { return 0; }

// Whether the service has an answer that says that it failed; it is then to be as if it were missing.
// (KOVABuildString's is want of memory, which is told.)
bool CanFail(std::string_view service) {
    constexpr std::string_view FAILING[] = {
        "PluginNewInstance",
        "StringGetCString",
        "KOVAConvertString",
        "RuntimeAddString",
        "GetEventInstance",
        "KOVAGetPropValueInt",
        "KOVASetPropValueInt",
        "KOVALoadObjectMethod",
        "KOVASetPropValueString",
        "KOVALoadGlobalMethod",
        "RuntimeDirectReadStringArray",
    };
    return std::find(std::begin(FAILING), std::end(FAILING), service) != std::end(FAILING);
}

template <typename Case>
class Missing : public testing::TestWithParam<Case> {
protected:
    // Runs the check without the service, and with one that fails if it can.
    void ForBoth(const std::function<void()>& check) {
        ReplacedServices() = {{this->GetParam().service, nullptr}};
        check();
        if (!CanFail(this->GetParam().service)) return;
        SCOPED_TRACE("it fails");
        ReplacedServices() = {{this->GetParam().service, reinterpret_cast<void*>(AnswerNothing)}};
        check();
    }
    ~Missing() override { ReplacedServices().clear(); }
};

template <typename Case>
void PrintTo(const Case& each, std::ostream* out) requires requires {
    each.service;
}
{ *out << each.service; }

std::string ServiceName(const auto& test) { return test.param.service; }

class MissingForReaders : public Missing<ReaderCase> {};

TEST_P(MissingForReaders, ItsFallbackFlowsOn) {
    const ReaderCase& expected = GetParam();
    ForBoth([&] {
        ExpectStory(ReaderStory, expected.document != nullptr
                                     ? std::string(expected.document) + "\n" + expected.wrong + "\n" + expected.file
                                     : "there is no class XmlReader");
    });
}

INSTANTIATE_TEST_SUITE_P(Services, MissingForReaders, testing::ValuesIn(READER_CASES),
                         ServiceName<testing::TestParamInfo<ReaderCase>>);

// The steps of a story, each shown by its answer or its exception.
class Story {
public:
    void Tell(const std::function<std::string()>& step) {
        if (!text_.empty()) text_ += " | ";
        try {
            text_ += step();
        } catch (const host::ProgramException& exception) {
            text_ += exception.what();
        }
    }
    const std::string& Text() const { return text_; }

private:
    std::string text_;
};

std::string DocumentStory() {
    Story story;
    const ObjectRef document = host::Create("XmlDocument", {}, "Constructor()");
    const auto query = [&](std::initializer_list<Value> arguments, const char* declaration) {
        const ObjectRef list = Call(document, declaration, arguments).GetObject();
        return list ? std::to_string(host::GetProperty(list, "Length").Integer())
                          + Call(list, "ToString() as String").Text()
                    : "nil";
    };
    story.Tell([&] {
        Call(document, "LoadXml(doc as String)", {"<a> <b k='v'/> </a>"});
        return TextOf(document, "ToString");
    });
    story.Tell([&] { return query({"//b"}, "Xql(query as String) as XmlNodeList"); });
    story.Tell([&] {
        const ObjectRef map = host::Create("XmlNamespaces");
        host::Assign(map, "Uri(Prefix as String) as String", {"p"}, "urn:p");
        return Call(map, "Uri(Prefix as String) as String", {"p"}).Text()
               + query({"//p:b", map}, "Xql(query as String, map as XmlNamespaces) as XmlNodeList");
    });
    story.Tell([&] {
        return query({"//p:b", std::vector<std::string>{"p", "urn:p"}},
                     "Xql(query as String, map() as String) as XmlNodeList");
    });
    story.Tell([&] {
        const ObjectRef root = NodeOf(document, "DocumentElement");
        if (!root) return std::string("nil");
        Call(root, "AppendChild(newChild as XmlNode) as XmlNode", {root});
        return std::string("appended");
    });
    story.Tell([&] {
        const ObjectRef file = host::NewFolderItem("saved.xml");
        Call(document, "SaveXml(fItem as FolderItem)", {file});
        Call(document, "LoadXml(fItem as FolderItem)", {file});
        return TextOf(NodeOf(document, "DocumentElement"), "Name");
    });
    story.Tell([&] {
        Call(document, "LoadXml(doc as String)", {"<a"});
        return std::string("loaded");
    });
    return story.Text();
}

std::string TransformationStory() {
    Story story;
    constexpr const char* STYLE = "<o xsl:version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>t</o>";
    ObjectRef document = MakeDocument("<a/>");
    const host::HandlerClass handlers("XmlXsltHandler");
    story.Tell([&] { return Call(document, "Transform(xsl as String) as String", {STYLE}).Text(); });
    story.Tell([&] {
        ObjectRef style = host::Create("XmlStyleSheet", {STYLE}, "Constructor(xmlDoc as String)");
        std::string text;
        for (int i = 0; i < 2; ++i) text += Call(document, "Transform(xsl as XmlStylesheet) as String", {style}).Text();
        return text;
    });
    story.Tell([&] {
        std::string text;
        host::HandlerClass handler("XmlXsltHandler");
        handler.On("StartElement", [&](const ObjectRef&, host::Arguments arguments) {
            text += arguments[0].Text() + (arguments[1].GetObject() ? "+" : "-");
            return Value();
        });
        return Call(document, "Transform(xsl as String, saxHandler as XmlXsltHandler) as String",
                    {STYLE, handler.Create()})
                   .Text()
               + text;
    });
    story.Tell([&] { return Call(document, "Transform(xsl as String) as String", {"<o"}).Text(); });
    story.Tell([&] { return TextOf(document, "ToString"); });
    return story.Text();
}

struct StoryCase {
    const char* service;
    std::string documents;
    std::string transformations;
};

const std::string LOADED = R"(<?xml version="1.0" encoding="UTF-8"?><a><b k="v"/></a>)";
const std::string QUERIED = R"( | 1<b k="v"/>)";
const std::string MAPPED = " | urn:p0";
const std::string MAPPED_BY_ARRAY = " | 0";
const std::string REFUSED = " | XmlDomException 3: hierarchy request error";
const std::string SAVED = " | a";
const std::string MALFORMED = " | XmlException 2: msg:XML parser error 73: Couldn't find end of Start Tag ";
const std::string EDITED = REFUSED + SAVED + MALFORMED + "a line 1";
const std::string DOCUMENTS = LOADED + QUERIED + MAPPED + MAPPED_BY_ARRAY + EDITED;
const std::string NO_ARRAYS = LOADED + QUERIED + MAPPED + " | XmlDomException 17: invalid node type" + EDITED;
const std::string NO_FILES = LOADED + QUERIED + MAPPED + MAPPED_BY_ARRAY + REFUSED
                             + " | XmlException 2: msg:XML parser error 4: Document is empty" + MALFORMED + "a line 1";
const std::string NO_TEXTS = "XmlException 2: msg:XML parser error 4: Document is empty";

const std::string RESULT = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><o>t</o>\n";
const std::string RESULTS = RESULT + " | " + RESULT + RESULT + " | " + RESULT;
const std::string SOURCE = R"( | <?xml version="1.0" encoding="UTF-8"?><a/>)";
const std::string TRANSFORMATIONS = RESULTS + "o+" + MALFORMED + "o line 1" + SOURCE;

const std::string NO_DOCUMENT = "XmlDomException 8: reference to a non-existent node";
const std::string NO_STORY =
    NO_TEXTS + " | nil | " + NO_DOCUMENT + " | " + NO_DOCUMENT + " | nil | " + NO_TEXTS + " | " + NO_TEXTS;

// Exceptions whose number could not be set.
std::string WithCode0(const std::string& story) {
    return std::regex_replace(story, std::regex("Exception [0-9]+"), "Exception 0");
}

const StoryCase STORY_CASES[] = {
    {"none", DOCUMENTS, TRANSFORMATIONS}, // what stands with all services
    {"PluginRegisterClass", "there is no class XmlDocument", "there is no class XmlDocument"},
    {"PluginRegisterModule", DOCUMENTS, TRANSFORMATIONS},
    {"PluginNewInstance", "the object is nil", ""},
    // Nodes and lists cannot share their document, and are as if it were gone.
    {"KOVALockObject", LOADED + " | 0" + MAPPED + MAPPED_BY_ARRAY + " | appended | " + MALFORMED + "a line 1",
     TRANSFORMATIONS},
    {"KOVAUnlockObject", DOCUMENTS, TRANSFORMATIONS},
    {"KOVABuildString",
     "XmlException 2 | nil | XmlDomException 8 | XmlDomException 8 | nil | XmlException 2 | XmlException 2",
     "XmlException 2"},
    {"KOVALockString", LOADED + QUERIED + " | XmlDomException 17: invalid node type" + MAPPED_BY_ARRAY + EDITED,
     TRANSFORMATIONS},
    {"KOVAUnlockString", DOCUMENTS, TRANSFORMATIONS},
    {"StringGetCString", NO_STORY, NO_TEXTS},
    {"KOVAGetStringEncoding", DOCUMENTS, TRANSFORMATIONS},
    {"KOVASetStringEncoding", DOCUMENTS, TRANSFORMATIONS},
    {"KOVAConvertString", DOCUMENTS, TRANSFORMATIONS},
    {"RuntimeAddString", LOADED + " | 1" + MAPPED + MAPPED_BY_ARRAY + EDITED, TRANSFORMATIONS},
    {"RuntimeStringCompare", DOCUMENTS, TRANSFORMATIONS},
    {"GetEventInstance", DOCUMENTS, RESULTS + MALFORMED + "o line 1" + SOURCE},
    {"RuntimeRaiseException", LOADED + QUERIED + MAPPED + MAPPED_BY_ARRAY + " | appended | a | loaded",
     RESULTS + "o+ | " + SOURCE},
    {"RuntimeUBound", NO_ARRAYS, TRANSFORMATIONS},
    {"RuntimeDirectReadStringArray", NO_ARRAYS, TRANSFORMATIONS},
    {"KOVAGetPropValueInt", NO_FILES, TRANSFORMATIONS},
    {"KOVASetPropValueInt", WithCode0(DOCUMENTS), WithCode0(TRANSFORMATIONS)},
    {"KOVASetPropValueString",
     LOADED + QUERIED + MAPPED + MAPPED_BY_ARRAY + " | XmlDomException 3 | a | XmlException 2",
     RESULTS + "o+ | XmlException 2" + SOURCE},
    {"KOVALoadObjectMethod", NO_FILES, TRANSFORMATIONS},
    {"KOVALoadGlobalMethod", NO_STORY, NO_TEXTS},
    {"KOVAGetKVVersion", DOCUMENTS, TRANSFORMATIONS},
};

class MissingForDocuments : public Missing<StoryCase> {};

TEST_P(MissingForDocuments, ItsFallbackFlowsOn) {
    ForBoth([&] {
        ExpectStory(DocumentStory, GetParam().documents);
        ExpectStory(TransformationStory, GetParam().transformations);
    });
}

INSTANTIATE_TEST_SUITE_P(Services, MissingForDocuments, testing::ValuesIn(STORY_CASES),
                         ServiceName<testing::TestParamInfo<StoryCase>>);

// ---- Services that answer, and are watched or fail ------------------------------------------------------------------

template <typename Function>
Function* HostService(const char* name) {
    return reinterpret_cast<Function*>(host::ResolveService(name));
}

int closed = 0;

void* LoadAndCountClose(host::Object* object, const char* declaration) {
    if (std::string_view(declaration) == "Close()") ++closed;
    return HostService<void*(host::Object*, const char*)>("KOVALoadObjectMethod")(object, declaration);
}

TEST(Services, EveryStreamIsClosed) {
    ReplacedServices() = {{"KOVALoadObjectMethod", reinterpret_cast<void*>(LoadAndCountClose)}};
    ExpectStory(
        [] {
            const ObjectRef document = MakeDocument("<a/>");
            const ObjectRef file = host::NewFolderItem("file.xml");
            const ObjectRef reader = host::Create("XmlReader", {});
            Call(document, "SaveXml(fItem as FolderItem)", {file});
            Call(document, "LoadXml(fItem as FolderItem)", {file});
            Call(reader, "Parse", {file});
            return std::to_string(closed);
        },
        "3");
    ReplacedServices().clear();
}

// A method of the host's files and streams that raises, and answers nothing.
const char* failingMethod = nullptr;

int32_t RaiseAndAnswerNothing() {
    host::RaiseNew("IOException", 5, "failed");
    return 0;
}

void* LoadFailing(host::Object* object, const char* declaration) {
    if (std::string_view(declaration).starts_with(failingMethod)) return reinterpret_cast<void*>(RaiseAndAnswerNothing);
    return HostService<void*(host::Object*, const char*)>("KOVALoadObjectMethod")(object, declaration);
}

// The host's exception is the one that the program sees.
TEST(Services, AMethodOfAFileThatFailsIsTold) {
    ReplacedServices() = {{"KOVALoadObjectMethod", reinterpret_cast<void*>(LoadFailing)}};
    struct {
        const char* method;
        const char* told; // when a reader reads, a document loads, a document saves
    } const cases[] = {
        {"OpenAsBinaryFile", "IOException 5: failed | IOException 5: failed | saved"},
        {"Read", "IOException 5: failed | IOException 5: failed | saved"},
        {"Close", "IOException 5: failed | IOException 5: failed | IOException 5: failed"},
        {"NativePath", "read | IOException 5: failed | saved"},
        {"CreateTextFile", "read | loaded | IOException 5: failed"},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.method);
        failingMethod = each.method;
        ExpectStory(
            [] {
                Story story;
                std::ofstream("file.xml") << "<f/>";
                const ObjectRef file = host::NewFolderItem("file.xml");
                story.Tell([&] {
                    Call(host::Create("XmlReader", {}), "Parse", {file});
                    return "read";
                });
                story.Tell([&] {
                    Call(MakeDocument("<a/>"), "LoadXml(fItem as FolderItem)", {file});
                    return "loaded";
                });
                story.Tell([&] {
                    Call(MakeDocument("<a/>"), "SaveXml(fItem as FolderItem)", {file});
                    return "saved";
                });
                return story.Text();
            },
            each.told);
    }
    ReplacedServices().clear();
}

bool refuses = false;

host::Object* NewInstanceUnlessRefused(void* reference) {
    return refuses ? nullptr : HostService<host::Object*(void*)>("PluginNewInstance")(reference);
}

// What the library made goes again when the host makes no object for it.
TEST(Services, NothingStaysWithoutAnInstance) {
    ReplacedServices() = {{"PluginNewInstance", reinterpret_cast<void*>(NewInstanceUnlessRefused)}};
    ExpectStory(
        [] {
            const ObjectRef document = MakeDocument("<a/>");
            const auto query = [&] { Call(document, "Xql(query as String) as XmlNodeList", {"//a"}); };
            refuses = true;
            query();
            const struct mallinfo2 before = mallinfo2();
            for (int i = 0; i < 1000; ++i) query();
            return std::string(mallinfo2().uordblks < before.uordblks + 10'000 ? "freed" : "kept");
        },
        "freed");
    ReplacedServices().clear();
}

bool hasRoom = false;

host::Object* NewInstanceIfThereIsRoom(void* reference) {
    void* room = std::malloc(48'000);
    hasRoom = room != nullptr;
    std::free(room);
    return HostService<host::Object*(void*)>("PluginNewInstance")(reference);
}

TEST(Services, TheEndOfMemoryLeavesRoomForItsException) {
    if (IS_SANITIZED) GTEST_SKIP();
    ReplacedServices() = {{"PluginNewInstance", reinterpret_cast<void*>(NewInstanceIfThereIsRoom)}};
    ExpectStory(
        [] {
            const ObjectRef document = MakeDocument("<a>" + std::string(1'000'000, 'x') + "</a>");
            const rlimit nothingMore = {1, RLIM_INFINITY};
            setrlimit(RLIMIT_AS, &nothingMore);
            for (void* volatile taken = document.Get(); taken != nullptr;) taken = std::malloc(16'000);
            try {
                return TextOf(document, "ToString").substr(0, 10);
            } catch (const host::ProgramException& e) {
                return e.className + (hasRoom ? " with room" : "");
            }
        },
        "OutOfMemoryException with room");
    ReplacedServices().clear();
}

TEST(Services, ABaseThatTheHostCannotShowIsNone) {
    ReplacedServices() = {{"StringGetCString", nullptr}};
    ExpectStory(
        [] {
            const ObjectRef reader = host::Create("XmlReader", {});
            SetProperty(reader, "Base", "b");
            return std::string(host::GetProperty(reader, "Base").GetString() ? "some" : "none");
        },
        "none");
    ReplacedServices().clear();
}

int askedOfNil = 0;

void* HandlerUnlessNil(host::Object* object, void* event) {
    if (object == nullptr) ++askedOfNil;
    return HostService<void*(host::Object*, void*)>("GetEventInstance")(object, event);
}

// After a reset the default callback has no reader to tell; it asks the host all the same.
TEST(Services, EventsOfNoReaderAreTheHosts) {
    ReplacedServices() = {{"GetEventInstance", reinterpret_cast<void*>(HandlerUnlessNil)}};
    ExpectStory(
        [] {
            const ObjectRef reader = host::Create("XmlReader", {});
            Call(reader, "Reset() as Boolean");
            SetProperty(reader, "SetDefaultHandler", true);
            Call(reader, "Parse", {"<a/>"});
            return std::to_string(askedOfNil);
        },
        "1");
    ReplacedServices().clear();
}

} // namespace
