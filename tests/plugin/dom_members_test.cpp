// Every member of the document model, called by its registered declaration, with its references counted.
#include "tests/plugin/dom_world.h"

#include <filesystem>
#include <fstream>
#include <set>

namespace {

using namespace domtest;

// Two documents with something of everything, and a call of the member under test.
struct World {
    explicit World(const char* testedMember) : member(testedMember) {}

    const char* member;
    ObjectRef document = MakeDocument("<r xmlns:p='urn:p' k='v' p:n='w'><a>text</a><b/><!--c--><?t d?></r>");
    ObjectRef root = NodeOf(document, "DocumentElement");
    ObjectRef a = NodeOf(root, "FirstChild");
    ObjectRef b = NodeOf(a, "NextSibling");
    ObjectRef text = NodeOf(a, "FirstChild");
    ObjectRef other = MakeDocument("<o><i j='k'/></o>");
    ObjectRef foreign = NodeOf(NodeOf(other, "DocumentElement"), "FirstChild");
    ObjectRef gone = host::Create("XmlElement"); // a wrapper without a document

    Value Do(const ObjectRef& object, std::initializer_list<Value> arguments = {}) const {
        return host::Call(object, member, arguments);
    }
    Value Get(const ObjectRef& object) const { return host::GetProperty(object, member); }
    void Set(const ObjectRef& object, Value value) const { host::SetProperty(object, member, std::move(value)); }

