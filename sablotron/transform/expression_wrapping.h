// Expressions of stylesheets as the argument of a function of ours, and back.
#pragma once

#include <string>
#include <string_view>

namespace sablot {

// The XPath function in which expressions whose value becomes text are wrapped, and the one in place of an expression
// that a stylesheet of a later version has and XPath 1.0 does not parse.
constexpr std::string_view TEXT_FUNCTION = "sablot.text";
constexpr std::string_view REFUSED_FUNCTION = "sablot.refused";

// The expression as the argument of TEXT_FUNCTION, where its value can need that.
std::string WrappedAsText(const std::string& expression);
// What stands for an expression that does not parse: a call of REFUSED_FUNCTION with it.
std::string WrappedAsRefused(const std::string& expression);

// A text of libxslt without the wrapping.
std::string WithoutTextFunction(std::string text);
// The expression in whose place REFUSED_FUNCTION stands, from its argument.
std::string RefusedExpression(const std::string& argument);

} // namespace sablot
