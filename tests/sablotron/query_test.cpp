// Queries: order after runs, lists without their document, hostile ones. Host programs hold what they find.
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
    static SDOM_Node Node(SDOM_Document document) { return reinterpret_cast<SDOM_Node>(document); }
};

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
    SDOM_Node node = Root(document);
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
    EXPECT_EQ(SablotDestroyProcessor(nullptr), 0);
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
