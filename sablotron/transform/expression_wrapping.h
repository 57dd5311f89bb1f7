// Expressions of stylesheets in forms that libxml2 evaluates as XSLT has it, and back.
#pragma once

#include "sablotron/tree/xpath_rewrite.h"

#include <string>
#include <string_view>

namespace sablot {

// The XPath function in which expressions whose value becomes text are wrapped, and the one in place of an expression
// that a stylesheet of a later version has and XPath 1.0 does not parse.
constexpr std::string_view TEXT_FUNCTION = "sablot.text";
constexpr std::string_view REFUSED_FUNCTION = "sablot.refused";

// The expression as the argument of TEXT_FUNCTION, where its value can need that.
std::string WrappedAsText(const std::string& expression);
// The expression in a form that libxml2 does not evaluate as a stream, which passes over what is below 10,000 levels.
// With `isBelowAnything` it is a pattern whose nodes may stand anywhere.
std::string WithoutStream(const std::string& expression, bool isBelowAnything);
// An expression of a stylesheet as it is compiled.
std::string Prepared(const std::string& expression, ExpressionUse use);
std::string PreparedPattern(const std::string& pattern);
// What stands for an expression that does not parse: a call of REFUSED_FUNCTION with it.
std::string WrappedAsRefused(const std::string& expression);

// A text of libxslt with the expressions as they were written.
std::string WithoutCalls(std::string text);
// The expression in whose place REFUSED_FUNCTION stands, from its argument.
std::string RefusedExpression(const std::string& argument);

} // namespace sablot