    ObjectRef New(const char* factory, std::initializer_list<Value> arguments) const {
        return host::Call(document, factory, arguments).GetObject();
    }
    ObjectRef Attribute(const ObjectRef& element, const char* name) const {
        return host::Call(element, "GetAttributeNode(name as String) as XmlAttribute", {name}).GetObject();
    }
    ObjectRef Query(const char* query) const {
        return host::Call(document, "Xql(query as String) as XmlNodeList", {query}).GetObject();
    }
    static ObjectRef Map() {
        ObjectRef map = host::Create("XmlNamespaces");
        host::Assign(map, "Uri(Prefix as String) as String", {"q"}, "urn:p");
        return map;
    }
    static ObjectRef File() { return host::CallGlobal("GetFolderItem", {"dom_members_test.xml"}).GetObject(); }
};

std::string Name(const Value& node) { return node.GetObject() ? TextOf(node.GetObject(), "Name") : "nil"; }
Value Nil() { return ObjectRef(); }

struct Case {
    const char* className;
    const char* member; // a declaration, or a property's name; several rows may have the same
    int leakedStrings;  // kept on purpose, see tests/programs/deliberate_leaks.txt
    void (*run)(const World&);
};

constexpr int NO_LEAK = 0;
constexpr int DOM_MESSAGE = 1;          // of one XmlDomException
constexpr int XML_MESSAGE_AND_LINE = 2; // of one XmlException without a node
constexpr int LIST_TEXT = 1;            // the text joined so far, for one item

const char STYLE[] = "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
                     "<xsl:output method='text'/><xsl:template match='/'><xsl:value-of select='name(*)'/>"
                     "</xsl:template></xsl:stylesheet>";
const char FAULTY_STYLE[] = "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>";

ObjectRef Style() { return host::Create("XmlStyleSheet", {STYLE}, "Constructor(xmlDoc as String)"); }

const Case CASES[] = {
    // XmlException: message, line and node stay with the exception for good.
    {"XmlException", "Line", XML_MESSAGE_AND_LINE,
     [](const World& w) {
         try {
             MakeDocument("<a>x\n\n<b></a>");
             FAIL();
         } catch (const host::ProgramException& e) {
             EXPECT_EQ(w.Get(e.exception).Text(), "line:3");
             EXPECT_EQ(e.number, 2);
             EXPECT_TRUE(e.message.starts_with("msg:XML parser error ")) << e.message;
         }
     }},
    {"XmlException", "Node", 3,
     [](const World& w) {
         const std::string style = std::string(STYLE).replace(std::string(STYLE).find("name(*)"), 7, "no-such()");
         try {
             host::Call(w.document, "Transform(xsl as String) as String", {style});
             FAIL();
         } catch (const host::ProgramException& e) {
             EXPECT_EQ(w.Get(e.exception).Text(), "node:element '<xsl:value-of>'");
             EXPECT_EQ(e.number, 51);
         }
     }},
    {"XmlException", "Token", XML_MESSAGE_AND_LINE,
     [](const World& w) {
         try {
             MakeDocument("<a");
             FAIL();
         } catch (const host::ProgramException& e) {
             EXPECT_EQ(w.Get(e.exception).Text(), ""); // never written
         }
     }},

    {"XmlNamespaces", "Uri(Prefix as String) as String", NO_LEAK,
     [](const World& w) {
         const ObjectRef map = w.Map();
         EXPECT_EQ(w.Do(map, {"q"}).Text(), "urn:p");
         EXPECT_EQ(w.Do(map, {"absent"}).Text(), "");
         host::Assign(map, w.member, {"q"}, "urn:later");
         host::Assign(map, w.member, {host::StringRef::Adopt(host::BuildString("\xE4", 1, 0x0201))}, "urn:latin");
         EXPECT_EQ(w.Do(map, {"q"}).Text() + w.Do(map, {"ä"}).Text(), "urn:laterurn:latin");
     }},
    {"XmlNamespaces", "HasPrefix(Prefix as String) as Boolean", NO_LEAK,
     [](const World& w) {
         const ObjectRef map = w.Map();
         host::Assign(map, "Uri(Prefix as String) as String", {"second"}, "urn:s");
         EXPECT_EQ(w.Do(map, {"q"}).Integer(), 0);
         EXPECT_EQ(w.Do(map, {"second"}).Integer(), 1);
         EXPECT_EQ(w.Do(map, {"absent"}).Integer(), -1);
     }},
    {"XmlNamespaces", "Clear()", NO_LEAK,
     [](const World& w) {
         const ObjectRef map = w.Map();
         w.Do(map);
         EXPECT_EQ(host::GetProperty(map, "Count").Integer(), 0);
         host::SetProperty(map, "Count", 5);
         EXPECT_EQ(host::Call(map, "Uri(Prefix as String) as String", {"q"}).Text(), "");
     }},
    // A program may write any count: nothing outside of the sixteen entries is read or written, and nothing is lost.
    {"XmlNamespaces", "Count", DOM_MESSAGE,
     [](const World& w) {
         const ObjectRef map = w.Map();
         EXPECT_EQ(w.Get(map).Integer(), 1);
         for (const int count : {-1, 1000, 0x7FFFFFFF, -0x7FFFFFFF}) {
             w.Set(map, count);
             EXPECT_EQ(host::Call(map, "Uri(Prefix as String) as String", {"none"}).Text(), "");
             EXPECT_EQ(host::Call(w.document, "Xql(query as String, map as XmlNamespaces) as XmlNodeList", {"/r", map})
                               .GetObject()
                               .Get()
                           == nullptr,
                       false);
         }
         w.Set(map, -1);
         for (int index = 0; index < 16; ++index)
             host::Assign(map, "Uri(Prefix as String) as String", {"p" + std::to_string(index)},
                          "urn:" + std::to_string(index));
         EXPECT_EQ(w.Get(map).Integer(), 16);
         EXPECT_EQ(Raised([&] { host::Assign(map, "Uri(Prefix as String) as String", {"p16"}, "urn:16"); }),
                   "XmlDomException 1");
         host::Assign(map, "Uri(Prefix as String) as String", {"p15"}, "urn:new");
         EXPECT_EQ(host::Call(map, "Uri(Prefix as String) as String", {"p15"}).Text(), "urn:new");
         w.Set(map, 3);
     }},

    {"XmlNodeList", "Length", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(w.Get(w.Query("/r/*")).Integer(), 2);
         EXPECT_EQ(w.Get(w.Query("/none")).Integer(), 0);
     }},
    {"XmlNodeList", "LastError", NO_LEAK, [](const World& w) { EXPECT_EQ(w.Get(w.Query("/r")).Integer(), 0); }},
    {"XmlNodeList", "Item (index as Integer) as XmlNode", NO_LEAK,
     [](const World& w) {
         const ObjectRef list = w.Query("/r/*");
         EXPECT_EQ(Name(w.Do(list, {0})) + Name(w.Do(list, {1})), "ab");
         for (const int index : {-1, 2, 0x7FFFFFFF}) {
             EXPECT_EQ(Name(w.Do(list, {index})), "nil");
             EXPECT_EQ(host::GetProperty(list, "LastError").Integer(), 1);
         }
     }},
    {"XmlNodeList", "ToString() as String", 2 * LIST_TEXT,
     [](const World& w) {
         EXPECT_EQ(w.Do(w.Query("/r/*")).Text(), "<a xmlns:p=\"urn:p\">text</a><b xmlns:p=\"urn:p\"/>");
         EXPECT_EQ(w.Do(w.Query("/none")).Text(), "");
     }},
    {"XmlNodeList", "ToString(tagName as String) as String", LIST_TEXT,
     [](const World& w) {
         EXPECT_EQ(w.Do(w.Query("/r/b"), {"x y"}).Text(), "<x y><b xmlns:p=\"urn:p\"/></x y>");
         EXPECT_EQ(w.Do(w.Query("/none"), {"r"}).Text(), "<r></r>");
     }},

