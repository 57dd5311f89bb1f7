// Random queries over random trees: every node that libxml2's own evaluation finds, sorted plainly by its place.
#include "sablotron/dom/call.h"
#include "tests/sablotron/dom_support.h"

#include <gtest/gtest.h>
#include <libxml/xpath.h>

#include <cstdlib>
#include <map>
#include <random>
#include <set>

namespace sablot::test {
namespace {

class RandomQueries {
public:
    explicit RandomQueries(unsigned seed) : random_(seed) {}

    std::string Tree() { return "<r>" + Content(0) + "</r>"; }

    std::string Query() {
        std::string query = Path();
        for (int more = Pick(4); more > 2; --more) query += Blank() + "|" + Blank() + Path();
        if (Pick(8) == 0)
            query = "(" + query + ")" + (Pick(2) == 0 ? "[" + std::to_string(1 + Pick(3)) + "]" : "") + Tail();
        return query;
    }

    int Pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

private:
    std::string Content(int depth) {
        std::string text;
        for (int i = Pick(5); i > 0; --i) {
            switch (Pick(8)) {
            case 0: text += "t"; break;
            case 1: text += "<!--c-->"; break;
            case 2: text += "<?p d?>"; break;
            default: {
                const std::string name(1, static_cast<char>('a' + Pick(3)));
                std::string tag = "<" + name;
                if (Pick(3) == 0) tag += " i='" + std::to_string(Pick(3)) + "'";
                if (Pick(4) == 0) tag += " j='x'";
                text += tag + ">" + (depth < 4 ? Content(depth + 1) : "") + "</" + name + ">";
            }
            }
        }
        return text;
    }
    std::string Blank() { return Pick(6) == 0 ? " " : ""; }
    std::string Path() {
        static constexpr const char* STARTS[] = {"", "", "/", "//", "//", "./", ".//", "../"};
        return STARTS[Pick(8)] + Step() + Tail();
    }
    std::string Tail() {
        std::string tail;
        for (int i = Pick(3); i > 0; --i) tail += Blank() + (Pick(3) == 0 ? "//" : "/") + Blank() + Step();
        return tail;
    }
    std::string Step() {
        static constexpr const char* AXES[] = {"",
                                               "",
                                               "",
                                               "",
                                               "",
                                               "child::",
                                               "descendant::",
                                               "descendant-or-self::",
                                               "self::",
                                               "parent::",
                                               "ancestor::",
                                               "ancestor-or-self::",
                                               "following::",
                                               "following-sibling::",
                                               "preceding::",
                                               "preceding-sibling::",
                                               "attribute::",
                                               "@"};
        static constexpr const char* TESTS[] = {"a",
                                                "b",
                                                "c",
                                                "i",
                                                "*",
                                                "*",
                                                "node()",
                                                "node ( )",
                                                "text()",
                                                "comment()",
                                                "processing-instruction()",
                                                "processing-instruction('p')"};
        static constexpr const char* PREDICATES[] = {"[1]",       "[2]",          "[last()]",
                                                     "[@i]",      "[@i='1']",     "['x'=@j]",
                                                     "[a]",       "[b/c]",        "[position()>1]",
                                                     "[@i > 0]",  "[not(@j)]",    "[count(*)]",
                                                     "[.//b]",    "[text()='t']", "[position()=last()]",
                                                     "[../a[1]]", "[*/a/../b]",   "[count(..//@i/..) > 1]"};
        if (Pick(8) == 0) return Pick(2) == 0 ? ".." : ".";
        std::string step = std::string(AXES[Pick(18)]) + TESTS[Pick(12)];
        for (int i = Pick(6); i > 4; --i) step += Blank() + PREDICATES[Pick(18)];
        if (Pick(5) == 0) step += PREDICATES[Pick(18)];
        return step;
    }

    std::mt19937 random_;
};

// Document order by plain counting.
std::map<const xmlNode*, int> Places(xmlDoc* tree) {
    std::map<const xmlNode*, int> places;
    int place = 0;
    for (const xmlNode* node : Walk(AsNode(tree))) {
        places[node] = ++place;
        if (!IsElement(node)) continue;
        for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            places[AsNode(attribute)] = ++place;
    }
    return places;
}

// KOVA_SEED and KOVA_ROUNDS vary and lengthen the run.
TEST(RandomQueries, FindEveryNodeInDocumentOrder) {
    const char* seed = std::getenv("KOVA_SEED");
    const char* rounds = std::getenv("KOVA_ROUNDS");
    RandomQueries random(seed != nullptr ? static_cast<unsigned>(std::atoi(seed)) : 2006);
    Dom dom;
    int found = 0;
    for (int round = rounds != nullptr ? std::atoi(rounds) : 40; round > 0; --round) {
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
