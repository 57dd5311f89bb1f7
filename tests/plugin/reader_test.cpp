// XmlReader through the reference host: which events a text raises, with which arguments.
#include "host/framework/files.h"
#include "host/runtime/leaks.h"
#include "tests/plugin/plugin_host.h"
#include "tests/plugin/reader_trace.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <fstream>

namespace {

using host::Arguments;
using host::Call;
using host::GetProperty;
using host::ObjectRef;
using host::SetProperty;
using host::Value;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

using Lines = std::vector<std::string>;

// One text and all that the default reader tells about it between StartDocument and EndDocument; a line that names
// an exception takes the place of EndDocument.
struct EventCase {
    const char* text;
    Lines events;
};

class ReaderEvents : public testing::TestWithParam<EventCase> {};

TEST_P(ReaderEvents, OfOneText) {
    Lines expected = GetParam().events;
    expected.insert(expected.begin(), "StartDocument()");
    if (!expected.back().starts_with("XmlReaderException")) expected.emplace_back("EndDocument()");
    EXPECT_THAT(ReaderTrace().Events(GetParam().text), ElementsAreArray(expected));
}

const EventCase CONTENT[] = {
    {"<a/>", {"StartElement('a', [])", "EndElement('a')"}},
    {"<a x='1' y='2'>t&amp;u</a>",
     {"StartElement('a', [x='1' y='2'])", "Characters('t')", "Characters('&')", "Characters('u')", "EndElement('a')"}},
    {"<a><![CDATA[x]]></a>",
     {"StartElement('a', [])", "StartCDATA()", "Characters('x')", "EndCDATA()", "EndElement('a')"}},
    {"<a><!--c--><?p  d ?><?q?></a>",
     {"StartElement('a', [])", "Comment('c')", "ProcessingInstruction('p', 'd ')", "ProcessingInstruction('q', '')",
      "EndElement('a')"}},
    {"<?xml version='1.0'?><a/>", {"XmlDecl('1.0', nil, -1)", "StartElement('a', [])", "EndElement('a')"}},
    {"<?xml version='1.0' encoding='UTF-8' standalone='yes'?><a/>",
     {"XmlDecl('1.0', 'UTF-8', 1)", "StartElement('a', [])", "EndElement('a')"}},
};
INSTANTIATE_TEST_SUITE_P(Content, ReaderEvents, testing::ValuesIn(CONTENT));

const EventCase DECLARATIONS[] = {
    {"<!DOCTYPE a><a/>",
     {"StartDoctypeDecl('a', nil, nil, 0)", "EndDoctypeDecl()", "StartElement('a', [])", "EndElement('a')"}},
    {"<!DOCTYPE a [<!ELEMENT a (b|c)*><!ELEMENT d (#PCDATA|b)*><!ELEMENT e EMPTY><!ELEMENT f ANY>"
     "<!ELEMENT g ((b?,c+),(d|e)*)>]><a/>",
     {"StartDoctypeDecl('a', nil, nil, 1)", "ElementDecl('a', CHOICE*(NAME b, NAME c))",
      "ElementDecl('d', MIXED*(NAME b))", "ElementDecl('e', EMPTY)", "ElementDecl('f', ANY)",
      "ElementDecl('g', SEQ(SEQ(NAME? b, NAME+ c), CHOICE*(NAME d, NAME e)))", "EndDoctypeDecl()",
      "StartElement('a', [])", "EndElement('a')"}},
    {"<!DOCTYPE a [<!ATTLIST a b CDATA #REQUIRED c (x|y) 'x' d ID #IMPLIED e CDATA #FIXED '1'>]><a b='2'/>",
     {"StartDoctypeDecl('a', nil, nil, 1)", "AttlistDecl('a', 'b', 'CDATA', nil, 1)",
      "AttlistDecl('a', 'c', '(x|y)', 'x', 0)", "AttlistDecl('a', 'd', 'ID', nil, 0)",
      "AttlistDecl('a', 'e', 'CDATA', '1', 1)", "EndDoctypeDecl()", "StartElement('a', [b='2' c='x' e='1'])",
      "EndElement('a')"}},
    {"<!DOCTYPE a [<!NOTATION n PUBLIC 'p' 's'><!ENTITY i 'v&#60;'><!ENTITY x SYSTEM 'x.xml'>"
     "<!ENTITY u SYSTEM 'u.gif' NDATA n><!ENTITY % p 'q'>]><a>&i;</a>",
     {"StartDoctypeDecl('a', nil, nil, 1)", "NotationDecl('n', nil, 's', 'p')",
      "EntityDecl('i', 0, 'v<', nil, nil, nil, nil)", "EntityDecl('x', 0, nil, nil, 'x.xml', nil, nil)",
      "EntityDecl('u', 0, nil, nil, 'u.gif', nil, 'n')", "EntityDecl('p', 1, 'q', nil, nil, nil, nil)",
      "EndDoctypeDecl()", "StartElement('a', [])", "Characters('v')", "XmlReaderException 5: unclosed token"}},
};
INSTANTIATE_TEST_SUITE_P(Declarations, ReaderEvents, testing::ValuesIn(DECLARATIONS));

const EventCase REFUSED[] = {
    {"", {"XmlReaderException 3: no element found"}},
    {"<a></b>", {"StartElement('a', [])", "XmlReaderException 7: mismatched tag"}},
    {"<a", {"XmlReaderException 5: unclosed token"}},
    {"<a>t", {"StartElement('a', [])", "Characters('t')", "XmlReaderException 3: no element found"}},
    {"<a>&u;</a>", {"StartElement('a', [])", "XmlReaderException 11: undefined entity"}},
    {"<a>\xFF</a>", {"StartElement('a', [])", "XmlReaderException 4: not well-formed (invalid token)"}},
    {"<a/><b/>", {"StartElement('a', [])", "EndElement('a')", "XmlReaderException 9: junk after document element"}},
    {" <?xml version='1.0'?><a/>",
     {"XmlReaderException 17: xml declaration not at start of external entity"}}, // an older wording than Expat's
    // Without handlers that accept it, neither an external subset nor a document that is not standalone passes.
    {"<!DOCTYPE a SYSTEM 'a.dtd'><a/>",
     {"StartDoctypeDecl('a', 'a.dtd', nil, 0)", "ExternalEntityRef(nil, nil, 'a.dtd', nil)",
      "XmlReaderException 21: error in processing external entity reference"}},
};
INSTANTIATE_TEST_SUITE_P(Refused, ReaderEvents, testing::ValuesIn(REFUSED));

TEST(Reader, TextIsTakenByItsLengthNotUpToANul) {
    EXPECT_THAT(ReaderTrace().Events(std::string_view("<a>x\0y</a>", 10)),
                ElementsAre("StartDocument()", "StartElement('a', [])", "Characters('x')",
                            "XmlReaderException 4: not well-formed (invalid token)"));
}

TEST(Reader, StartAndEndDocumentComeWithEveryChunk) {
    ReaderTrace trace;
    EXPECT_THAT(trace.ParseChunks(trace.NewReader(), "<a><b/></a>", 4),
                ElementsAre("StartDocument()", "StartElement('a', [])", "EndDocument()", "StartDocument()",
                            "StartElement('b', [])", "EndElement('b')", "EndDocument()", "StartDocument()",
                            "EndElement('a')", "EndDocument()"));
}

TEST(Reader, NamespacesNeedASeparatorOfWhichTheFirstByteCounts) {
    constexpr const char* TEXT = "<p:a xmlns:p='u' xmlns='d' p:x='1'><b xmlns=''/></p:a>";
    for (const char* separator : {":", "::"}) {
        ReaderTrace trace;
        EXPECT_THAT(Joined(trace.Parse(trace.NewReader({"UTF-8", separator}), TEXT)),
                    ElementsAre("StartPrefixMapping('p', 'u')", "StartPrefixMapping(nil, 'd')",
                                "StartElement('u:a', [u:x='1'])", "StartPrefixMapping(nil, nil)",
                                "StartElement('b', [])", "EndElement('b')", "EndPrefixMapping(nil)",
                                "EndElement('u:a')", "EndPrefixMapping(nil)", "EndPrefixMapping('p')"));
    }
    ReaderTrace trace;
    EXPECT_THAT(Joined(trace.Parse(trace.NewReader({"UTF-8", Value()}), "<a xmlns='u'/>")),
                ElementsAre("StartPrefixMapping(nil, 'u')", "StartElement('ua', [])", "EndElement('ua')",
                            "EndPrefixMapping(nil)"));
    EXPECT_THAT(Joined(trace.Parse(trace.NewReader({"UTF-8", ":"}), "<p:a/>")),
                ElementsAre("XmlReaderException 27: unbound prefix"));
}

TEST(Reader, EncodingIsTheConstructorsNotTheDocuments) {
    ReaderTrace trace;
    EXPECT_THAT(trace.Parse(trace.NewReader({"ISO-8859-1"}), "<?xml version='1.0' encoding='UTF-8'?><a>\xE9</a>"),
                testing::Contains("Characters('\xC3\xA9')"));
    for (const char* unknown : {"no-such", ""}) {
        EXPECT_THAT(trace.Parse(trace.NewReader({unknown}), "<a/>"),
                    ElementsAre("StartDocument()", "XmlReaderException 18: unknown encoding"));
    }
}

TEST(Reader, DefaultHandlersGetWhatNoEventShows) {
    struct {
        const char* property;
        const char* reference; // what a reference to an internal entity raises
    } const CASES[] = {{"SetDefaultHandler", "SkippedEntity('e', 0)"}, {"SetDefaultHandlerExpand", "Characters('v')"}};
    for (const auto& [property, reference] : CASES) {
        ReaderTrace trace;
        const ObjectRef reader = trace.NewReader();
        SetProperty(reader, property, true);
        Lines events = trace.Parse(reader, "<!DOCTYPE a [<!ENTITY e 'v'>]>\n<a>&e;</a>");
        events.erase(events.begin(), std::find(events.begin(), events.end(), "EndDoctypeDecl()"));
        EXPECT_THAT(events, ElementsAre("EndDoctypeDecl()", "Default('\n')", "StartElement('a', [])", reference,
                                        "EndElement('a')", "EndDocument()"));
        SetProperty(reader, property, false);
        EXPECT_EQ(Call(reader, "Reset() as Boolean").Integer(), 1);
    }
}

TEST(Reader, DefaultCurrentSendsTheConstructOfTheEvent) {
    ReaderTrace trace;
    trace.On("Comment", [](const ObjectRef& self, Arguments) {
        Call(self, "DefaultCurrent");
        return Value();
    });
    const ObjectRef reader = trace.NewReader();
    SetProperty(reader, "SetDefaultHandler", true);
    EXPECT_THAT(trace.Parse(reader, "<a><!--c--></a>"),
                ElementsAre("StartDocument()", "StartElement('a', [])", "Comment('c')", "Default('<!--c-->')",
                            "EndElement('a')", "EndDocument()"));
    Call(reader, "DefaultCurrent"); // no construct is current
    EXPECT_THAT(trace.lines, ElementsAre());
}

TEST(Reader, ResetLeavesNoParserEvents) {
    ReaderTrace trace;
    const ObjectRef reader = trace.NewReader();
    trace.Parse(reader, "<a></b>");
    EXPECT_EQ(Call(reader, "Reset() as Boolean").Integer(), 1);
    EXPECT_THAT(trace.Parse(reader, "<a x='1'>t</a>"), ElementsAre("StartDocument()", "EndDocument()"));
    EXPECT_EQ(Call(reader, "Reset", {"no-such"}).Integer(), 1);
    SetProperty(reader, "SetDefaultHandler", true); // without user data
    EXPECT_THAT(trace.Parse(reader, "<a/>"), ElementsAre("StartDocument()", "XmlReaderException 18: unknown encoding"));
    const Value lastEncoding("UTF-8");
    KeepInReach(lastEncoding);
    EXPECT_EQ(Call(reader, "Reset", {lastEncoding}).Integer(), 1);
    SetProperty(reader, "SetDefaultHandlerExpand", true);
    EXPECT_THAT(trace.Parse(reader, "<a/>"), ElementsAre("StartDocument()", "EndDocument()"));
}

TEST(Reader, PositionsAndErrorCode) {
    ReaderTrace trace;
    std::string inEvent;
    trace.On("StartElement", [&](const ObjectRef& self, Arguments) {
        for (const char* property :
             {"CurrentLineNumber", "CurrentColumnNumber", "CurrentByteIndex", "CurrentByteCount"})
            inEvent += GetProperty(self, property).Integer()
                           ? std::to_string(GetProperty(self, property).Integer()) + " "
                           : "0 ";
        return Value();
    });
    const ObjectRef reader = trace.NewReader();
    EXPECT_FALSE(GetProperty(reader, "Base").GetString());
    SetProperty(reader, "Base", "http://x/");
    EXPECT_EQ(GetProperty(reader, "Base").Text(), "http://x/");
    try {
        Call(reader, "Parse", {std::string("<a>\n  <b/>\n</c>")});
        FAIL();
    } catch (const host::ProgramException& exception) {
        EXPECT_EQ(exception.number, 7);
        EXPECT_EQ(GetProperty(exception.exception, "CurrentLineNumber").Integer(), 3);
        EXPECT_EQ(GetProperty(exception.exception, "CurrentColumnNumber").Integer(), 2);
        EXPECT_EQ(GetProperty(exception.exception, "CurrentByteIndex").Integer(), 13);
        EXPECT_EQ(GetProperty(exception.exception, "CurrentByteCount").Integer(), 0);
    }
    EXPECT_EQ(inEvent, "1 0 0 3 2 2 6 4 ");
    // Read when the text is gone; a second attempt gives the same answer.
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(GetProperty(reader, "ErrorCode").Integer(), 7);
        EXPECT_EQ(GetProperty(reader, "CurrentLineNumber").Integer(), 3);
        EXPECT_THAT(trace.Parse(reader, "<a/>"),
                    ElementsAre("StartDocument()", "XmlReaderException 7: mismatched tag"));
    }
    const ObjectRef finished = trace.NewReader();
    trace.Parse(finished, std::string("<a>\n") + std::string(100000, '\n') + "</a>");
    EXPECT_EQ(GetProperty(finished, "CurrentLineNumber").Integer(), 100002);
}

