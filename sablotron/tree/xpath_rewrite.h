// Rewriting expressions by their tokens: the default-namespace rule of queries, and forms that cost less.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sablot {

// Returns `expression` with `prefix` and a colon put before every unprefixed name test whose principal node type is
// element, so that such a name means an element of the namespace bound to `prefix`. Attribute and namespace names,
// functions, variables, node types, axes, operators and strings stay as they are. What is no XPath is copied as it
// stands: the parser of expressions reports it. (XPath 1.0, section 3.7, "Lexical Structure".)
std::string QualifyElementNames(std::string_view expression, std::string_view prefix);

// `expression` with paths to children or attributes and back, "a/b/..", as predicates, "a[b]", and paths to neighbours,
// "a/b/following-sibling::*[1]", as "a/*[preceding-sibling::*[1]/self::b]", or to the next of the same name as
// "a/b[preceding-sibling::b]": the same nodes, found without comparing each with each as libxml2 does.
std::string WaysBackAsPredicates(std::string_view expression);

// `expression` with calls of UNION_FUNCTION in place of unions, "count(a | b)" as "count(sablot.union(a , b))": libxml2
// compares each node with each.
constexpr std::string_view UNION_FUNCTION = "sablot.union";
constexpr std::string_view UNION_CALL = "sablot.union(";
std::string UnionsAsCalls(std::string_view expression);
// Also with paths that may find nodes of several kinds and parents as arguments of that function. In a pattern only
// what stands in its predicates. Paths to what stands before become arguments of SORTED_CALL where libxml2 would sort
// their nodes: in parentheses, or as a whole unless for a test, for which it finds one node. It compares such nodes
// slowly once numbers are hidden, and sorts the arguments of each function but count().
constexpr std::string_view SORTED_MARK = "sablot.sorted";
constexpr std::string_view SORTED_CALL = "count('sablot.sorted',";
enum class ExpressionUse { VALUE, TEXT, TEST, PATTERN }; // TEXT: a value that becomes text
std::string NodeSetsAsCalls(std::string_view expression, ExpressionUse use = ExpressionUse::VALUE);

// `expression` with calls in place of steps from sets of nodes to what is around, beside, before, after or below them:
// "//a/following::b[c]" as "count('sablot.step following::b',//a)[c]". libxml2 takes such a step for each node and
// compares what it finds with all found before. Steps with predicates that depend on positions stay, but for "[n]".
// And "not(following::b[01])" in place of "not(following::b)", for which libxml2 goes on to the last node and sorts
// them.
constexpr std::string_view STEP_MARK = "sablot.step ";
constexpr std::string_view STEP_CALL = "count('sablot.step ";
constexpr std::string_view FIRST_OF_STEP = "[01]"; // as nobody writes it
// "count(a/preceding-sibling::b)" as "count('sablot.siblings preceding-sibling::b',a)", of the context node without a.
constexpr std::string_view SIBLINGS_MARK = "sablot.siblings ";
constexpr std::string_view COUNT_BEGIN = "'sablot.siblings ";
std::string StepsAsCalls(std::string_view expression, ExpressionUse use);
std::string ShortNegations(std::string_view expression); // the latter only

// `expression` with calls of FIRST_KEY_FUNCTION in place of "key(name, value)[1]", which libxslt would find all nodes
// for.
constexpr std::string_view FIRST_KEY_FUNCTION = "sablot.first-key";
std::string FirstKeysAsCalls(std::string_view expression);

// `expression` with calls of SAME_FUNCTION in place of "generate-id(a) = generate-id(b)", which makes two texts.
constexpr std::string_view SAME_FUNCTION = "sablot.same";
std::string ComparedIdsAsCalls(std::string_view expression);

// `expression` with "a = //b/@c" as "sablot.among(a,'//b/@c')": libxml2 would find the right side again for each a.
constexpr std::string_view AMONG_FUNCTION = "sablot.among";
constexpr std::string_view AMONG_CALL = " sablot.among(";
std::string AbsolutePathsAsTexts(std::string_view expression);

// The prefixes of names, functions and variables in the expression, as they come.
std::vector<std::string_view> PrefixesOf(std::string_view expression);

// Whether nothing is missing that libxml2 does not miss: it takes the end of an expression for that of a call's
// arguments, and for an operand of '|'.
bool IsComplete(std::string_view expression);

} // namespace sablot
