// Creating, moving, copying and renaming nodes; attributes and declarations.
#include "tests/sablotron/dom_support.h"

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <sstream>

namespace sablot::test {
namespace {

constexpr const char* XML_URI = "http://www.w3.org/XML/1998/namespace";
constexpr const char* XMLNS_URI = "http://www.w3.org/2000/xmlns/";

TEST(Create, ChecksNames) {
    using Factory = SDOM_Exception (*)(SablotSituation, SDOM_Document, SDOM_Node*, const char*, const char*);
    const Factory ELEMENT = SDOM_createElementNS;
    const Factory ATTRIBUTE = SDOM_createAttributeNS;
    struct {
        Factory factory;
        const char* uri;
        const char* name;
        SDOM_Exception code;
    } const CASES[] = {
        {ELEMENT, "u", "p:x", SDOM_OK},
        {ELEMENT, nullptr, "x", SDOM_OK},
        {ELEMENT, XML_URI, "xml:x", SDOM_OK},
        {ELEMENT, "u", "\xC3\xA4:\xE4\xB8\xAD", SDOM_OK},
        {ELEMENT, "", "p:x", SDOM_NAMESPACE_ERR},
        {ELEMENT, "u", "xml:x", SDOM_NAMESPACE_ERR},
        {ELEMENT, XML_URI, "p:x", SDOM_NAMESPACE_ERR},
        {ELEMENT, "u", "xmlns:x", SDOM_NAMESPACE_ERR},
        {ELEMENT, XMLNS_URI, "xmlns:x", SDOM_NAMESPACE_ERR},
        {ELEMENT, "u", "", SDOM_INVALID_CHARACTER_ERR},
        {ELEMENT, "u", nullptr, SDOM_INVALID_CHARACTER_ERR},
        {ELEMENT, "u", "p:q:x", SDOM_INVALID_CHARACTER_ERR},
        {ELEMENT, "u", "1x", SDOM_INVALID_CHARACTER_ERR},
        {ELEMENT, "u", "a\xFF", SDOM_INVALID_CHARACTER_ERR},
        {ELEMENT, "u\x01", "a", SDOM_INVALID_CHARACTER_ERR},
        {ATTRIBUTE, "u", "p:x", SDOM_OK},
        {ATTRIBUTE, XMLNS_URI, "xmlns", SDOM_OK},
        {ATTRIBUTE, XMLNS_URI, "xmlns:p", SDOM_OK},
        {ATTRIBUTE, "u", "xmlns:p", SDOM_NAMESPACE_ERR},
        {ATTRIBUTE, "u", "xmlns", SDOM_NAMESPACE_ERR},
        {ATTRIBUTE, "", "p:x", SDOM_NAMESPACE_ERR},
    };
    Dom dom;
    SDOM_Document document = dom.Create();
    for (const auto& row : CASES) {
        SDOM_Node node = nullptr;
        EXPECT_EQ(row.factory(dom.situation, document, &node, row.uri, row.name), row.code)
            << (row.uri != nullptr ? row.uri : "(null)") << " " << (row.name != nullptr ? row.name : "(null)");
        EXPECT_EQ(node != nullptr, row.code == SDOM_OK);
        if (node != nullptr) {
            EXPECT_EQ(dom.Name(node), row.name);
        }
    }
}

// Edits of <r><a><b/>t</a><c x='1' xmlns:p='u'/></r>, named r, a, b, t, c, with new nodes n (element), s (text), k
// (comment).
struct EditCase {
    const char* call;
    SDOM_Exception code;
    const char* markup; // null: as before
};

class EditTest : public testing::TestWithParam<EditCase> {};

constexpr const char* EDIT_SOURCE = "<r><a><b/>t</a><c xmlns:p=\"u\" x=\"1\"/></r>";

TEST_P(EditTest, MovesNodes) {
    Dom dom, elsewhere;
    SDOM_Document document = dom.Parse(EDIT_SOURCE);
    std::map<std::string, SDOM_Node> nodes;
    nodes["D"] = Dom::Node(document);
    nodes["r"] = dom.Root(document);
    nodes["a"] = dom.Child(nodes["r"], 0);
    nodes["b"] = dom.Child(nodes["a"], 0);
    nodes["t"] = dom.Child(nodes["a"], 1);
    nodes["c"] = dom.Child(nodes["r"], 1);
    nodes["x"] = dom.Get<SDOM_Node>(SDOM_getAttributeNode, nodes["c"], "x");
    nodes["p"] = dom.Get<SDOM_Node>(SDOM_getAttributeNode, nodes["c"], "xmlns:p");
    nodes["n"] = dom.Make(SDOM_createElement, document, "n");
    nodes["s"] = dom.Make(SDOM_createTextNode, document, "s");
    nodes["k"] = dom.Make(SDOM_createComment, document, "k");
    nodes["f"] = elsewhere.Make(SDOM_createElement, elsewhere.Create(), "f");
    nodes["0"] = nullptr;

    std::istringstream words(GetParam().call);
    std::string function, parent, first, second;
    words >> function >> parent >> first >> second;
    SDOM_Exception code = function == "append"   ? SDOM_appendChild(dom.situation, nodes[parent], nodes[first])
                          : function == "remove" ? SDOM_removeChild(dom.situation, nodes[parent], nodes[first])
                          : function == "replace"
                              ? SDOM_replaceChild(dom.situation, nodes[parent], nodes[first], nodes[second])
                              : SDOM_insertBefore(dom.situation, nodes[parent], nodes[first], nodes[second]);
    EXPECT_EQ(code, GetParam().code);
    EXPECT_EQ(dom.Recorded(), GetParam().code);
    EXPECT_EQ(dom.Markup(document), GetParam().markup ? GetParam().markup : EDIT_SOURCE);
}

INSTANTIATE_TEST_SUITE_P(
    Calls, EditTest,
    testing::Values(EditCase{"append b n", SDOM_OK, "<r><a><b><n/></b>t</a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"append a b", SDOM_OK, "<r><a>t<b/></a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"append r a", SDOM_OK, "<r><c xmlns:p=\"u\" x=\"1\"/><a><b/>t</a></r>"},
                    EditCase{"append D k", SDOM_OK, "<r><a><b/>t</a><c xmlns:p=\"u\" x=\"1\"/></r><!--k-->"},
                    EditCase{"append D r", SDOM_OK, nullptr},
                    EditCase{"append D n", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"append t n", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"append a D", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"append a x", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"append a a", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"append b r", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"append a f", SDOM_WRONG_DOCUMENT_ERR, nullptr},
                    EditCase{"append a 0", SDOM_NOT_FOUND_ERR, nullptr},
                    EditCase{"insert a n b", SDOM_OK, "<r><a><n/><b/>t</a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"insert a t b", SDOM_OK, "<r><a>t<b/></a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"insert r b a", SDOM_OK, "<r><b/><a>t</a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"insert D k r", SDOM_OK, "<!--k--><r><a><b/>t</a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"insert a b b", SDOM_OK, nullptr},
                    EditCase{"insert a n 0", SDOM_OK, "<r><a><b/>t<n/></a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"insert a n c", SDOM_NOT_FOUND_ERR, nullptr},
                    EditCase{"insert D n r", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"remove a b", SDOM_OK, "<r><a>t</a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"remove D r", SDOM_OK, ""}, EditCase{"remove r b", SDOM_NOT_FOUND_ERR, nullptr},
                    EditCase{"remove c x", SDOM_INVALID_NODE_TYPE, nullptr},
                    EditCase{"remove t b", SDOM_INVALID_NODE_TYPE, nullptr},
                    EditCase{"replace a n b", SDOM_OK, "<r><a><n/>t</a><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"replace r b a", SDOM_OK, "<r><b/><c xmlns:p=\"u\" x=\"1\"/></r>"},
                    EditCase{"replace D n r", SDOM_OK, "<n/>"}, EditCase{"replace a b b", SDOM_OK, nullptr},
                    EditCase{"replace a r b", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"replace D s r", SDOM_HIERARCHY_REQUEST_ERR, nullptr},
                    EditCase{"replace a n c", SDOM_NOT_FOUND_ERR, nullptr},
                    EditCase{"replace a f b", SDOM_WRONG_DOCUMENT_ERR, nullptr}));

TEST(Namespaces, TravelWithWhatUsesThem) {
    Dom dom;
    SDOM_Document document = dom.Parse("<r xmlns='d' xmlns:p='u' xmlns:q='v'><p:a q:x='1'><b/><p:c/></p:a></r>");
    SDOM_Node root = dom.Root(document);
    SDOM_Node a = dom.Child(root, 0);
    SDOM_removeChild(dom.situation, root, a);
    EXPECT_EQ(dom.Markup(a), "<p:a xmlns=\"d\" xmlns:p=\"u\" xmlns:q=\"v\" q:x=\"1\"><b/><p:c/></p:a>");
    // Nothing uses the declarations on the root now.
    EXPECT_EQ(SDOM_removeAttribute(dom.situation, root, "xmlns:p"), SDOM_OK);
    SDOM_appendChild(dom.situation, root, a);
    EXPECT_EQ(dom.Markup(document), "<r xmlns=\"d\" xmlns:q=\"v\"><p:a xmlns:p=\"u\" q:x=\"1\"><b/><p:c/></p:a></r>");

    // No namespace stays no namespace under a default one.
    SDOM_Node none = dom.Make(SDOM_createElementNS, document, "", "n");
    SDOM_appendChild(dom.situation, none, dom.Make(SDOM_createElement, document, "e"));
    SDOM_appendChild(dom.situation, root, none);
    EXPECT_EQ(dom.Markup(none), "<n xmlns:q=\"v\"><e xmlns=\"d\"/></n>");
    EXPECT_THAT(dom.Markup(document), testing::EndsWith("<n xmlns=\"\"><e xmlns=\"d\"/></n></r>"));
}

TEST(Namespaces, HiddenByNewDeclarationsAreDeclaredAgain) {
    Dom dom;
    SDOM_Document document = dom.Parse("<r xmlns:p='u'><a><p:b/><p:c p:x='1'/></a></r>");
    SDOM_Node a = dom.Child(dom.Root(document), 0);
    EXPECT_EQ(SDOM_setAttribute(dom.situation, a, "xmlns:p", "v"), SDOM_OK);
    EXPECT_EQ(dom.Markup(document), "<r xmlns:p=\"u\"><a xmlns:p=\"v\"><p:b xmlns:p=\"u\"/>"
                                    "<p:c xmlns:p=\"u\" p:x=\"1\"/></a></r>");
    EXPECT_EQ(SDOM_setAttributeNS(dom.situation, a, "v", "p:y", "2"), SDOM_OK);
    EXPECT_EQ(SDOM_removeAttribute(dom.situation, a, "xmlns:p"), SDOM_NO_MODIFICATION_ALLOWED_ERR);
}

TEST(Attributes, AreReadSetAndRemoved) {
    Dom dom;
    SDOM_Document document = dom.Parse("<r xmlns:p='u'><e p:x='1' y='2'/></r>");
    SDOM_Node e = dom.Child(dom.Root(document), 0);
    EXPECT_EQ(dom.Text(SDOM_getAttribute, e, "p:x"), "1");
    EXPECT_EQ(dom.Text(SDOM_getAttributeNS, e, "u", "x"), "1");
    EXPECT_EQ(dom.Text(SDOM_getAttributeNS, e, "", "y"), "2");
    EXPECT_EQ(dom.Text(SDOM_getAttribute, e, "x"), "");
    EXPECT_EQ(dom.Recorded(), SDOM_OK);
    EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_getAttributeNodeNS, e, "", "x"), nullptr);
    EXPECT_EQ(dom.Recorded(), SDOM_OK);

    auto kept = dom.Get<SDOM_Node>(SDOM_getAttributeNode, e, "y");
    struct {
        const char* uri; // null: the call without
        const char* name;
        const char* value;
        SDOM_Exception code;
    } const CASES[] = {
        {nullptr, "y", "3", SDOM_OK},
        {nullptr, "p:x", "<&\">", SDOM_OK},
        {nullptr, "p:z", "4", SDOM_OK},
        {nullptr, "", "4", SDOM_INVALID_CHARACTER_ERR},
        {nullptr, "a:b:c", "4", SDOM_INVALID_CHARACTER_ERR},
        {nullptr, "v", "\x02", SDOM_INVALID_CHARACTER_ERR},
        {nullptr, "xmlns:p", "other", SDOM_NAMESPACE_ERR},
        {nullptr, "xmlns:xml", "other", SDOM_NAMESPACE_ERR},
        {nullptr, "xmlns:xml", XML_URI, SDOM_OK},
        {nullptr, "xmlns:n", "", SDOM_NAMESPACE_ERR},
        {nullptr, "xmlns", "other", SDOM_NAMESPACE_ERR},
        {"w", "q:w", "5", SDOM_OK},
        {"w2", "q:w", "5", SDOM_NAMESPACE_ERR},
        {"u", "x", "6", SDOM_OK},
        {"", "p:x", "5", SDOM_NAMESPACE_ERR},
        {"u3", "v", "7", SDOM_OK},
        {XMLNS_URI, "xmlns:m", "m", SDOM_OK},
        {"u", "xmlns:m", "m", SDOM_NAMESPACE_ERR},
    };
    for (const auto& row : CASES) {
        SDOM_Exception code = row.uri != nullptr ? SDOM_setAttributeNS(dom.situation, e, row.uri, row.name, row.value)
                                                 : SDOM_setAttribute(dom.situation, e, row.name, row.value);
        EXPECT_EQ(code, row.code) << (row.uri != nullptr ? row.uri : "") << " " << row.name;
    }
    EXPECT_EQ(dom.Value(kept), "3") << "the node keeps its identity";
    EXPECT_EQ(dom.Markup(document),
              "<r xmlns:p=\"u\"><e xmlns:q=\"w\" xmlns:ns1=\"u3\" xmlns:m=\"m\" p:x=\"6\" y=\"3\" p:z=\"4\" q:w=\"5\" "
              "ns1:v=\"7\"/></r>");

    EXPECT_EQ(SDOM_removeAttribute(dom.situation, e, "absent"), SDOM_OK);
    EXPECT_EQ(SDOM_removeAttribute(dom.situation, e, "xmlns:q"), SDOM_NO_MODIFICATION_ALLOWED_ERR);
    EXPECT_EQ(SDOM_removeAttribute(dom.situation, dom.Root(document), "xmlns:p"), SDOM_NO_MODIFICATION_ALLOWED_ERR);
    for (const char* name : {"q:w", "xmlns:q", "y", "xmlns:m", "ns1:v", "xmlns:ns1"})
        EXPECT_EQ(SDOM_removeAttribute(dom.situation, e, name), SDOM_OK) << name;
    EXPECT_EQ(dom.Markup(document), "<r xmlns:p=\"u\"><e p:x=\"6\" p:z=\"4\"/></r>");
    EXPECT_EQ(dom.Value(kept), "3") << "outside its element";
}

TEST(Attributes, OfIdTypeStayFindable) {
    Dom dom;
    SDOM_Document document =
        dom.Parse("<!DOCTYPE r [<!ATTLIST e k ID #IMPLIED>]><r><e k='one'/><e xml:id='two'/><e/></r>");
    SDOM_Node root = dom.Root(document);
    auto found = [&](const std::string& id) {
        SDOM_NodeList list = nullptr;
        EXPECT_EQ(SDOM_xql(dom.situation, ("id('" + id + "')").c_str(), root, &list), SDOM_OK);
        auto node = dom.Get<SDOM_Node>(SDOM_getNodeListItem, list, 0);
        SDOM_disposeNodeList(dom.situation, list);
        return node;
    };
    EXPECT_EQ(found("one"), dom.Child(root, 0));
    EXPECT_EQ(found("two"), dom.Child(root, 1));
    SDOM_setAttribute(dom.situation, dom.Child(root, 0), "k", "three");
    EXPECT_EQ(found("one"), nullptr);
    EXPECT_EQ(found("three"), dom.Child(root, 0));
    SDOM_removeAttribute(dom.situation, dom.Child(root, 1), "xml:id");
    EXPECT_EQ(found("two"), nullptr);
    SDOM_setAttribute(dom.situation, dom.Child(root, 2), "xml:id", "two");
    EXPECT_EQ(found("two"), dom.Child(root, 2));
    SDOM_setNodeName(dom.situation, dom.Get<SDOM_Node>(SDOM_getAttributeNode, dom.Child(root, 2), "xml:id"),
                     "xml:lang");
    EXPECT_EQ(found("two"), nullptr);
    SDOM_setAttribute(dom.situation, dom.Child(root, 2), "plain", "four");
    SDOM_setNodeName(dom.situation, dom.Get<SDOM_Node>(SDOM_getAttributeNode, dom.Child(root, 2), "plain"), "xml:id");
    EXPECT_EQ(found("four"), dom.Child(root, 2));
}

TEST(Rename, ChangesNames) {
    struct {
        const char* node; // path of the node below
        const char* name;
        SDOM_Exception code;
        const char* markup; // null: as before
    } const CASES[] = {
        {"e", "f", SDOM_OK, "<r xmlns:p=\"u\" xmlns:q=\"v\"><f x=\"1\" p:y=\"2\">t<!--k--><?i d?></f></r>"},
        {"e", "p:f", SDOM_OK, "<r xmlns:p=\"u\" xmlns:q=\"v\"><p:f x=\"1\" p:y=\"2\">t<!--k--><?i d?></p:f></r>"},
        {"e", "n:f", SDOM_NAMESPACE_ERR, nullptr},
        {"e", "1", SDOM_INVALID_CHARACTER_ERR, nullptr},
        {"e", "xmlns:f", SDOM_NAMESPACE_ERR, nullptr},
        {"x", "z", SDOM_OK, "<r xmlns:p=\"u\" xmlns:q=\"v\"><e z=\"1\" p:y=\"2\">t<!--k--><?i d?></e></r>"},
        {"x", "p:x", SDOM_OK, "<r xmlns:p=\"u\" xmlns:q=\"v\"><e p:x=\"1\" p:y=\"2\">t<!--k--><?i d?></e></r>"},
        {"x", "p:y", SDOM_NAMESPACE_ERR, nullptr}, // it has one of that name
        {"x", "n:x", SDOM_NAMESPACE_ERR, nullptr},
        {"x", "xmlns:x", SDOM_NAMESPACE_ERR, nullptr},
        {"x", "xmlns", SDOM_NAMESPACE_ERR, nullptr},
        {"y", "y", SDOM_OK, "<r xmlns:p=\"u\" xmlns:q=\"v\"><e x=\"1\" y=\"2\">t<!--k--><?i d?></e></r>"},
        {"q", "xmlns:s", SDOM_OK, "<r xmlns:p=\"u\" xmlns:s=\"v\"><e x=\"1\" p:y=\"2\">t<!--k--><?i d?></e></r>"},
        {"q", "q", SDOM_NAMESPACE_ERR, nullptr},
        {"q", "xmlns:p", SDOM_NAMESPACE_ERR, nullptr},
        {"q", "xmlns", SDOM_NAMESPACE_ERR, nullptr}, // the root is in no namespace
        {"p", "xmlns:s", SDOM_NAMESPACE_ERR, nullptr},
        {"i", "j", SDOM_OK, "<r xmlns:p=\"u\" xmlns:q=\"v\"><e x=\"1\" p:y=\"2\">t<!--k--><?j d?></e></r>"},
        {"i", "xml", SDOM_INVALID_CHARACTER_ERR, nullptr},
        {"t", "s", SDOM_NO_MODIFICATION_ALLOWED_ERR, nullptr},
        {"k", "s", SDOM_NO_MODIFICATION_ALLOWED_ERR, nullptr},
        {"D", "s", SDOM_NO_MODIFICATION_ALLOWED_ERR, nullptr},
    };
    const char* const SOURCE = "<r xmlns:p=\"u\" xmlns:q=\"v\"><e x=\"1\" p:y=\"2\">t<!--k--><?i d?></e></r>";
    for (const auto& row : CASES) {
        SCOPED_TRACE(std::string(row.node) + " to " + row.name);
        Dom dom;
        SDOM_Document document = dom.Parse(SOURCE);
        SDOM_Node root = dom.Root(document);
        SDOM_Node e = dom.Child(root, 0);
        auto find = [&](SDOM_Node element, const char* name) {
            return dom.Get<SDOM_Node>(SDOM_getAttributeNode, element, name);
        };
        std::map<std::string, SDOM_Node> nodes = {{"D", Dom::Node(document)},   {"e", e},
                                                  {"x", find(e, "x")},          {"y", find(e, "p:y")},
                                                  {"p", find(root, "xmlns:p")}, {"q", find(root, "xmlns:q")},
                                                  {"t", dom.Child(e, 0)},       {"k", dom.Child(e, 1)},
                                                  {"i", dom.Child(e, 2)}};
        EXPECT_EQ(SDOM_setNodeName(dom.situation, nodes[row.node], row.name), row.code);
        EXPECT_EQ(dom.Markup(document), row.markup ? row.markup : SOURCE);
    }
}

} // namespace
} // namespace sablot::test