// Files are read whole; what cannot be opened is the host's exception.
TEST(Reader, ParsesFiles) {
    const std::string path = "reader_test.xml";
    std::ofstream(path) << "<a>t</a>";
    ReaderTrace trace;
    EXPECT_THAT(
        trace.Parse(trace.NewReader(), host::NewFolderItem(path)),
        ElementsAre("StartDocument()", "StartElement('a', [])", "Characters('t')", "EndElement('a')", "EndDocument()"));
    const ObjectRef reader = trace.NewReader();
    Call(reader, "Parse", {host::NewFolderItem(path), false});
    EXPECT_THAT(trace.Parse(reader, ""), ElementsAre("StartDocument()", "EndDocument()"));
    std::ofstream(path, std::ios::trunc).close();
    EXPECT_THAT(trace.Parse(trace.NewReader(), host::NewFolderItem(path)),
                ElementsAre("StartDocument()", "XmlReaderException 3: no element found"));
    EXPECT_THAT(trace.Parse(trace.NewReader(), host::NewFolderItem(path + ".gone")),
                ElementsAre(HasSubstr("IOException")));
    EXPECT_THAT(trace.Parse(trace.NewReader(), Value(ObjectRef())),
                ElementsAre("StartDocument()", "XmlReaderException 3: no element found"));
}