    {"XmlNode", "OwnerDocument", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(Name(w.Get(w.text)), "#document");
         EXPECT_EQ(Name(w.Get(w.document)), "nil");
     }},
    {"XmlNode", "LastError", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(w.Get(w.root).Integer(), 0);
         TextOf(w.gone, "Name");
         EXPECT_EQ(w.Get(w.gone).Integer(), 8);
     }},
    {"XmlNode", "Type", NO_LEAK, [](const World& w) { EXPECT_EQ(w.Get(w.text).Integer(), 3); }},
    {"XmlNode", "Name", DOM_MESSAGE,
     [](const World& w) {
         w.Set(w.b, "renamed");
         EXPECT_EQ(w.Get(w.b).Text(), "renamed");
         EXPECT_EQ(Raised([&] { w.Set(w.text, "x"); }), "XmlDomException 7");
     }},
    {"XmlNode", "NamespaceUri", NO_LEAK,
     [](const World& w) { EXPECT_EQ(w.Get(w.Attribute(w.root, "p:n")).Text() + w.Get(w.text).Text(), "urn:p"); }},
    {"XmlNode", "Prefix", NO_LEAK,
     [](const World& w) { EXPECT_EQ(w.Get(w.Attribute(w.root, "p:n")).Text() + w.Get(w.text).Text(), "p"); }},
    {"XmlNode", "LocalName", NO_LEAK,
     [](const World& w) { EXPECT_EQ(w.Get(w.Attribute(w.root, "p:n")).Text() + w.Get(w.text).Text(), "n"); }},
    {"XmlNode", "Value", DOM_MESSAGE,
     [](const World& w) {
         w.Set(w.text, "new");
         EXPECT_EQ(w.Get(w.text).Text() + w.Get(w.root).Text(), "new");
         EXPECT_EQ(Raised([&] { w.Set(w.root, "x"); }), "XmlDomException 7");
     }},
    {"XmlNode", "ChildCount", NO_LEAK, [](const World& w) { EXPECT_EQ(w.Get(w.root).Integer(), 4); }},
    {"XmlNode", "Parent", NO_LEAK,
     [](const World& w) { EXPECT_EQ(Name(w.Get(w.a)) + Name(w.Get(w.document)), "rnil"); }},
    {"XmlNode", "FirstChild", NO_LEAK,
     [](const World& w) { EXPECT_EQ(Name(w.Get(w.root)) + Name(w.Get(w.text)), "anil"); }},
    {"XmlNode", "LastChild", NO_LEAK,
     [](const World& w) { EXPECT_EQ(Name(w.Get(w.root)) + Name(w.Get(w.text)), "tnil"); }},
    {"XmlNode", "PreviousSibling", NO_LEAK,
     [](const World& w) { EXPECT_EQ(Name(w.Get(w.b)) + Name(w.Get(w.a)), "anil"); }},
    {"XmlNode", "NextSibling", NO_LEAK,
     [](const World& w) { EXPECT_EQ(Name(w.Get(w.a)) + Name(w.Get(w.text)), "bnil"); }},
    {"XmlNode", "ToString", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(w.Get(w.foreign).Text() + w.Get(w.text).Text(), "<i j=\"k\"/>");
         EXPECT_EQ(w.Get(w.other).Text(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?><o><i j=\"k\"/></o>");
     }},
    {"XmlNode", "AttributeCount", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(w.Get(w.foreign).Integer(), 1);
         const ObjectRef made = host::Create("XmlDocument", {}, "Constructor()"); // counted by name in such a document
         const ObjectRef root = host::Call(made, "CreateElement(tagName as String) as XmlElement", {"e"}).GetObject();
         host::Call(made, "AppendChild(newChild as XmlNode)", {root});
         EXPECT_EQ(w.Get(root).Integer(), 0);
     }},
    {"XmlNode", "Compare(node as XmlNode) as integer", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(w.Do(w.a, {w.b}).Integer(), -1);
         EXPECT_EQ(w.Do(w.a, {Nil()}).Integer(), -50);
         EXPECT_EQ(w.Do(w.gone, {w.a}).Integer(), -50);
     }},
    {"XmlNode", "Child(index as Integer) as XmlNode", NO_LEAK,
     [](const World& w) { EXPECT_EQ(Name(w.Do(w.root, {1})) + Name(w.Do(w.root, {9})), "bnil"); }},
    {"XmlNode", "Insert(newChild as XmlNode, beforeChild as XmlNode) as XmlNode", 2 * DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(w.Do(w.root, {w.b, w.a}).GetObject().Get(), w.b.Get());
         EXPECT_EQ(Name(w.Do(w.root, {w.b, Nil()})), "nil");
         EXPECT_EQ(Raised([&] { w.Do(w.root, {w.foreign, w.a}); }), "XmlDomException 4");
         EXPECT_EQ(Raised([&] { w.Do(w.root, {Nil(), w.a}); }), "XmlDomException 4"); // the failure that stands
     }},
    {"XmlNode", "Insert(newChild as XmlNode, beforeChild as XmlNode)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.root, {w.b, w.a});
         EXPECT_EQ(Raised([&] { w.Do(w.b, {w.a, w.text}); }), "XmlDomException 8");
     }},
    {"XmlNode", "RemoveChild(oldChild as XmlNode)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.root, {w.a});
         w.Do(w.root, {Nil()});
         EXPECT_EQ(Raised([&] { w.Do(w.root, {w.a}); }), "XmlDomException 8");
     }},
    {"XmlNode", "ReplaceChild(newChild as XmlNode, oldChild as XmlNode) as XmlNode", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(w.Do(w.root, {w.text, w.a}).GetObject().Get(), w.text.Get());
         EXPECT_EQ(Raised([&] { w.Do(w.root, {w.root, w.b}); }), "XmlDomException 3");
     }},
    {"XmlNode", "ReplaceChild(newChild as XmlNode, oldChild as XmlNode)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.root, {w.text, w.a});
         EXPECT_EQ(Raised([&] { w.Do(w.root, {w.b, w.a}); }), "XmlDomException 8");
     }},
    {"XmlNode", "AppendChild(newChild as XmlNode) as XmlNode", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(w.Do(w.b, {w.a}).GetObject().Get(), w.a.Get());
         EXPECT_EQ(Raised([&] { w.Do(w.b, {w.gone}); }), "XmlDomException 8");
     }},
    {"XmlNode", "AppendChild(newChild as XmlNode)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.b, {w.a});
         EXPECT_EQ(Raised([&] { w.Do(w.a, {w.root}); }), "XmlDomException 3");
     }},
    {"XmlNode", "Clone(deep as Boolean) as XmlNode", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(host::GetProperty(w.Do(w.a, {true}).GetObject(), "ChildCount").Integer(), 1);
         EXPECT_EQ(host::GetProperty(w.Do(w.a, {false}).GetObject(), "ChildCount").Integer(), 0);
         EXPECT_EQ(Raised([&] { w.Do(w.document, {true}); }), "XmlDomException 16");
     }},
    {"XmlNode", "Xql(query as String) as XmlNodeList", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(host::GetProperty(w.Do(w.root, {"*"}).GetObject(), "Length").Integer(), 2);
         for (const char* faulty : {"//[", "q:x", "1 + 1", "$v", ""}) {
             EXPECT_FALSE(w.Do(w.root, {faulty}).GetObject()) << faulty;
             EXPECT_NE(host::GetProperty(w.root, "LastError").Integer(), 0) << faulty;
         }
     }},
    {"XmlNode", "Xql(query as String, map as XmlNamespaces) as XmlNodeList", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(host::GetProperty(w.Do(w.root, {"@q:n", w.Map()}).GetObject(), "Length").Integer(), 1);
         EXPECT_EQ(Raised([&] { w.Do(w.root, {"@p:n", w.Map()}); }), "XmlDomException 17");
         EXPECT_EQ(Raised([&] { w.Do(w.root, {"*", Nil()}); }), "NilObjectException 0");
     }},
    {"XmlNode", "Xql(query as String, map() as String) as XmlNodeList", DOM_MESSAGE,
     [](const World& w) {
         using Map = std::vector<std::string>;
         EXPECT_EQ(host::GetProperty(w.Do(w.root, {"@q:n", Map{"q", "urn:p"}}).GetObject(), "Length").Integer(), 1);
         EXPECT_EQ(host::GetProperty(w.Do(w.root, {"*", Map{}}).GetObject(), "Length").Integer(), 2);
         EXPECT_EQ(Raised([&] { w.Do(w.root, {"@r:n", Map{"q", "urn:p", "r"}}); }), "XmlDomException 17"); // odd
     }},
    {"XmlNode", "GetAttribute(name as String) as String", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(w.Do(w.root, {"k"}).Text() + w.Do(w.root, {"none"}).Text(), "v");
         EXPECT_EQ(w.Do(w.text, {"k"}).Text(), "");
         EXPECT_EQ(host::GetProperty(w.text, "LastError").Integer(), 16);
     }},
    {"XmlNode", "GetAttribute(uri as String, name as String) as String", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(w.Do(w.root, {"urn:p", "n"}).Text(), "w");
         EXPECT_EQ(w.Do(w.text, {"urn:p", "n"}).Text(), "");
         EXPECT_EQ(host::GetProperty(w.text, "LastError").Integer(), 0); // left alone
     }},
    {"XmlNode", "SetAttribute(name as String, value as String)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.root, {"k", host::StringRef::Adopt(host::BuildString("\xE4", 1, 0x0201))});
         EXPECT_EQ(host::Call(w.root, "GetAttribute(name as String) as String", {"k"}).Text(), "ä");
         EXPECT_EQ(Raised([&] { w.Do(w.root, {"", "v"}); }), "XmlDomException 5");
     }},
    {"XmlNode", "SetAttribute(uri as String, name as String, value as String)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.b, {"urn:z", "z:n", "v"});
         EXPECT_EQ(Raised([&] { w.Do(w.b, {"", "y:n", "v"}); }), "XmlDomException 14");
     }},
    {"XmlNode", "GetAttributeNode(name as String) as XmlAttribute", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.root, {"k"})) + Name(w.Do(w.root, {"none"})), "knil");
         EXPECT_EQ(Raised([&] { w.Do(w.text, {"k"}); }), "XmlDomException 16");
     }},
    {"XmlNode", "GetAttributeNode(uri as String, name as String) as XmlAttribute", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.root, {"urn:p", "n"})) + Name(w.Do(w.root, {"", "n"})), "p:nnil");
         EXPECT_EQ(Raised([&] { w.Do(w.text, {"", "k"}); }), "XmlDomException 16");
     }},
    {"XmlNode", "GetAttributeNode(index as Integer) as XmlAttribute", 2 * DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.foreign, {0})) + Name(w.Do(w.foreign, {1})) + Name(w.Do(w.foreign, {-1})),
                   "jnilxmlns:xml");
         EXPECT_EQ(Name(w.Do(w.text, {0})), "nil");
         // Without an attribute an old failure comes up again.
         EXPECT_EQ(Raised([&] { host::SetProperty(w.root, "Value", "x"); }), "XmlDomException 7");
         EXPECT_EQ(Raised([&] { w.Do(w.root, {99}); }), "XmlDomException 7");
     }},
    {"XmlNode", "SetAttributeNode(attributeNode as XmlAttribute) as XmlAttribute", DOM_MESSAGE,
     [](const World& w) {
         const ObjectRef attribute = w.New("CreateAttribute(qName as String) as XmlAttribute", {"k"});
         EXPECT_EQ(TextOf(w.Do(w.root, {attribute}).GetObject(), "Value"), "v");
         EXPECT_EQ(Name(w.Do(w.a, {w.New("CreateAttribute(uri as String, qName as String) as XmlAttribute",
                                         {"urn:p", "p:n"})})),
                   "nil");
         EXPECT_EQ(Name(w.Do(w.b, {Nil()})), "nil");
         EXPECT_EQ(Raised([&] { w.Do(w.b, {attribute}); }), "XmlDomException 10");
     }},
    {"XmlNode", "SetAttributeNode(attributeNode as XmlAttribute)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.root, {w.New("CreateAttribute(qName as String) as XmlAttribute", {"k"})});
         EXPECT_EQ(Raised([&] { w.Do(w.b, {w.Attribute(w.foreign, "j")}); }), "XmlDomException 4");
     }},
    {"XmlNode", "RemoveAttributeNode(attributeNode as XmlAttribute) as XmlAttribute", DOM_MESSAGE,
     [](const World& w) {
         const ObjectRef attribute = w.Attribute(w.root, "k");
         EXPECT_EQ(Name(w.Do(w.root, {attribute})), "k");
         EXPECT_EQ(Name(w.Do(w.root, {Nil()})), "nil");
         EXPECT_EQ(Raised([&] { w.Do(w.root, {attribute}); }), "XmlDomException 8");
     }},
    {"XmlNode", "RemoveAttributeNode(attributeNode as XmlAttribute)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.root, {w.Attribute(w.root, "k")});
         EXPECT_EQ(Raised([&] { w.Do(w.b, {w.Attribute(w.root, "p:n")}); }), "XmlDomException 8");
     }},
    {"XmlNode", "RemoveAttribute(name as String)", DOM_MESSAGE,
     [](const World& w) {
         w.Do(w.root, {"k"});
         w.Do(w.root, {"none"});
         EXPECT_EQ(Raised([&] { w.Do(w.root, {"xmlns:p"}); }), "XmlDomException 7"); // in use
     }},
    {"XmlAttribute", "OwnerElement", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(Name(w.Get(w.Attribute(w.root, "k"))), "r");
         EXPECT_EQ(Name(w.Get(w.New("CreateAttribute(qName as String) as XmlAttribute", {"k"}))), "nil");
     }},

    {"XmlDocument", "DocumentElement", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(Name(w.Get(w.document)), "r");
         EXPECT_EQ(Name(w.Get(host::Create("XmlDocument", {}, "Constructor()"))), "nil");
     }},
    {"XmlDocument", "PreserveWhitespace", NO_LEAK,
     [](const World& w) {
         EXPECT_FALSE(w.Get(w.document).Boolean());
         w.Set(w.document, true);
         EXPECT_TRUE(w.Get(w.document).Boolean());
     }},
    {"XmlDocument", "Encoding", NO_LEAK,
     [](const World& w) {
         EXPECT_FALSE(w.Get(w.document).GetString());
         w.Set(w.document, "ISO-8859-1");
         w.Set(w.document, "UTF-8");
         EXPECT_EQ(w.Get(w.document).Text(), "UTF-8");
     }},
    {"XmlDocument", "Constructor()", NO_LEAK,
     [](const World& w) {
         // Again on a document that has nodes about: they stay with their tree.
         w.Do(w.document);
         EXPECT_EQ(host::GetProperty(w.document, "ChildCount").Integer(), 0);
         EXPECT_EQ(TextOf(w.a, "Name"), "a");
     }},
    {"XmlDocument", "Constructor(xmlDoc as String)", XML_MESSAGE_AND_LINE,
     [](const World& w) {
         w.Do(w.document, {"<again/>"});
         EXPECT_EQ(Name(host::GetProperty(w.document, "DocumentElement")), "again");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {"<again>"}); }), "XmlException 2");
     }},
    {"XmlDocument", "Constructor(fItem as FolderItem)", XML_MESSAGE_AND_LINE,
     [](const World& w) {
         std::ofstream("dom_members_test.xml") << "<file> <x/> </file>";
         w.Do(w.document, {w.File()});
         EXPECT_EQ(Name(host::GetProperty(w.document, "DocumentElement")), "file");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {Nil()}); }), "XmlException 2"); // read as an empty text
     }},
    {"XmlDocument", "LoadXml(doc as String)", 2 * XML_MESSAGE_AND_LINE,
     [](const World& w) {
         w.Do(w.document, {"<l> <m/> </l>"});
         EXPECT_EQ(host::GetProperty(NodeOf(w.document, "DocumentElement"), "ChildCount").Integer(), 1);
         EXPECT_EQ(TextOf(w.a, "Name"), ""); // of the tree that went
         EXPECT_EQ(host::GetProperty(w.a, "LastError").Integer(), 8);
         EXPECT_EQ(Raised([&] { w.Do(w.document, {"<l>"}); }), "XmlException 2");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {""}); }), "XmlException 2");
         w.Do(w.document, {"<n/>"});
         EXPECT_EQ(Name(host::GetProperty(w.document, "FirstChild")), "n");
     }},
    {"XmlDocument", "LoadXml(fItem as FolderItem)", NO_LEAK,
     [](const World& w) {
         std::ofstream("dom_members_test.xml") << "<file> <x/> </file>";
         w.Do(w.document, {w.File()});
         EXPECT_EQ(host::GetProperty(NodeOf(w.document, "DocumentElement"), "ChildCount").Integer(), 1);
     }},
    {"XmlDocument", "ImportNode(foreignNode as XmlNode, deep as Boolean) as XmlNode", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.document, {w.foreign, true})), "i");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {Nil(), true}); }), "NilObjectException 0");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {w.other, true}); }), "XmlDomException 16");
         EXPECT_EQ(Name(w.Do(w.document, {w.gone, true})), "nil");
         EXPECT_EQ(host::GetProperty(w.gone, "LastError").Integer(), 8);
     }},
    {"XmlDocument", "SaveXml(fItem as FolderItem)", NO_LEAK,
     [](const World& w) {
         w.Do(w.other, {w.File()});
         std::ifstream file("dom_members_test.xml");
         EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), TextOf(w.other, "ToString"));
         w.Do(w.other, {Nil()});
     }},
    {"XmlDocument", "Transform(xsl as String) as String", XML_MESSAGE_AND_LINE,
     [](const World& w) {
         const Value result = w.Do(w.document, {STYLE});
         EXPECT_EQ(result.Text(), "r");
         EXPECT_EQ(result.GetString().Get()->encoding, 0x08000100u);
         EXPECT_EQ(Raised([&] { w.Do(w.document, {FAULTY_STYLE}); }), "XmlException 2");
     }},
    {"XmlDocument", "Transform(xsl as XmlStylesheet) as String", NO_LEAK,
     [](const World& w) {
         const Value result = w.Do(w.document, {Style()});
         EXPECT_EQ(result.Text(), "r");
         EXPECT_EQ(result.GetString().Get()->encoding, 0u);
         EXPECT_EQ(Raised([&] { w.Do(w.document, {Nil()}); }), "NilObjectException 0");
     }},
    {"XmlDocument", "Transform(xsl as String, saxHandler as XmlXsltHandler) as String", XML_MESSAGE_AND_LINE,
     [](const World& w) {
         const ObjectRef handler = host::Create("XmlXsltHandler");
         EXPECT_EQ(w.Do(w.document, {STYLE, handler}).Text(), "r");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {FAULTY_STYLE, handler}); }), "XmlException 2");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {STYLE, Nil()}); }), "NilObjectException 0");
     }},
    {"XmlDocument", "Transform(xsl as XmlStylesheet, saxHandler as XmlXsltHandler) as String", NO_LEAK,
     [](const World& w) {
         const ObjectRef handler = host::Create("XmlXsltHandler");
         EXPECT_EQ(w.Do(w.document, {Style(), handler}).Text(), "r");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {Nil(), handler}); }), "NilObjectException 0");
     }},
    {"XmlDocument", "CreateAttribute(qName as String) as XmlAttribute", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.document, {"n"})), "n");
         EXPECT_EQ(Name(w.Do(w.document, {"1"})), "nil");
         EXPECT_EQ(host::GetProperty(w.document, "LastError").Integer(), 5);
     }},
    {"XmlDocument", "CreateAttribute(uri as String, qName as String) as XmlAttribute", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.document, {"urn:p", "p:n"})), "p:n");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {"", "p:n"}); }), "XmlDomException 14");
     }},
    {"XmlDocument", "CreateElement(tagName as String) as XmlElement", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.document, {"x:y"})), "x:y");
         EXPECT_EQ(Name(w.Do(w.document, {"<"})), "nil");
         EXPECT_EQ(host::GetProperty(w.document, "LastError").Integer(), 5);
         EXPECT_EQ(Name(w.Do(w.document, {""})), "nil");
         EXPECT_EQ(host::GetProperty(w.document, "LastError").Integer(), 5); // as it was
     }},
    {"XmlDocument", "CreateElement(uri as String, tagName as String) as XmlElement", DOM_MESSAGE,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.document, {"urn:x", "x:y"})) + Name(w.Do(w.document, {"urn:x", ""})), "x:ynil");
         EXPECT_EQ(Raised([&] { w.Do(w.document, {"", "p:x"}); }), "XmlDomException 14");
     }},
    {"XmlDocument", "CreateTextNode(data as String) as XmlTextNode", NO_LEAK,
     [](const World& w) { EXPECT_EQ(Name(w.Do(w.document, {"t"})) + Name(w.Do(w.document, {"\x01"})), "#textnil"); }},
    {"XmlDocument", "CreateCDATASection(data as String) as XmlCDATASection", NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.document, {"]]>"})) + Name(w.Do(w.document, {"\x01"})), "#cdata-sectionnil");
     }},
    {"XmlDocument", "CreateComment(data as String) as XmlComment", NO_LEAK,
     [](const World& w) { EXPECT_EQ(Name(w.Do(w.document, {"c"})) + Name(w.Do(w.document, {"--"})), "#commentnil"); }},
    {"XmlDocument", "CreateProcessingInstruction(target as String, data as String) as XmlProcessingInstruction",
     NO_LEAK,
     [](const World& w) {
         EXPECT_EQ(Name(w.Do(w.document, {"t", "d"})) + Name(w.Do(w.document, {"xml", "d"})), "tnil");
     }},

    {"XmlStyleSheet", "Constructor()", NO_LEAK,
     [](const World& w) {
         const ObjectRef style = Style();
         w.Do(style);
         EXPECT_EQ(Name(host::GetProperty(style, "DocumentElement")), "nil");
     }},
    {"XmlStyleSheet", "Constructor(xmlDoc as String)", 3,
     [](const World& w) {
         const ObjectRef style = host::Create("XmlStyleSheet");
         w.Do(style, {STYLE});
         EXPECT_EQ(host::Call(w.document, "Transform(xsl as XmlStylesheet) as String", {style}).Text(), "r");
         EXPECT_EQ(Raised([&] { w.Do(style, {"<x xmlns:xsl='http://www.w3.org/1999/XSL/Transform'/>"}); }),
                   "XmlException 1");
     }},
    {"XmlStyleSheet", "Constructor(fItem as FolderItem)", NO_LEAK,
     [](const World& w) {
         std::ofstream("dom_members_test.xml") << STYLE;
         const ObjectRef style = host::Create("XmlStyleSheet");
         w.Do(style, {w.File()});
         EXPECT_EQ(host::Call(w.document, "Transform(xsl as XmlStylesheet) as String", {style}).Text(), "r");
     }},
    {"XmlStyleSheet", "LoadXml(doc as String)", XML_MESSAGE_AND_LINE,
     [](const World& w) {
         const ObjectRef style = Style();
         EXPECT_EQ(Raised([&] { w.Do(style, {FAULTY_STYLE}); }), "XmlException 2");
         w.Do(style, {STYLE});
         // A stylesheet does not count as loaded from text: its attributes are found by the name xmlns:xml.
         EXPECT_EQ(Name(host::Call(NodeOf(style, "DocumentElement"),
                                   "GetAttributeNode(index as Integer) as XmlAttribute", {-1})),
                   "xmlns");
     }},
    {"XmlStyleSheet", "LoadXml(fItem as FolderItem)", NO_LEAK,
     [](const World& w) {
         std::ofstream("dom_members_test.xml") << STYLE;
         const ObjectRef style = Style();
         w.Do(style, {w.File()});
         EXPECT_EQ(host::GetProperty(style, "LastError").Integer(), 0);
     }},
};

