// The output of a transformation as events, and what the program may do in them.
#include "tests/plugin/plugin_host.h"

#include <functional>
#include <map>
#include <vector>

namespace {

using host::Arguments;
using host::ObjectRef;
using host::Value;

constexpr char TRANSFORM[] = "Transform(xsl as String) as String";
constexpr char TRANSFORM_EVENTS[] = "Transform(xsl as String, saxHandler as XmlXsltHandler) as String";
constexpr char TRANSFORM_STYLE_EVENTS[] = "Transform(xsl as XmlStylesheet, saxHandler as XmlXsltHandler) as String";
constexpr char XMLNS_URI[] = "http://www.w3.org/2000/xmlns/";

std::string Stylesheet(std::string_view content) {
    return "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>" + std::string(content)
           + "</xsl:stylesheet>";
}

// A tree as lines, with names expanded: what both the events and the parsed result come to.
class Outline {
public:
    using Attributes = std::map<std::string, std::string>;

    void Start(const std::string& name, const Attributes& attributes) {
        Flush();
        text_ += "<" + name;
        for (const auto& [key, value] : attributes) text_ += "\n  " + key + "=" + value;
        text_ += "\n";
    }
    void End() { Line(">"); }
    void Comment(const std::string& contents) { Line("comment " + contents); }
    void Instruction(const std::string& target, const std::string& data) { Line("pi " + target + " " + data); }
    void Characters(const std::string& contents) { characters_ += contents; }
    std::string Text() {
        Flush();
        return text_;
    }

private:
    void Line(const std::string& line) {
        Flush();
        text_ += line + "\n";
    }
    void Flush() {
        if (!characters_.empty()) text_ += "text " + characters_ + "\n";
        characters_.clear();
    }

    std::string text_;
    std::string characters_;
};

void OutlineOf(const ObjectRef& node, Outline& outline) {
    for (ObjectRef child = NodeOf(node, "FirstChild"); child; child = NodeOf(child, "NextSibling")) {
        switch (host::GetProperty(child, "Type").Integer()) {
        case 1: {
            Outline::Attributes attributes;
            const int count = host::GetProperty(child, "AttributeCount").Integer();
            for (int index = 0; index < count; ++index) {
                const ObjectRef attribute =
                    host::Call(child, "GetAttributeNode(index as Integer) as XmlAttribute", {index}).GetObject();
                if (TextOf(attribute, "NamespaceUri") == XMLNS_URI) continue;
                attributes["{" + TextOf(attribute, "NamespaceUri") + "}" + TextOf(attribute, "LocalName")] =
                    TextOf(attribute, "Value");
            }
            outline.Start("{" + TextOf(child, "NamespaceUri") + "}" + TextOf(child, "LocalName"), attributes);
            OutlineOf(child, outline);
            outline.End();
            break;
        }
        case 3: outline.Characters(TextOf(child, "Value")); break;
        case 7: outline.Instruction(TextOf(child, "Name"), TextOf(child, "Value")); break;
        case 8: outline.Comment(TextOf(child, "Value")); break;
        default: FAIL() << TextOf(child, "Name");
        }
    }
}

// A handler whose events build an outline. Namespaces are known from their events alone.
class OutlineHandler : public host::HandlerClass {
public:
    OutlineHandler() : HandlerClass("XmlXsltHandler") {
        scopes_.emplace_back("xml", "http://www.w3.org/XML/1998/namespace");
        On("StartDocument", [this](auto&, Arguments) { return Count(started_); });
        On("EndDocument", [this](auto&, Arguments) { return Count(ended_); });
        On("StartNamespace", [this](auto&, Arguments a) {
            scopes_.emplace_back(a[0].Text(), a[1].Text());
            return Value();
        });
        On("EndNamespace", [this](auto&, Arguments a) {
            EXPECT_EQ(scopes_.back().first, a[0].Text());
            scopes_.pop_back();
            return Value();
        });
        On("StartElement", [this](auto&, Arguments a) {
            const ObjectRef list = a[1].GetObject();
            Outline::Attributes attributes;
            for (int index = 0; index < host::GetProperty(list, "Count").Integer(); ++index)
                attributes[Expanded(host::Call(list, "Key", {index}).Text(), false)] =
                    host::Call(list, "Value(index as Integer) as String", {index}).Text();
            outline.Start(Expanded(a[0].Text(), true), attributes);
            names_.push_back(a[0].Text());
            return Value();
        });
        On("EndElement", [this](auto&, Arguments a) {
            EXPECT_EQ(names_.back(), a[0].Text());
            names_.pop_back();
            outline.End();
            return Value();
        });
        On("Comment", [this](auto&, Arguments a) {
            outline.Comment(a[0].Text());
            return Value();
        });
        On("ProcessingInstruction", [this](auto&, Arguments a) {
            outline.Instruction(a[0].Text(), a[1].Text());
            return Value();
        });
        On("Characters", [this](auto&, Arguments a) {
            EXPECT_EQ(a[0].GetString().Get()->encoding, 0x08000100u);
            outline.Characters(a[0].Text());
            return Value();
        });
    }

