// Random queries over random trees: every node that libxml2's own evaluation finds, sorted plainly by its place.
#include "sablotron/dom/call.h"
#include "tests/sablotron/dom_support.h"
#include "tests/sablotron/random_queries.h"

#include <gtest/gtest.h>
#include <libxml/xpath.h>

#include <set>

namespace sablot::test {
namespace {

TEST(RandomQueries, FindEveryNodeInDocumentOrder) {
    RandomQueries random;
    Dom dom;
    int found = 0;
    for (int round = RandomQueries::Setting("KOVA_ROUNDS", 40); round > 0; --round) {
        const std::string text = random.Tree();
        SDOM_Document document = dom.Parse(text);
        xmlDoc* tree = FindDocument(document)->Tree();
        const std::map<const xmlNode*, int> places = Places(tree);
        std::vector<const xmlNode*> nodes(places.size());
        for (const auto& [node, place] : places) nodes[static_cast<size_t>(place - 1)] = node;
        xmlXPathContext* context = xmlXPathNewContext(tree);
        for (int i = 0; i < 50; ++i) {
            const std::string query = random.Query();
            auto* start = const_cast<xmlNode*>(nodes[static_cast<size_t>(random.Pick(static_cast<int>(nodes.size())))]);
            context->node = start;
            // In parentheses, or it may be evaluated as a stream, which finds less.
            xmlXPathObject* value = xmlXPathEval(Chars(("(" + query + ")").c_str()), context);
            ASSERT_TRUE(value != nullptr && value->type == XPATH_NODESET) << query;
            std::set<int> expected;
            for (int k = 0; value->nodesetval != nullptr && k < value->nodesetval->nodeNr; ++k)
                expected.insert(places.at(value->nodesetval->nodeTab[k]));
            xmlXPathFreeObject(value);

            SDOM_NodeList list = nullptr;
            ASSERT_EQ(SDOM_xql(dom.situation, query.c_str(), FindDocument(document)->HandleOf(start), &list), 0)
                << query;
            std::vector<int> actual(static_cast<size_t>(dom.Get<int>(SDOM_getNodeListLength, list)));
            for (size_t k = 0; k < actual.size(); ++k)
                actual[k] = places.at(FindNode(dom.Get<SDOM_Node>(SDOM_getNodeListItem, list, static_cast<int>(k))));
            SDOM_disposeNodeList(dom.situation, list);
            ASSERT_EQ(actual, std::vector<int>(expected.begin(), expected.end()))
                << query << " from node " << places.at(start) << " of " << text;
            found += static_cast<int>(actual.size());
        }
        xmlXPathFreeContext(context);
        SablotDestroyDocument(dom.situation, document);
    }
    EXPECT_GT(found, 1000);
}

} // namespace
} // namespace sablot::test
