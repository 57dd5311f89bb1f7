// The expressions of a stylesheet: whether they parse, and what they become. Modules repeat most of them.
#pragma once

#include "sablotron/tree/xpath.h"
#include "sablotron/tree/xpath_rewrite.h"

#include <array>
#include <optional>
#include <string>
#include <unordered_map>

namespace sablot {

class Expressions {
public:
    Expressions() = default;
    Expressions(const Expressions&) = delete;
    Expressions& operator=(const Expressions&) = delete;

    bool Parses(const std::string& expression);
    // Why the latest one did not.
    const std::string& Reason() const { return reason_; }
    // The form in which one that parses is compiled.
    const std::string& Prepared(const std::string& expression, ExpressionUse use);

private:
    xmlXPathContext* Context();

    XPathPointer<xmlXPathContext> context_; // null before the first one: most runs load no module
    std::string reason_;
    // Those that parse, with their forms for each use once these are known.
    std::unordered_map<std::string, std::array<std::optional<std::string>, 3>> known_;
};

} // namespace sablot