    // Everything that was started has ended, in one document.
    bool IsBalanced() const { return started_ == 1 && ended_ == 1 && names_.empty() && scopes_.size() == 1; }

    Outline outline;

private:
    static Value Count(int& counter) {
        ++counter;
        return {};
    }

    std::string Expanded(const std::string& name, bool usesDefault) const {
        const auto colon = name.find(':');
        const std::string prefix = colon == std::string::npos ? "" : name.substr(0, colon);
        const std::string local = colon == std::string::npos ? name : name.substr(colon + 1);
        if (prefix.empty() && !usesDefault) return "{}" + local;
        for (auto scope = scopes_.rbegin(); scope != scopes_.rend(); ++scope) {
            if (scope->first == prefix) return "{" + scope->second + "}" + local;
        }
        EXPECT_EQ(prefix, "") << "no namespace event for the prefix";
        return "{}" + local;
    }

    std::vector<std::pair<std::string, std::string>> scopes_;
    std::vector<std::string> names_;
    int started_ = 0;
    int ended_ = 0;
};

struct EventCase {
    const char* name;
    const char* stylesheet; // content of xsl:stylesheet
};

const EventCase EVENT_CASES[] = {
    {"Plain", "<xsl:template match='/'><a><b c='1' d='2' e='3'/>text</a></xsl:template>"},
    {"Namespaces", "<xsl:template match='/'><o:x xmlns='urn:def' xmlns:o='urn:o' o:a='1'><y xmlns:n='urn:n' "
                   "xmlns='urn:e' b='2'/><!--literal comments go--><xsl:comment>c</xsl:comment>"
                   "<xsl:processing-instruction name='t'>d</xsl:processing-instruction>xyz</o:x></xsl:template>"},
    {"NoNamespaceInsideDefault", "<xsl:template match='/'><a xmlns='urn:d'><xsl:element name='b' namespace=''><c "
                                 "xmlns=''/></xsl:element></a></xsl:template>"},
    {"RedeclaredPrefix", "<xsl:template match='/'><p:a xmlns:p='urn:1' p:k='1'><p:a xmlns:p='urn:2' "
                         "p:k='2'/><p:a/></p:a></xsl:template>"},
    {"ComputedNames", "<xsl:template match='/'><xsl:element name='p:e' namespace='urn:p'><xsl:attribute "
                      "name='q:k' namespace='urn:q'>v</xsl:attribute></xsl:element></xsl:template>"},
    {"XmlPrefix", "<xsl:template match='/'><a xml:lang='en' xml:space='preserve'> </a></xsl:template>"},
    {"CopyOfSource", "<xsl:template match='/'><xsl:copy-of select='.'/></xsl:template>"},
    {"TopLevelNodes", "<xsl:template match='/'><xsl:comment>before</xsl:comment><a/><xsl:processing-instruction "
                      "name='after'/></xsl:template>"},
    {"CdataOutput", "<xsl:output cdata-section-elements='s'/><xsl:template match='/'><a><s>x &lt; y ]]&gt; "
                    "z</s></a></xsl:template>"},
    {"Mixed", "<xsl:template match='/'><p>one <b>two</b> three<xsl:comment>c</xsl:comment> four<xsl:text> "
              "five</xsl:text></p></xsl:template>"},
    {"Escapes", "<xsl:template match='/'><a k='&lt;&amp;&quot;&#10;'>&lt;&amp;&gt;&#xE9;&#x1F600;</a></xsl:template>"},
    {"Deep",
     "<xsl:template match='/'><xsl:apply-templates select='//c' mode='nest'/></xsl:template><xsl:template "
     "match='c' mode='nest'><xsl:call-template name='nest'><xsl:with-param name='n' "
     "select='200'/></xsl:call-template></xsl:template><xsl:template name='nest'><xsl:param name='n'/><d><xsl:if "
     "test='$n &gt; 0'><xsl:call-template name='nest'><xsl:with-param name='n' select='$n - "
     "1'/></xsl:call-template></xsl:if></d></xsl:template>"},
};

constexpr char SOURCE[] =
    "<r xmlns:s='urn:s' s:k='v'><a i='1'>one</a><!--c--><?t d?><s:b xmlns='urn:x'><i/></s:b><c/></r>";

class Events : public testing::TestWithParam<EventCase> {
protected:
    static void SetUpTestSuite() { StartHost(); }
};

TEST_P(Events, BuildTheTreeOfTheResult) {
    const auto before = host::CountLive();
    {
        OutlineHandler handlerClass;
        const ObjectRef handler = handlerClass.Create();
        const ObjectRef document = MakeDocument(SOURCE);
        const std::string source = TextOf(document, "ToString");
        const std::string style = Stylesheet(GetParam().stylesheet);
        const std::string result = host::Call(document, TRANSFORM_EVENTS, {style, handler}).Text();
        EXPECT_EQ(result, host::Call(document, TRANSFORM, {style}).Text());
        EXPECT_EQ(TextOf(document, "ToString"), source);
        EXPECT_TRUE(handlerClass.IsBalanced());

        SCOPED_TRACE(result);
        const ObjectRef parsed = host::Create("XmlDocument", {}, "Constructor()");
        host::SetProperty(parsed, "PreserveWhitespace", true);
        host::Call(parsed, "LoadXml(doc as String)", {result});
        Outline expected;
        OutlineOf(parsed, expected);
        EXPECT_EQ(handlerClass.outline.Text(), expected.Text()) << result;
    }
    EXPECT_EQ(host::CountLive(), before);
}

INSTANTIATE_TEST_SUITE_P(Table, Events, testing::ValuesIn(EVENT_CASES),
                         [](const auto& each) { return each.param.name; });

// What an event does while the run goes on. The test holds the only references, and lets go of them at will.
class InEvent : public testing::Test {
protected:
    static void SetUpTestSuite() { StartHost(); }