class Member : public testing::TestWithParam<Case> {
protected:
    static void SetUpTestSuite() { LoadHost(); }
};

TEST_P(Member, DoesItsWorkAndKeepsNoReference) {
    const auto before = host::CountLive();
    {
        const World world(GetParam().member);
        GetParam().run(world);
    }
    auto after = host::CountLive();
    EXPECT_EQ(after.strings, before.strings + static_cast<uint32_t>(GetParam().leakedStrings));
    after.strings = before.strings;
    EXPECT_EQ(after, before) << "objects are left";
}

std::string CaseName(const testing::TestParamInfo<Case>& info) {
    std::string name = std::string(info.param.className) + "_" + info.param.member;
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Table, Member, testing::ValuesIn(CASES), CaseName);

// What the bundle registers, as "XmlNode.Parent" and "XmlNode.Clone(deep As Boolean) As XmlNode".
TEST(Members, EveryRegisteredOneIsInTheTable) {
    LoadHost();
    std::set<std::string> tested;
    for (const Case& each : CASES) {
        const bool isMethod = std::string_view(each.member).find('(') != std::string_view::npos;
        const std::string member = isMethod ? host::ParseSignature(each.member).Text() : each.member;
        EXPECT_NE(host::FindClass(each.className), nullptr);
        tested.insert(std::string(each.className) + "." + member);
    }
    std::set<std::string> registered;
    for (const char* name : CLASSES) {
        const host::Class* cls = host::FindClass(name);
        ASSERT_NE(cls, nullptr) << name;
        for (const auto& property : cls->properties) registered.insert(cls->name + "." + property->name);
        for (const auto& method : cls->methods) registered.insert(cls->name + "." + method->signature.Text());
    }
    EXPECT_EQ(registered, tested);
}

