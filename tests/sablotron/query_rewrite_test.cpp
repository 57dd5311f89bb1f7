// Queries as they are rewritten before libxml2 evaluates them.
#include "sablotron/tree/xpath_rewrite.h"

#include <gtest/gtest.h>

namespace sablot {
namespace {

struct Case {
    const char* expression;
    const char* expected;
};

std::string WithoutBlanks(std::string text) {
    std::erase(text, ' ');
    return text;
}

constexpr Case CASES[] = {
    // Name tests.
    {"b", "d:b"},
    {"//b", "//d:b"},
    {"a//b/..", "d:a//d:b/.."},
    {"*", "*"},
    {"a/*/b", "d:a/*/d:b"},
    {"p:b", "p:b"},
    {"p:b/c", "p:b/d:c"},
    {"a.b-c_1", "d:a.b-c_1"},
    {"\xC3\xA4\xC3\xB6", "d:\xC3\xA4\xC3\xB6"},
    {"", ""},
    // Axes.
    {"child :: b", "child :: d:b"},
    {"descendant-or-self::node()/b", "descendant-or-self::node()/d:b"},
    {"ancestor::a[1]", "ancestor::d:a[1]"},
    {"self::a|parent::b", "self::d:a|parent::d:b"},
    {"@x/b", "@x/d:b"},
    {"attribute :: x", "attribute :: x"},
    {"attribute::x[b]", "attribute::x[d:b]"},
    {"following-sibling::b/@p:x", "following-sibling::d:b/@p:x"},
    {"attribute/namespace", "d:attribute/d:namespace"},
    // Operator names and the star.
    {"a and b", "d:a and d:b"},
    {"and and and", "d:and and d:and"},
    {"mod mod mod mod mod", "d:mod mod d:mod mod d:mod"},
    {"a * b", "d:a * d:b"},
    {"* * *", "* * *"},
    {"*[*]", "*[*]"},
    {"2 * *", "2 * *"},
    {"a[1]*b", "d:a[1]*d:b"},
    {".. div b", ".. div d:b"},
    {"@x div y", "@x div d:y"},
    {"@and and @or", "@and and @or"},
    {"a-b", "d:a-b"},
    {".5*b", ".5*d:b"},
    {"a<=b and c>=d", "d:a<=d:b and d:c>=d:d"},
    // Functions, node types, variables, strings.
    {"count (b)", "count (d:b)"},
    {"b/text()", "d:b/text()"},
    {"comment ()|node()", "comment ()|node()"},
    {"processing-instruction('b')", "processing-instruction('b')"},
    {"p:f(b, c)", "p:f(d:b, d:c)"},
    {"text/node/comment", "d:text/d:node/d:comment"},
    {"$b/c", "$b/d:c"},
    {"$p:b * c", "$p:b * d:c"},
    {"$ b and c", "$ b and d:c"},
    {"'b'", "'b'"},
    {"\"it's b\"", "\"it's b\""},
    {"concat('a', b, \"c\")", "concat('a', d:b, \"c\")"},
    {"b[contains(., 'x and y')]", "d:b[contains(., 'x and y')]"},
    {"b[position()=last()]/c[@id='7']", "d:b[position()=last()]/d:c[@id='7']"},
    {"id('x')/b", "id('x')/d:b"},
    {"a[not(b or c)][2]/d", "d:a[not(d:b or d:c)][2]/d:d"},
    // What is no expression passes through to be reported.
    {"'b", "'b"},
    {"a[", "d:a["},
    {"$", "$"},
    {"a b", "d:a b"},
    {"p:", "p:"},
};

TEST(XpathRewrite, QualifiesOnlyElementNames) {
    for (const Case& c : CASES) EXPECT_EQ(QualifyElementNames(c.expression, "d"), c.expected) << c.expression;
}

constexpr Case PARENTS[] = {
    {"//a/b/..", "//a[b]"},
    {"count(//p:a/@p:b/..) + count(a/*/../c)", "count(//p:a[@p:b]) + count(a[*]/c)"},
    {"//@id/..", "/descendant-or-self::node()[@id]"},
    {"r//b/../..", "r/descendant-or-self::node()[b]/.."},
    {"p:*/b/..[a[1]/b/..]", "p:*[b][a[1][b]]"},
    {"f()/b.c/.. | $v/b/..", "f()[b.c] | $v[b]"},
    {"a/text()/.. | a/node()/parent::node()", "a[text()] | a[node()]"},
    {"//c/parent::node()[a][2]", "/descendant-or-self::node()[c]/self::node()[a][2]"},
    {"//b/parent::* | x/p:a/b/@c/parent::p:a[1]", "/descendant-or-self::node()[b]/self::* | x/p:a/b[@c]/self::p:a[1]"},
    {"//b/following-sibling::*[1] | a/*/preceding-sibling::*[1]/c",
     "//*[preceding-sibling::*[1]/self::b] | a/*[following-sibling::*[1]/self::*]/c"},
    {"//p:b/following-sibling::p:b[1]/c | a/b/preceding-sibling::b[1]",
     "//p:b[preceding-sibling::p:b]/c | a/b[following-sibling::b]"},
    // These stay.
    {"b/..", "b/.."},
    {"a/b/following-sibling::c[1] | //b/following-sibling::*[1][2] | a/@b/following-sibling::*[1]",
     "a/b/following-sibling::c[1] | //b/following-sibling::*[1][2] | a/@b/following-sibling::*[1]"},
    {"a/b/parent::text() | b/parent::*", "a/b/parent::text() | b/parent::*"},
    {"/b/..", "/b/.."},
    {"./b/.. | ../b/..", "./b/.. | ../b/.."},
    {"a or/b/..", "a or/b/.."},
    {"a */b/..", "a */b/.."},
    {"a/parent::b/..", "a/parent::b/.."},
    {"a/b[1]/..", "a/b[1]/.."},
    {"contains(a, 'a/b/..') or x[@a='y']/b/..", "contains(a, 'a/b/..') or x[@a='y'][b]"},
};

TEST(XpathRewrite, MakesWaysToAndFroPredicates) {
    for (const Case& c : PARENTS) EXPECT_EQ(WaysBackAsPredicates(c.expression), c.expected) << c.expression;
}

constexpr Case UNIONS[] = {
    {"count(//a | b|@c) + 1", "count(sablot.union(//a , b,@c)) + 1"},
    {"-a|b = 'x|y' or c[d|e]/f|g", "- sablot.union(a,b )= 'x|y' or sablot.union(c[sablot.union(d,e)]/f,g)"},
    {"concat((a|b)[1], * * *|x)", "concat((sablot.union(a,b))[1], * * sablot.union(*,x))"},
    {"a-b|div div(div)|and", "sablot.union(a-b,div )div sablot.union((div),and)"},
};

constexpr Case FIRST_KEYS[] = {
    {"key('k', @a[1])[1]/b = key ( 'k' , f(key('k', 2) [ 1 ]) )[1][2]",
     "sablot.first-key('k', @a[1])/b = sablot.first-key ( 'k' , f(sablot.first-key('k', 2)) )[2]"},
    {"key('k', 1)[2] | key[1] | (key('k', 1))[1] | my-key(1)[1]",
     "key('k', 1)[2] | key[1] | (key('k', 1))[1] | my-key(1)[1]"},
};

TEST(XpathRewrite, MakesFirstKeysCalls) {
    for (const Case& c : FIRST_KEYS)
        EXPECT_EQ(WithoutBlanks(FirstKeysAsCalls(c.expression)), WithoutBlanks(c.expected));
}

TEST(XpathRewrite, MakesComparedIdsCalls) {
    EXPECT_EQ(WithoutBlanks(ComparedIdsAsCalls("a[generate-id() = generate-id(b[generate-id(..)=generate-id(c)])]")),
              "a[sablot.same(.,b[sablot.same(..,c)])]");
    for (const char* kept : {"1+generate-id()=generate-id()", "generate-id()=generate-id(.)=true()",
                             "generate-id(a,b)=generate-id()", "generate-id()=generate-id"})
        EXPECT_EQ(ComparedIdsAsCalls(kept), kept);
}

TEST(XpathRewrite, MakesComparedPathsTexts) {
    EXPECT_EQ(AbsolutePathsAsTexts("a[b or(@c) = //d[e=/f]/@g]=2 and . =/h['1']"),
              "a[b or sablot.among((@c) , '//d[e=/f]/@g')]=2 and  sablot.among(. ,\"/h['1']\")");
    for (const char* kept : {"a!=/b", "a<=/b", "a=/b+1", "a=/b=c", "a=/p:b", "a=/b[$c]", "a=/b[last()]", "a=/b|c",
                             "a=/b['c'=\"d\"]", "/a=b"})
        EXPECT_EQ(AbsolutePathsAsTexts(kept), kept);
}

TEST(XpathRewrite, MakesUnionsCalls) {
    for (const Case& c : UNIONS) EXPECT_EQ(UnionsAsCalls(c.expression), c.expected) << c.expression;
    EXPECT_EQ(NodeSetsAsCalls("a[b|c]|.//node()[.]", ExpressionUse::PATTERN), "a[sablot.union(b,c)]|.//node()[.]");
    EXPECT_EQ(NodeSetsAsCalls("-x:f(//., node(), .5)[self::node()] - a/node ( )/b"),
              "-x:f(sablot.union(//.), node(), .5)[sablot.union(self::node())] - sablot.union(a/node ( )/b)");
    EXPECT_EQ(NodeSetsAsCalls("b/preceding::a[preceding-sibling::b] + f(preceding::a, (preceding-sibling::a)[1])"),
              "count('sablot.sorted',b/preceding::a[preceding-sibling::b] )+ "
              "f(preceding::a, (count('sablot.sorted',preceding-sibling::a))[1])");
    EXPECT_EQ(NodeSetsAsCalls("preceding::a", ExpressionUse::TEST), "preceding::a");
}

} // namespace
} // namespace sablot
