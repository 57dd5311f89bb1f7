// Queries over live trees.
#include "tests/sablotron/xslt_fixture.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;

class Queries : public XsltFixture {
protected:
    // The members of the result as "name=value"; {"code N"} for a failure.
    std::vector<std::string> Members(SDOM_Exception code, SDOM_NodeList list) {
        EXPECT_EQ(SDOM_getExceptionCode(situation), code);
        if (code != SDOM_OK) {
            EXPECT_EQ(list, nullptr);
            return {"code " + std::to_string(code)};
        }
        std::vector<std::string> members;
        int length = 0;
        EXPECT_EQ(SDOM_getNodeListLength(situation, list, &length), SDOM_OK);
        for (int i = 0; i < length; ++i) {
            SDOM_Node node = nullptr;
            EXPECT_EQ(SDOM_getNodeListItem(situation, list, i, &node), SDOM_OK);
            char* name = nullptr;
            char* value = nullptr;
            SDOM_getNodeName(situation, node, &name);
            SDOM_getNodeValue(situation, node, &value);
            members.push_back(std::string(name != nullptr ? name : "")
                              + (value != nullptr ? std::string("=") + value : ""));
            operator delete(name);
            operator delete(value);
        }
        SDOM_disposeNodeList(situation, list);
        return members;
    }
    std::vector<std::string> Query(SDOM_Node node, const char* query) {
        SDOM_NodeList list = nullptr;
        const SDOM_Exception code = SDOM_xql(situation, query, node, &list);
        return Members(code, list);
    }
    std::vector<std::string> Query(SDOM_Node node, const char* query, std::vector<const char*> namespaces) {
        namespaces.push_back(nullptr);
        SDOM_NodeList list = nullptr;
        const SDOM_Exception code = SDOM_xql_ns(situation, query, node, namespaces.data(), &list);
        return Members(code, list);
    }
    SDOM_Node First(SDOM_Node node, const char* query) {
        SDOM_NodeList list = nullptr;
        SDOM_Node first = nullptr;
        EXPECT_EQ(SDOM_xql(situation, query, node, &list), SDOM_OK) << query;
        SDOM_getNodeListItem(situation, list, 0, &first);
        SDOM_disposeNodeList(situation, list);
        return first;
    }
    static SDOM_Node Node(SDOM_Document document) { return reinterpret_cast<SDOM_Node>(document); }
};

TEST_F(Queries, FindNodesInDocumentOrder) {
    SDOM_Node node = Node(Parse("<r><a k='1'>x<b/></a><!--c--><?t d?><a k='2'>y</a></r>"));
    const struct {
        const char* query;
        std::vector<std::string> expected;
    } CASES[] = {
        {"//a", {"a", "a"}},
        {"//@k", {"k=1", "k=2"}},
        {"//a[2] | //b | //a", {"a", "b", "a"}},
        {"//a[2]/preceding::node()", {"a", "#text=x", "b", "#comment=c", "t=d"}},
        {"//a[@k > 1]", {"a"}},
        {"//b | //namespace::* | //@k", {"xmlns:xml=http://www.w3.org/XML/1998/namespace", "k=1", "b", "k=2"}},
        {"//b | //comment() | //text()", {"#text=x", "b", "#comment=c", "#text=y"}},
        {"(//a[2]/preceding::node())[last()]", {"t=d"}},
        // What is no query.
        {"", {"code 17"}},
        {"a[", {"code 17"}},
        {"bogus(", {"code 17"}},
        {"q:a", {"code 17"}},
        {"none[q:a]", {"code 17"}},
        {"q:f()", {"code 17"}},
        // What cannot be evaluated, or is no node set.
        {"1 + 1", {"code 18"}},
        {"f()", {"code 18"}},
        {"$v", {"code 18"}},
        {"//a[f()]", {"code 18"}},
        {"document('/etc/passwd')", {"code 18"}},
    };
    for (const auto& c : CASES) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(Query(node, c.query), c.expected) << c.query;
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << c.query;
    }
    EXPECT_TRUE(messages.empty());
}