    // Transforms SOURCE to itself; `action` runs at each start of an element. Answers the result text.
    std::string Run(const std::function<void()>& action) {
        handlerClass_.On("StartElement", [this, action](auto&, Arguments) {
            ++elements;
            action();
            return Value();
        });
        handler = handlerClass_.Create();
        const host::Method* method =
            host::FindClass("XmlDocument")->FindMethod(host::ParseSignature(TRANSFORM_STYLE_EVENTS));
        host::Slot slots[3];
        slots[0].object = document.Get();
        slots[1].object = style.Get();
        slots[2].object = handler.Get();
        host::Slot result{};
        host::CallNative(method->shape, method->function, slots, &result);
        const std::string text = Value::Adopt(host::Kind::STRING, result).Text();
        host::ThrowPending();
        return text;
    }

    static std::string Identity(const std::string& addition = {}) {
        return Stylesheet("<xsl:template match='@*|node()'><xsl:copy><xsl:apply-templates "
                          "select='@*|node()'/></xsl:copy></xsl:template>"
                          + addition);
    }

    host::HandlerClass handlerClass_{"XmlXsltHandler"};
    ObjectRef document = MakeDocument(SOURCE);
    ObjectRef style = host::Create("XmlStyleSheet", {Identity()}, "Constructor(xmlDoc as String)");
    ObjectRef handler;
    const std::string text_ = TextOf(document, "ToString") + "\n";
    int elements = 0;
};

TEST_F(InEvent, EditsTheStylesheet) {
    const auto edit = [&] {
        const ObjectRef output = host::Call(style, "CreateElement(uri as String, tagName as String) as XmlElement",
                                            {"http://www.w3.org/1999/XSL/Transform", "xsl:output"})
                                     .GetObject();
        host::Call(output, "SetAttribute(name as String, value as String)", {"omit-xml-declaration", "yes"});
        host::Call(NodeOf(style, "DocumentElement"), "AppendChild(newChild as XmlNode)", {output});
    };
    EXPECT_EQ(Run([&] { Raised(edit); }), text_);
    // An edit takes effect at the next run.
    Raised(edit);
    EXPECT_EQ(host::Call(document, "Transform(xsl as XmlStylesheet) as String", {style}).Text().substr(0, 3), "<r ");
}

TEST_F(InEvent, LetsEverythingGo) {
    EXPECT_EQ(Run([&] {
                  document = ObjectRef();
                  style = ObjectRef();
                  handler = ObjectRef();
              }),
              text_);
    EXPECT_EQ(elements, 5);
    EXPECT_EQ(host::FindClass("Xml")->liveCount, 0u);
}

// No event follows once one has raised.
TEST_F(InEvent, Raises) {
    EXPECT_EQ(Raised([&] {
                  Run([&] {
                      host::Call(NodeOf(document, "DocumentElement"), "AppendChild(newChild as XmlNode)", {document});
                  });
              }),
              "XmlDomException 3");
    EXPECT_EQ(elements, 1);
    EXPECT_EQ(host::Call(document, "Transform(xsl as XmlStylesheet) as String", {style}).Text(), text_);
}

// A handler stays with the processor of the first document that it served: with another one it hears nothing, until
// the first is gone.
TEST_F(InEvent, ServesItsFirstDocument) {
    Run([] {});
    elements = 0;
    for (int round = 0; round < 20; ++round) { // a later processor may have the address of an earlier one
        const ObjectRef other = MakeDocument("<other/>");
        const std::string result = host::Call(other, TRANSFORM_STYLE_EVENTS, {style, handler}).Text();
        EXPECT_EQ(result, "<?xml version=\"1.0\" encoding=\"UTF-8\"?><other/>\n");
        EXPECT_EQ(elements, round);
        document = MakeDocument(SOURCE);
    }
}

} // namespace