// The program's own entity reader: what it parses raises events on the same reader object.
TEST(Reader, ExternalSubsetIsTheProgramsToRead) {
    ReaderTrace trace;
    trace.On("NotStandalone", [](const ObjectRef&, Arguments) { return Value(true); });
    trace.On("ExternalEntityRef", [&](const ObjectRef& self, Arguments) {
        Call(self, "CreateExternalEntityReader", {"UTF-8"});
        Call(self, "Parse", {"<!ELEMENT a (b)>\n\n<!ENTITY e ", false});
        Call(self, "Parse", {"'v'>", true});
        trace.lines.push_back("line " + std::to_string(GetProperty(self, "CurrentLineNumber").Integer()));
        Call(self, "FreeExternalEntityReader");
        return Value(true);
    });
    EXPECT_THAT(trace.Events("<!DOCTYPE a SYSTEM 'a.dtd'><a>&e;</a>"),
                ElementsAre("StartDocument()", "StartDoctypeDecl('a', 'a.dtd', nil, 0)",
                            "ExternalEntityRef(nil, nil, 'a.dtd', nil)", "StartDocument()",
                            "ElementDecl('a', SEQ(NAME b))", "EndDocument()", "StartDocument()",
                            "EntityDecl('e', 0, 'v', nil, nil, nil, nil)", "EndDocument()", "line 1", "NotStandalone()",
                            "EndDoctypeDecl()", "StartElement('a', [])", "Characters('v')", "EndElement('a')",
                            "EndDocument()"));
}