TEST_F(Queries, StartAtTheirNode) {
    SDOM_Document document = Parse("<r xmlns:p='urn:p'><a k='1'><b>x</b></a><a k='2'><b>y</b></a></r>");
    SDOM_Node second = First(Node(document), "/r/a[2]");
    EXPECT_THAT(Query(second, "b/text()"), ElementsAre("#text=y"));
    EXPECT_THAT(Query(second, "."), ElementsAre("a"));
    EXPECT_THAT(Query(second, "/r/a/@k"), ElementsAre("k=1", "k=2"));
    SDOM_Node attribute = First(second, "@k");
    EXPECT_THAT(Query(attribute, ".."), ElementsAre("a"));
    EXPECT_THAT(Query(attribute, "."), ElementsAre("k=2"));
    SDOM_Node binding = First(Node(document), "/r/namespace::p");
    EXPECT_THAT(Query(binding, "."), ElementsAre("xmlns:p=urn:p"));
    EXPECT_THAT(Query(binding, "../a[1]/@k"), ElementsAre("k=1"));
    // The binding on the root is the same node wherever it is seen from.
    EXPECT_EQ(First(second, "namespace::p"), binding);
    SDOM_Node text = First(second, "b/text()");
    EXPECT_THAT(Query(text, "ancestor::a/@k"), ElementsAre("k=2"));
    // A tree of its own.
    SDOM_Node parent = Root(document);
    EXPECT_EQ(SDOM_removeChild(situation, parent, second), SDOM_OK);
    EXPECT_THAT(Query(second, "b | @k"), ElementsAre("k=2", "b"));
    EXPECT_THAT(Query(second, "descendant::text()"), ElementsAre("#text=y"));
    for (const char* query : {"..", "/", "ancestor::node()", "b/../..", "id('x')", "following::node()"})
        EXPECT_THAT(Query(second, query), ElementsAre()) << query;
    EXPECT_THAT(Query(second, "//b | /a | ancestor-or-self::*"), ElementsAre("a", "b"));
    EXPECT_THAT(Query(First(Node(document), "/r/namespace::xml"), ".."), ElementsAre("r"));
    SDOM_Node lone = nullptr;
    SDOM_createAttribute(situation, document, &lone, "l");
    EXPECT_THAT(Query(lone, ". | .."), ElementsAre("l="));
}

TEST_F(Queries, MeanTheDefaultNamespaceByUnprefixedElements) {
    SDOM_Node node = Node(Parse("<r xmlns='urn:d' xmlns:p='urn:p' xmlns:default='urn:x'><b k='1'/><p:b/><b xmlns=''/>"
                                "<default:b/></r>"));
    EXPECT_THAT(Query(node, "//b"), ElementsAre("b"));
    EXPECT_THAT(Query(node, "/r/b/@k"), ElementsAre("k=1"));
    EXPECT_THAT(Query(node, "//p:b"), ElementsAre("p:b"));
    EXPECT_THAT(Query(node, "//default:b"), ElementsAre("default:b"));
    EXPECT_THAT(Query(node, "//default-:b"), ElementsAre("code 17"));
    EXPECT_THAT(Query(node, "//*[namespace-uri()='']"), ElementsAre("b"));
    EXPECT_THAT(Query(node, "//xml:b"), ElementsAre());
    // The same text means something else in another document.
    EXPECT_THAT(Query(Node(Parse("<r><b/><b/></r>")), "//b"), ElementsAre("b", "b"));
    EXPECT_THAT(Query(Node(Parse("<r xmlns='urn:e'><b/></r>")), "//b"), ElementsAre("b"));
}

TEST_F(Queries, SeeEveryEdit) {
    SDOM_Document document = Parse("<r><a/><b/></r>");
    SDOM_Node root = Root(document);
    EXPECT_THAT(Query(root, "b | a"), ElementsAre("a", "b"));
    SDOM_Node a = First(root, "a");
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(SDOM_appendChild(situation, root, a), SDOM_OK);
        EXPECT_THAT(Query(root, "a | b"), ElementsAre("b", "a"));
        EXPECT_THAT(Query(root, "b | a"), ElementsAre("b", "a"));
        SDOM_Node b = First(root, "b");
        EXPECT_EQ(SDOM_appendChild(situation, root, b), SDOM_OK);
        EXPECT_THAT(Query(root, "b | a"), ElementsAre("a", "b"));
    }
}

