// Random expressions in transformations: what they select, and what is made of the first of it, against every node that
// libxml2's own evaluation finds, sorted plainly by its place.
#include "sablotron/tree/parse.h"
#include "tests/sablotron/random_queries.h"
#include "tests/sablotron/xslt_fixture.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace sablot::test {
namespace {

// Uses of an expression @ that depend on the order of what it selects, each a line of the result: nodes by their
// numbers among what is expected, or text.
struct Usage {
    const char* content;
    enum { ALL, FIRST, LAST, SECOND, TEXT } shows;
};
constexpr Usage USAGES[] = {
    {"<xsl:for-each select='@'><xsl:value-of select='generate-id()'/>,</xsl:for-each>", Usage::ALL},
    {"<xsl:apply-templates select='@' mode='id'/>", Usage::ALL},
    {"<xsl:apply-templates select='@' mode='id'><xsl:sort select='1'/></xsl:apply-templates>", Usage::ALL},
    {"<xsl:variable name='v' select='@'/><xsl:value-of select='generate-id($v[2])'/>,", Usage::SECOND},
    {"<xsl:value-of select='generate-id((@)[1])'/>,", Usage::FIRST},
    {"<xsl:value-of select='generate-id((@)[last()])'/>,", Usage::LAST},
    {"<xsl:value-of select='generate-id((@)[position() = 2])'/>,", Usage::SECOND},
    {"<xsl:value-of select='generate-id(@)'/>,", Usage::FIRST},
    {"<xsl:value-of select='@'/>", Usage::TEXT},
    {"<xsl:value-of select=\"concat(@, '')\"/>", Usage::TEXT},
    {"<xsl:variable name='s' select='string(@)'/><xsl:value-of select='$s'/>", Usage::TEXT},
    {"<xsl:variable name='e'><e t='{@}'/></xsl:variable><xsl:value-of select='$e/e/@t'/>", Usage::TEXT},
};

std::string Escaped(const std::string& text) {
    std::string escaped;
    for (const char c : text)
        escaped += c == '<' ? "&lt;" : c == '\'' ? "&apos;" : c == '"' ? "&quot;" : std::string(1, c);
    return escaped;
}

// A path of steps that select one node each.
std::string PathTo(const xmlNode* node) {
    if (IsDocument(node)) return "/";
    int position = 1;
    for (const xmlNode* before = node->prev; before != nullptr; before = before->prev) ++position;
    const std::string path = IsDocument(node->parent) ? "" : PathTo(node->parent);
    return path + (IsAttribute(node) ? "/@*[" : "/node()[") + std::to_string(position) + ']';
}

struct Sample {
    std::string path;
    std::string query;
    std::vector<xmlNode*> nodes;
};

Sample NewSample(RandomQueries& random, xmlDoc* tree, const std::map<const xmlNode*, int>& places) {
    const XPathPointer<xmlXPathContext> context(xmlXPathNewContext(tree));
    auto start = places.begin();
    std::advance(start, random.Pick(static_cast<int>(places.size())));
    context->node = const_cast<xmlNode*>(start->first);
    Sample sample{PathTo(context->node), random.Query(), {}};
    const XPathPointer<xmlXPathObject> value(xmlXPathEval(Chars(("(" + sample.query + ")").c_str()), context.get()));
    if (!value || value->type != XPATH_NODESET || value->nodesetval == nullptr) return sample;
    sample.nodes.assign(value->nodesetval->nodeTab, value->nodesetval->nodeTab + value->nodesetval->nodeNr);
    std::sort(sample.nodes.begin(), sample.nodes.end(),
              [&](const xmlNode* left, const xmlNode* right) { return places.at(left) < places.at(right); });
    return sample;
}

// The first line shows the IDs of all nodes, from one to the next.
std::string StylesheetOf(const std::vector<Sample>& samples) {
    std::string content =
        "<xsl:output method='text'/><xsl:template match='/|node()|@*' mode='id'><xsl:value-of select='generate-id()'/>,"
        "</xsl:template><xsl:template match='/|node()|@*' mode='all'><xsl:value-of select='generate-id()'/>,"
        "<xsl:apply-templates select='@*' mode='all'/><xsl:apply-templates select='node()' mode='all'/></xsl:template>"
        "<xsl:template match='/'><xsl:apply-templates select='.' mode='all'/>";
    for (const Sample& sample : samples) {
        content += "<xsl:for-each select='" + sample.path + "'>";
        for (const Usage& usage : USAGES) {
            std::string use = usage.content;
            use.replace(use.find('@'), 1, Escaped(sample.query));
            content += "<xsl:text>&#10;</xsl:text>" + use;
        }
        content += "</xsl:for-each>";
    }
    return Sheet(content + "</xsl:template>");
}

std::string Expected(const Usage& usage, const Sample& sample, const std::map<const xmlNode*, int>& places,
                     const std::vector<std::string>& ids) {
    const auto id = [&](size_t index) {
        if (index >= sample.nodes.size()) return std::string(",");
        return ids.at(static_cast<size_t>(places.at(sample.nodes[index]) - 1)) + ',';
    };
    switch (usage.shows) {
    case Usage::FIRST: return id(0);
    case Usage::SECOND: return id(1);
    case Usage::LAST: return id(sample.nodes.size() - 1);
    case Usage::TEXT: break;
    case Usage::ALL:
        std::string all;
        for (size_t i = 0; i < sample.nodes.size(); ++i) all += id(i);
        return all;
    }
    xmlChar* text = sample.nodes.empty() ? nullptr : xmlXPathCastNodeToString(sample.nodes[0]);
    std::string first(View(text));
    xmlFree(text);
    return first;
}

TEST_F(XsltFixture, RandomExpressionsSelectInDocumentOrder) {
    RandomQueries random;
    size_t found = 0;
    for (int round = RandomQueries::Setting("KOVA_ROUNDS", 8); round > 0; --round) {
        const std::string text = random.Tree();
        ParseFailure failure;
        const TreePointer tree = ParseTree(SourceOf(text), failure);
        ASSERT_TRUE(tree) << text;
        const std::map<const xmlNode*, int> places = Places(tree.get());
        std::vector<Sample> samples(50);
        for (Sample& sample : samples) sample = NewSample(random, tree.get(), places);

        ASSERT_EQ(Transform(StylesheetOf(samples), text), 0);
        std::istringstream lines(Out());
        std::string line;
        std::getline(lines, line);
        std::vector<std::string> ids;
        std::istringstream list(line);
        while (std::getline(list, line, ',')) ids.push_back(line);
        ASSERT_EQ(ids.size(), places.size());
        for (const Sample& sample : samples) {
            found += sample.nodes.size();
            for (const Usage& usage : USAGES) {
                std::getline(lines, line);
                ASSERT_EQ(line, Expected(usage, sample, places, ids))
                    << sample.query << " from " << sample.path << " of " << text << " in " << usage.content;
            }
        }
    }
    EXPECT_GT(found, 100U);
}

} // namespace
} // namespace sablot::test