TEST(Reader, RefusesWhatIsNotStandaloneUnlessTheProgramAcceptsIt) {
    ReaderTrace trace;
    trace.On("ExternalEntityRef", [](const ObjectRef& self, Arguments) {
        Call(self, "CreateExternalEntityReader", {"UTF-8"});
        Call(self, "Parse", {""});
        Call(self, "FreeExternalEntityReader");
        return Value(true);
    });
    constexpr const char* TEXT = "<!DOCTYPE a SYSTEM 'a.dtd' [<!ENTITY % p SYSTEM 'p'>%p;]><a>&u;</a>";
    EXPECT_THAT(trace.Events(TEXT).back(), "XmlReaderException 22: document is not standalone");
    trace.On("NotStandalone", [](const ObjectRef&, Arguments) { return Value(-1); });
    EXPECT_THAT(trace.Events(TEXT), testing::IsSupersetOf({"SkippedEntity('u', 0)", "EndDocument()"}));
}

// The failure of an entity is reported with the main parser's code, text and position: 0, nothing and where it stands.
TEST(Reader, EntityFailureCarriesTheMainParsersState) {
    ReaderTrace trace;
    std::string failure;
    trace.On("ExternalEntityRef", [&](const ObjectRef& self, Arguments) -> Value {
        Call(self, "CreateExternalEntityReader", {"UTF-8"});
        try {
            Call(self, "Parse", {"\n\n<!ELEMENT"});
        } catch (const host::ProgramException& exception) {
            failure = exception.what()
                      + (" line " + std::to_string(GetProperty(exception.exception, "CurrentLineNumber").Integer()));
        }
        Call(self, "FreeExternalEntityReader");
        return Value(false);
    });
    EXPECT_EQ(trace.Events("<!DOCTYPE a SYSTEM 'a.dtd'><a/>").back(),
              "XmlReaderException 21: error in processing external entity reference");
    EXPECT_EQ(failure, "XmlReaderException 0 line 1");
}

