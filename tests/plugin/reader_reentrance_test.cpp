// What a program may do to a reader inside the reader's own events. Expat does not guard against any of it; under the
// address sanitizer each case also shows that nothing freed is touched.
#include "tests/plugin/reader_trace.h"

#include <gmock/gmock.h>

namespace {

using host::Arguments;
using host::Call;
using host::ObjectRef;
using host::SetProperty;
using host::Value;
using testing::ElementsAre;

using Action = void (*)(const ObjectRef& reader);

// The event during which it is done (once), what is done, and all that the trace then shows.
struct Case {
    const char* name;
    const char* event;
    Action action;
    std::vector<std::string> lines;
};

constexpr const char* TEXT = "<a x='1'><b>t</b></a>";
constexpr const char* NO_PARSE = "XmlReaderException 23: a reader cannot parse inside one of its own events";

const Case CASES[] = {
    // The old parser goes on; the new one is the reader's.
    {"ConstructsAnew",
     "StartElement",
     [](const ObjectRef& reader) {
         KeepMainParserInReach(reader);
         Call(reader, "Constructor()");
         Call(reader, "Parse", {"<n/>"});
     },
     {"StartDocument()", "StartElement('a', [x='1'])", "StartDocument()", "StartElement('n', [])", "EndElement('n')",
      "EndDocument()", "StartElement('b', [])", "Characters('t')", "EndElement('b')", "EndElement('a')",
      "EndDocument()"}},
    // It takes what Parse is given from then on.
    {"MakesAnEntityReader",
     "StartElement",
     [](const ObjectRef& reader) {
         Call(reader, "CreateExternalEntityReader", {"UTF-8"});
         Call(reader, "Parse", {"<!ELEMENT z ANY>"});
         Call(reader, "FreeExternalEntityReader");
         Call(reader, "FreeExternalEntityReader"); // none any more
     },
     {"StartDocument()", "StartElement('a', [x='1'])", "StartDocument()", "ElementDecl('z', ANY)", "EndDocument()",
      "StartElement('b', [])", "Characters('t')", "EndElement('b')", "EndElement('a')", "EndDocument()"}},
};

class ReaderReentrance : public testing::TestWithParam<Case> {};

TEST_P(ReaderReentrance, GetsAnExceptionOrTheObviousEffect) {
    ReaderTrace trace;
    bool done = false;
    trace.On(GetParam().event, [&](const ObjectRef& reader, Arguments) -> Value {
        if (!std::exchange(done, true)) GetParam().action(reader);
        return {};
    });
    EXPECT_THAT(trace.Parse(trace.NewReader(), TEXT), testing::ElementsAreArray(GetParam().lines));
}

INSTANTIATE_TEST_SUITE_P(Cases, ReaderReentrance, testing::ValuesIn(CASES),
                         [](const auto& test) { return test.param.name; });

TEST(ReaderReentrance, LastReferenceDroppedInAnEvent) {
    ReaderTrace trace;
    host::Object* reader = trace.NewReader().Detach();
    trace.On("StartElement", [&](const ObjectRef&, Arguments) -> Value {
        if (reader != nullptr) host::UnlockObject(std::exchange(reader, nullptr));
        return {};
    });
    host::Method* parse = reader->cls->super->FindMethod(host::ParseSignature("Parse(s as String)"));
    const host::StringRef text{std::string_view(TEXT)};
    const host::Slot arguments[] = {{.object = reader}, {.string = text.Get()}};
    host::Slot result;
    // Without a reference of the call's own.
    host::CallNative(parse->shape, parse->NativeFunction(), arguments, &result);
    EXPECT_EQ(trace.lines.back(), "EndDocument()");
    EXPECT_EQ(trace.lines.size(), 7);
}

// An entity reader's own events: it is freed, used again, reset around, replaced, and left over.
struct EntityCase {
    const char* name;
    Action action; // in the entity's ElementDecl
    const char* lastLine;
};

const EntityCase ENTITY_CASES[] = {
    {"Freed", [](const ObjectRef& reader) { Call(reader, "FreeExternalEntityReader"); }, "EndDocument()"},
    {"FreedAndMadeAnew",
     [](const ObjectRef& reader) {
         Call(reader, "FreeExternalEntityReader");
         Call(reader, "CreateExternalEntityReader", {"UTF-8"});
         Call(reader, "Parse", {"<!ENTITY n 'v'>"});
     },
     "EndDocument()"},
    {"Replaced", [](const ObjectRef& reader) { Call(reader, "CreateExternalEntityReader", {"UTF-8"}); },
     "EndDocument()"},
    {"ParsedOn", [](const ObjectRef& reader) { Call(reader, "Parse", {"<!ENTITY n 'v'>"}); }, NO_PARSE},
    {"MainParsedOn",
     [](const ObjectRef& reader) {
         Call(reader, "FreeExternalEntityReader");
         Call(reader, "Parse", {"<a/>"});
     },
     NO_PARSE},
    {"Reset", [](const ObjectRef& reader) { EXPECT_EQ(Call(reader, "Reset() as Boolean").Integer(), 0); },
     "EndDocument()"},
};

class EntityReentrance : public testing::TestWithParam<EntityCase> {};

TEST_P(EntityReentrance, GetsAnExceptionOrTheObviousEffect) {
    ReaderTrace trace;
    trace.On("NotStandalone", [](const ObjectRef&, Arguments) { return Value(true); });
    trace.On("ExternalEntityRef", [](const ObjectRef& reader, Arguments) {
        Call(reader, "CreateExternalEntityReader", {"UTF-8"});
        Call(reader, "Parse", {"<!ELEMENT a ANY><!ENTITY e 'v'>"});
        Call(reader, "FreeExternalEntityReader");
        return Value(true);
    });
    trace.On("ElementDecl", [](const ObjectRef& reader, Arguments) -> Value {
        KeepEntityParserInReach(reader);
        GetParam().action(reader);
        return {};
    });
    EXPECT_EQ(trace.Events("<!DOCTYPE a SYSTEM 'a.dtd'><a>&e;</a>").back(), GetParam().lastLine);
}

INSTANTIATE_TEST_SUITE_P(Cases, EntityReentrance, testing::ValuesIn(ENTITY_CASES),
                         [](const auto& test) { return test.param.name; });

// Left over from the event in the middle of a declaration, it goes when the reader is reset: the two share a DTD.
TEST(EntityReentrance, EntityReaderLeftOverInADeclaration) {
    ReaderTrace trace;
    trace.On("ExternalEntityRef", [](const ObjectRef& reader, Arguments) {
        Call(reader, "CreateExternalEntityReader", {"UTF-8"});
        Call(reader, "Parse", {"<!ELEMENT a (b,(c|d", false});
        return Value(true);
    });
    trace.On("NotStandalone", [](const ObjectRef&, Arguments) { return Value(true); });
    const ObjectRef reader = trace.NewReader();
    trace.Parse(reader, "<!DOCTYPE a SYSTEM 'a.dtd'><a/>");
    EXPECT_THAT(trace.Parse(reader, "e"), ElementsAre("StartDocument()", "XmlReaderException 0"));
    EXPECT_EQ(Call(reader, "Reset() as Boolean").Integer(), 1);
    EXPECT_THAT(trace.Parse(reader, "<a/>"), ElementsAre("StartDocument()", "EndDocument()"));
}

// An object whose Constructor never ran has no parser.
TEST(ReaderReentrance, NeverConstructed) {
    ReaderTrace trace;
    const ObjectRef reader = host::Create("XmlReader");
    SetProperty(reader, "Base", "b");
    SetProperty(reader, "SetDefaultHandler", true);
    SetProperty(reader, "SetDefaultHandlerExpand", false);
    for (const char* property : {"CurrentLineNumber", "CurrentColumnNumber", "CurrentByteCount"})
        EXPECT_EQ(host::GetProperty(reader, property).Integer(), 0) << property;
    EXPECT_FALSE(host::GetProperty(reader, "Base").GetString());
    Call(reader, "DefaultCurrent");
    Call(reader, "CreateExternalEntityReader", {"UTF-8"});
    Call(reader, "FreeExternalEntityReader");
    EXPECT_EQ(Call(reader, "Reset() as Boolean").Integer(), 0);
    EXPECT_THAT(trace.Parse(reader, "<a/>"), ElementsAre("XmlReaderException 41"));
}

} // namespace
