// Creating, moving, copying and renaming nodes; attributes and declarations.
#include "tests/sablotron/dom_support.h"

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <sstream>

namespace sablot::test {
namespace {

using testing::ElementsAre;

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

TEST(Create, ChecksContent) {
    Dom dom;
    SDOM_Document document = dom.Create();
    auto text = [&](const char* data) { return dom.Make(SDOM_createTextNode, document, data) != nullptr; };
    auto comment = [&](const char* data) { return dom.Make(SDOM_createComment, document, data) != nullptr; };
    auto section = [&](const char* data) { return dom.Make(SDOM_createCDATASection, document, data) != nullptr; };
    auto instruction = [&](const char* target, const char* data) {
        return dom.Make(SDOM_createProcessingInstruction, document, target, data) != nullptr;
    };
    EXPECT_TRUE(text("a\t\r\n\x7F\xC3\xA4\xF0\x9F\x98\x80]]>") && text("") && text(nullptr));
    for (const char* bad :
         {"\x01", "\x1F", "\xFF", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xEF\xBF\xBE", "\xF5\x80\x80\x80"}) {
        EXPECT_FALSE(text(bad) || comment(bad) || section(bad) || instruction("p", bad)) << bad;
        EXPECT_EQ(dom.Recorded(), SDOM_INVALID_CHARACTER_ERR);
    }
    EXPECT_TRUE(comment("a-b") && comment("-a") && !comment("a--b") && !comment("a-"));
    EXPECT_TRUE(section("a]]>b"));
    EXPECT_TRUE(instruction("p", "d") && instruction("p", nullptr) && instruction("xmlish", ""));
    EXPECT_FALSE(instruction("p", "d?>") || instruction("xml", "") || instruction("XmL", "") || instruction("p:q", "")
                 || instruction("", ""));
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

TEST(Edit, FollowsLongChildListsByIndex) {
    Dom dom;
    SDOM_Document document = dom.Parse("<r/>");
    SDOM_Node root = dom.Root(document);
    std::vector<SDOM_Node> expected;
    auto check = [&] {
        ASSERT_EQ(dom.Count(root), static_cast<int>(expected.size()));
        for (size_t i = 0; i < expected.size(); ++i) ASSERT_EQ(dom.Child(root, static_cast<int>(i)), expected[i]);
    };
    for (int i = 0; i < 100; ++i) {
        expected.push_back(dom.Make(SDOM_createElement, document, "e"));
        SDOM_appendChild(dom.situation, root, expected.back());
        check();
    }
    for (int i = 0; i < 90; i += 3) {
        SDOM_Node moved = expected[50];
        expected.erase(expected.begin() + 50);
        expected.insert(expected.begin() + i, moved);
        SDOM_insertBefore(dom.situation, root, moved, expected[static_cast<size_t>(i) + 1]);
        check();
    }
    for (int i = 0; i < 90; i += 9) {
        SDOM_Node fresh = dom.Make(SDOM_createElement, document, "f");
        SDOM_insertBefore(dom.situation, root, fresh, expected[static_cast<size_t>(i)]);
        expected.insert(expected.begin() + i, fresh);
        check();
    }
    while (expected.size() > 3) {
        SDOM_removeChild(dom.situation, root, expected[1]);
        expected.erase(expected.begin() + 1);
        check();
    }
}

TEST(Namespaces, TravelWithWhatUsesThem) {
    Dom dom;
    SDOM_Document document = dom.Parse("<r xmlns='d' xmlns:p='u' xmlns:q='v'><p:a q:x='1'><b/><p:c/></p:a></r>");
    SDOM_Node root = dom.Root(document);
    SDOM_Node a = dom.Child(root, 0);
    SDOM_removeChild(dom.situation, root, a);
    EXPECT_EQ(dom.Markup(a), "<p:a xmlns:p=\"u\" xmlns:q=\"v\" xmlns=\"d\" q:x=\"1\"><b/><p:c/></p:a>");
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

TEST(Clone, CopiesWithNames) {
    Dom dom, elsewhere;
    SDOM_Document document =
        dom.Parse("<r xmlns='d' xmlns:p='u'><p:a xml:id='i' p:x='1'><b><?i j?><!--k-->t</b></p:a></r>");
    SDOM_Node a = dom.Child(dom.Root(document), 0);
    auto deep = dom.Get<SDOM_Node>(SDOM_cloneNode, a, 1);
    auto shallow = dom.Get<SDOM_Node>(SDOM_cloneNode, a, 0);
    const std::string WHOLE = "<p:a xmlns:p=\"u\" xmlns=\"d\" xml:id=\"i\" p:x=\"1\"><b><?i j?><!--k-->t</b></p:a>";
    EXPECT_EQ(dom.Markup(deep), WHOLE);
    EXPECT_EQ(dom.Markup(shallow), "<p:a xmlns:p=\"u\" xml:id=\"i\" p:x=\"1\"/>");
    EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_getParentNode, deep), nullptr);
    EXPECT_EQ(dom.Get<SDOM_Document>(SDOM_getOwnerDocument, deep), document);

    SDOM_Document other = elsewhere.Create();
    auto foreign = elsewhere.Get<SDOM_Node>(SDOM_cloneForeignNode, other, a, 1);
    SablotDestroyDocument(dom.situation, document);
    EXPECT_EQ(elsewhere.Markup(foreign), WHOLE);
    EXPECT_EQ(SDOM_appendChild(elsewhere.situation, Dom::Node(other), foreign), SDOM_OK);
    EXPECT_EQ(elsewhere.Markup(other), WHOLE);
    EXPECT_EQ(elsewhere.Get<SDOM_Node>(SDOM_cloneNode, Dom::Node(other), 1), nullptr);
    EXPECT_EQ(elsewhere.Recorded(), SDOM_INVALID_NODE_TYPE);

    // Attributes, declarations, text.
    for (const char* name : {"p:x", "xmlns:p"}) {
        auto original = elsewhere.Get<SDOM_Node>(SDOM_getAttributeNode, foreign, name);
        auto copy = elsewhere.Get<SDOM_Node>(SDOM_cloneNode, original, 0);
        EXPECT_NE(copy, original);
        EXPECT_EQ(elsewhere.Name(copy), name);
        EXPECT_EQ(elsewhere.Value(copy), elsewhere.Value(original));
        EXPECT_EQ(elsewhere.Get<SDOM_Node>(SDOM_getAttributeElement, copy), nullptr);
    }
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

TEST(Attributes, NodesChangePlaces) {
    Dom dom, elsewhere;
    SDOM_Document document = dom.Parse("<r x='1' xmlns:p='u' p:y='2'><c xmlns:p='v'/></r>");
    SDOM_Node root = dom.Root(document);
    SDOM_Node child = dom.Child(root, 0);
    auto find = [&](SDOM_Node element, const char* name) {
        return dom.Get<SDOM_Node>(SDOM_getAttributeNode, element, name);
    };
    SDOM_Node old = find(root, "x");
    SDOM_Node fresh = dom.Make(SDOM_createAttribute, document, "x");
    SDOM_setNodeValue(dom.situation, fresh, "new");
    EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_setAttributeNode, root, fresh), old);
    EXPECT_EQ(dom.Value(old), "1");
    EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_getAttributeElement, fresh), root);
    EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_getAttributeElement, old), nullptr);

    SDOM_Node other = elsewhere.Make(SDOM_createAttribute, elsewhere.Create(), "x");
    struct {
        SDOM_Node element, attribute;
        SDOM_Exception set, remove;
    } const CASES[] = {
        {root, fresh, SDOM_INUSE_ATTRIBUTE_ERR, SDOM_OK},
        {child, find(root, "p:y"), SDOM_INUSE_ATTRIBUTE_ERR, SDOM_NOT_FOUND_ERR},
        {child, find(root, "xmlns:p"), SDOM_INUSE_ATTRIBUTE_ERR, SDOM_NOT_FOUND_ERR},
        {root, find(root, "xmlns:p"), SDOM_INUSE_ATTRIBUTE_ERR, SDOM_NO_MODIFICATION_ALLOWED_ERR},
        {root, dom.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, root, 0), SDOM_INUSE_ATTRIBUTE_ERR, SDOM_NOT_FOUND_ERR},
        {root, other, SDOM_WRONG_DOCUMENT_ERR, SDOM_NOT_FOUND_ERR},
        {root, child, SDOM_INVALID_NODE_TYPE, SDOM_INVALID_NODE_TYPE},
        {root, nullptr, SDOM_NOT_FOUND_ERR, SDOM_NOT_FOUND_ERR},
    };
    for (const auto& row : CASES) {
        SDOM_Node result = nullptr;
        EXPECT_EQ(SDOM_setAttributeNode(dom.situation, row.element, row.attribute, &result), row.set);
        EXPECT_EQ(SDOM_setAttributeNodeNS(dom.situation, row.element, row.attribute, &result), row.set);
        EXPECT_EQ(SDOM_removeAttributeNode(dom.situation, row.element, row.attribute, &result), row.remove);
        EXPECT_EQ(result, row.remove == SDOM_OK ? row.attribute : nullptr);
    }

    // The name keeps its URI; a prefix that means something else on the element is refused.
    SDOM_Node moved = find(root, "p:y");
    SDOM_Node result = nullptr;
    EXPECT_EQ(SDOM_removeAttributeNode(dom.situation, root, moved, &result), SDOM_OK);
    EXPECT_EQ(SDOM_setAttributeNodeNS(dom.situation, child, moved, &result), SDOM_NAMESPACE_ERR);
    EXPECT_EQ(SDOM_removeAttribute(dom.situation, child, "xmlns:p"), SDOM_OK);
    EXPECT_EQ(SDOM_setAttributeNodeNS(dom.situation, child, moved, &result), SDOM_OK);
    EXPECT_EQ(dom.Markup(document), "<r xmlns:p=\"u\"><c p:y=\"2\"/></r>");
    SDOM_Node twin = dom.Make(SDOM_createAttributeNS, document, "u", "q:y");
    EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_setAttributeNodeNS, child, twin), moved);
    EXPECT_EQ(dom.Markup(document), "<r xmlns:p=\"u\"><c xmlns:q=\"u\" q:y=\"\"/></r>");

    // Declarations are attribute nodes too.
    SDOM_Node declaration = dom.Make(SDOM_createAttribute, document, "xmlns:n");
    EXPECT_EQ(SDOM_setAttributeNode(dom.situation, child, declaration, &result), SDOM_NAMESPACE_ERR)
        << "a prefix for \"\"";
    EXPECT_EQ(SDOM_setNodeValue(dom.situation, declaration, "w"), SDOM_OK);
    EXPECT_EQ(SDOM_setAttributeNode(dom.situation, child, declaration, &result), SDOM_OK);
    EXPECT_EQ(dom.Text(SDOM_getAttribute, child, "xmlns:n"), "w");
    EXPECT_EQ(SDOM_removeAttributeNode(dom.situation, child, declaration, &result), SDOM_OK);
    EXPECT_EQ(result, declaration);
    EXPECT_EQ(dom.Value(declaration), "w");
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