TEST(Reader, HandlerExceptionEndsTheEventsAndWins) {
    ReaderTrace trace;
    trace.On("Characters", [](const ObjectRef&, Arguments) -> Value {
        Call(host::Create("XmlReader", {}), "Parse", {"<inner"});
        return {};
    });
    EXPECT_THAT(trace.Events("<a>t<b/></c>"), ElementsAre("StartDocument()", "StartElement('a', [])", "Characters('t')",
                                                          "XmlReaderException 5: unclosed token"));
}

TEST(Reader, ChunkSizeDoesNotMatter) {
    std::string text =
        "<?xml version='1.0' encoding='UTF-8'?>\n<!DOCTYPE a [<!ELEMENT a (b,(c|d)*)><!ATTLIST a x CDATA 'd'>"
        "<!ENTITY e 'v'><!NOTATION n SYSTEM 's'>]>\n<a>";
    for (int i = 0; i < 300; ++i)
        text += "<b y='\xC3\xA9&#xe9;'>t&e;\xE2\x82\xAC<![CDATA[]>]]></b>\r\n<!--c\xF0\x9F\x98\x80--><?p d?>";
    text += "</a>";
    ReaderTrace trace;
    const Lines whole = Joined(trace.Events(text));
    EXPECT_EQ(whole.back(), "EndElement('a')");
    for (const size_t size : {1U, 7U, 4096U})
        EXPECT_EQ(Joined(trace.ParseChunks(trace.NewReader(), text, size)), whole) << size;
}