// A wrapper that a program made with New has no document: each member answers nothing and leaves 8 in LastError.
TEST(Members, WithoutADocumentAnswerNothing) {
    LoadHost();
    const auto before = host::CountLive();
    for (const char* name : {"XmlNode", "XmlElement", "XmlAttribute", "XmlDocument", "XmlStyleSheet", "XmlNodeList"}) {
        for (const host::Class* cls = host::FindClass(name); cls != nullptr; cls = cls->super) {
            for (const auto& method : cls->methods) {
                if (method->IsConstructor()) continue;
                const ObjectRef object = host::Create(name);
                std::vector<Value> arguments;
                for (const auto& parameter : method->signature.parameters) {
                    switch (parameter.type.kind) {
                    case host::Kind::INTEGER: arguments.emplace_back(0); break;
                    case host::Kind::BOOLEAN: arguments.emplace_back(true); break;
                    case host::Kind::STRING: arguments.emplace_back("x"); break;
                    case host::Kind::ARRAY: arguments.emplace_back(std::vector<std::string>{}); break;
                    default: arguments.emplace_back(ObjectRef()); break;
                    }
                }
                const Value result = host::Call(object, method->signature.Text(), arguments);
                EXPECT_FALSE(result.GetObject()) << name << "." << method->signature.Text();
                if (cls->name == "XmlNodeList") continue;
                EXPECT_EQ(result.Text(), "") << name << "." << method->signature.Text();
                EXPECT_EQ(host::GetProperty(object, "LastError").Integer(), 8)
                    << name << "." << method->signature.Text();
            }
            for (const auto& property : cls->properties) {
                const ObjectRef object = host::Create(name);
                if (property->name == "LastError") continue;
                const Value value = host::GetProperty(object, property->name);
                EXPECT_FALSE(value.GetObject() || !value.Text().empty() || value.Integer() != 0)
                    << name << "." << property->name;
                if (property->write != host::Access::NONE) host::SetProperty(object, property->name, value);
                if (cls->name == "XmlNodeList") continue;
                EXPECT_EQ(host::GetProperty(object, "LastError").Integer(), 8) << name << "." << property->name;
            }
        }
    }
    EXPECT_EQ(host::CountLive(), before);
}

} // namespace