TEST(SetValue, ChangesContent) {
    Dom dom;
    SDOM_Document document = dom.Parse("<r xmlns:p='u' xmlns:q='v' p:x='1'>t<!--k--><?i d?></r>");
    SDOM_Node root = dom.Root(document);
    auto find = [&](const char* name) { return dom.Get<SDOM_Node>(SDOM_getAttributeNode, root, name); };
    auto at = [&](int index) { return dom.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, root, index); };
    struct {
        SDOM_Node node;
        const char* value;
        SDOM_Exception code;
    } const CASES[] = {
        {find("p:x"), "<2>", SDOM_OK},
        {find("p:x"), "\x01", SDOM_INVALID_CHARACTER_ERR},
        {find("xmlns:q"), "w", SDOM_OK},
        {find("xmlns:q"), "", SDOM_NAMESPACE_ERR},
        {find("xmlns:q"), XML_URI, SDOM_NAMESPACE_ERR},
        {find("xmlns:p"), "w", SDOM_NAMESPACE_ERR},
        {find("xmlns:p"), "u", SDOM_OK},
        {at(0), "w", SDOM_NAMESPACE_ERR}, // the implicit bindings
        {at(3), "w", SDOM_NAMESPACE_ERR},
        {dom.Child(root, 0), "<t>", SDOM_OK},
        {dom.Child(root, 0), "\xFF", SDOM_INVALID_CHARACTER_ERR},
        {dom.Child(root, 1), "l", SDOM_OK},
        {dom.Child(root, 1), "--", SDOM_INVALID_CHARACTER_ERR},
        {dom.Child(root, 2), "e", SDOM_OK},
        {dom.Child(root, 2), "?>", SDOM_INVALID_CHARACTER_ERR},
        {root, "x", SDOM_NO_MODIFICATION_ALLOWED_ERR},
        {Dom::Node(document), "x", SDOM_NO_MODIFICATION_ALLOWED_ERR},
    };
    for (const auto& row : CASES)
        EXPECT_EQ(SDOM_setNodeValue(dom.situation, row.node, row.value), row.code) << dom.Name(row.node) << row.value;
    EXPECT_EQ(dom.Markup(document), "<r xmlns:p=\"u\" xmlns:q=\"w\" p:x=\"&lt;2&gt;\">&lt;t&gt;<!--l--><?i e?></r>");
}

} // namespace
} // namespace sablot::test