TEST(AttributeList, KeysAndValues) {
    ReaderTrace trace;
    std::string shown;
    ObjectRef kept;
    trace.On("StartElement", [&](const ObjectRef&, Arguments arguments) -> Value {
        kept = arguments[1].GetObject();
        if (arguments[0].Text() != "a") return {};
        for (const int index : {-1, 0, 1, 2})
            shown += Shown(Call(kept, "Key", {index})) + Shown(Call(kept, "Value", {index})) + " ";
        for (const char* key : {"b", "B", "c", ""}) shown += Shown(Call(kept, "Value", {key}));
        SetProperty(kept, "Count", 1000);
        shown +=
            " " + Shown(Call(kept, "Key", {999})) + Shown(Call(kept, "Key", {1})) + Shown(Call(kept, "Value", {"no"}));
        SetProperty(kept, "Count", 1);
        shown += Shown(Call(kept, "Key", {1})) + Shown(Call(kept, "Value", {"c"}));
        return {};
    });
    trace.Events("<a b='1' c='2'/>");
    EXPECT_EQ(shown, "nilnil 'b''1' 'c''2' nilnil '1'nil'2'nil nil'c'nilnilnil");
    // Kept beyond its event it shows nothing but its count.
    EXPECT_EQ(GetProperty(kept, "Count").Integer(), 1);
    EXPECT_EQ(Shown(Call(kept, "Key", {0})) + Shown(Call(kept, "Value", {"b"})), "nilnil");
    trace.Events("<e/>");
    EXPECT_EQ(Shown(Call(kept, "Key", {0})) + Shown(Call(kept, "Value", {"x"})), "nilnil");
}

TEST(ContentModel, ChildrenGoEmptyWithTheirTree) {
    ReaderTrace trace;
    std::vector<ObjectRef> views;
    ObjectRef tree;
    trace.On("ElementDecl", [&](const ObjectRef&, Arguments arguments) -> Value {
        if (arguments[0].Text() == "a") tree = arguments[1].GetObject();
        const ObjectRef child = Call(arguments[1].GetObject(), "Child", {1}).GetObject();
        views.push_back(child);
        views.push_back(Call(child, "Child", {0}).GetObject());
        for (const int index : {-1, 2}) EXPECT_FALSE(Call(arguments[1].GetObject(), "Child", {index}).GetObject());
        return {};
    });
    trace.Events("<!DOCTYPE a [<!ELEMENT a (b,(c|d)*)><!ELEMENT e (f,(g,h))>]><a/>");
    ASSERT_EQ(views.size(), 4);
    EXPECT_EQ(ModelText(views[0]), "CHOICE*(NAME c, NAME d)"); // its tree is kept
    EXPECT_EQ(ModelText(views[1]), "NAME c");
    EXPECT_EQ(ModelText(views[2]), "-50");
    EXPECT_EQ(ModelText(views[3]), "-50");
    tree = {};
    EXPECT_EQ(ModelText(views[0]) + ModelText(views[1]), "-50-50");
    EXPECT_FALSE(Call(views[0], "Child", {0}).GetObject());
    EXPECT_EQ(ModelText(host::Create("XmlContentModel")), "-50");
}

// Everything that a reader makes goes with it, except what stands in tests/deliberate_leaks.txt: the reference to its
// encoding and the one that an exception of it holds to its message.
TEST(Reader, KeepsNoReferenceButTheDeliberateOnes) {
    StartHost();
    const std::string path = "reader_leaks.xml";
    std::ofstream(path) << "<!DOCTYPE a [<!ELEMENT a (b,(c|d)*)><!ENTITY e 'v'>]><a x='1'>&e;<!--c--><?p d?></a>";
    const auto useReader = [&] {
        ReaderTrace trace;
        trace.On("ExternalEntityRef", [](const ObjectRef& self, Arguments) {
            Call(self, "CreateExternalEntityReader", {"UTF-8"});
            Call(self, "Parse", {"<!ELEMENT b EMPTY>"});
            Call(self, "FreeExternalEntityReader");
            return Value(true);
        });
        const ObjectRef reader = trace.NewReader({"UTF-8", "|"});
        trace.Parse(reader, host::NewFolderItem(path));
        const Value encoding("ISO-8859-1");
        KeepInReach(encoding);
        Call(reader, "Reset", {encoding});
        GetProperty(reader, "Base");
        trace.Parse(reader, "<a></b>");
        trace.Events("<!DOCTYPE a SYSTEM 'x'><a/>");
    };
    useReader(); // what is made once
    const host::LiveCounts before = host::CountLive();
    useReader();
    host::LiveCounts after = host::CountLive();
    EXPECT_EQ(after.strings, before.strings + 4); // two readers, two exceptions
    after.strings = before.strings;
    EXPECT_EQ(after, before);
}

} // namespace