TEST_F(Queries, KeepTheirOrderAfterARun) {
    SDOM_Document document = Parse("<r><a><b/></a><c/></r>");
    const char* const QUERY = "//c | //b | //a";
    for (int round = 0; round < 2; ++round) {
        EXPECT_THAT(Query(Node(document), QUERY), ElementsAre("a", "b", "c"));
        EXPECT_EQ(Transform(Template("<o><xsl:copy-of select='//c | //b'/></o>"), document), 0);
    }
}

TEST_F(Queries, ListsEndTheirItemsWithTheirDocument) {
    SDOM_Document document = Parse("<r><a/></r>");
    SDOM_NodeList list = nullptr;
    ASSERT_EQ(SDOM_xql(situation, "//a", Node(document), &list), SDOM_OK);
    SDOM_Node node = nullptr;
    EXPECT_EQ(SDOM_getNodeListItem(situation, list, -1, &node), SDOM_INDEX_SIZE_ERR);
    EXPECT_EQ(SDOM_getNodeListItem(situation, list, 1, &node), SDOM_INDEX_SIZE_ERR);
    EXPECT_EQ(node, nullptr);
    EXPECT_EQ(SDOM_getExceptionCode(situation), SDOM_INDEX_SIZE_ERR);
    documents.clear();
    SablotDestroyDocument(situation, document);
    int length = 0;
    EXPECT_EQ(SDOM_getNodeListLength(situation, list, &length), SDOM_OK);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(SDOM_getNodeListItem(situation, list, 0, &node), SDOM_NOT_FOUND_ERR);
    EXPECT_EQ(SDOM_disposeNodeList(situation, list), SDOM_OK);
}

TEST_F(Queries, WithoutANodeOrAListAreNoCrash) {
    SDOM_NodeList list = nullptr;
    SDOM_Node node = nullptr;
    int length = 7;
    EXPECT_EQ(SDOM_xql(situation, "a", nullptr, &list), SDOM_NOT_FOUND_ERR);
    EXPECT_EQ(SDOM_xql_ns(situation, "a", nullptr, nullptr, &list), SDOM_NOT_FOUND_ERR);
    EXPECT_EQ(SDOM_xql(situation, nullptr, Node(Parse("<a/>")), &list), SDOM_QUERY_PARSE_ERR);
    EXPECT_EQ(SDOM_getNodeListLength(situation, nullptr, &length), SDOM_NOT_FOUND_ERR);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(SDOM_getNodeListItem(situation, nullptr, 0, &node), SDOM_NOT_FOUND_ERR);
    EXPECT_EQ(SDOM_disposeNodeList(situation, nullptr), SDOM_OK);
}

TEST_F(Queries, ThatAreHostileEnd) {
    std::string wide = "<a>";
    for (int i = 0; i < 20000; ++i) wide += "<b/>";
    wide += "</a>";
    SDOM_Node node = Node(Parse(wide));
    sablot::maxXPathOperations = 1'000'000;
    EXPECT_THAT(Query(node, "//b[count(//b[count(//b) > 0]) > 0]"), ElementsAre("code 18"));
    const auto repeated = [](int count, const char* open, const char* inner, const char* close) {
        std::string text;
        for (int i = 0; i < count; ++i) text += open;
        text += inner;
        for (int i = 0; i < count; ++i) text += close;
        return text;
    };
    const struct {
        std::string query;
        std::vector<std::string> expected;
    } CASES[] = {
        {repeated(100000, "(", "a", ")"), {"code 17"}},
        {repeated(100000, "a[", "b", "]"), {"code 17"}},
        {repeated(100000, "not(", "a", ")"), {"code 17"}},
        {repeated(100000, "-", "1", ""), {"code 18"}},
        {repeated(100000, "a+", "b", ""), {"code 18"}},
        {repeated(100000, "a/", "b", ""), {}},
        {repeated(4000, "a|", "b", ""), {"a"}},
    };
    for (const auto& c : CASES) EXPECT_EQ(Query(node, c.query.c_str()), c.expected) << c.query.substr(0, 20);
    // Sorting many nodes takes no time that grows with their distance.
    EXPECT_EQ(Query(node, "//b[position() mod 2 = 0] | //b[position() mod 2 = 1]").size(), 20000U);
}

} // namespace
