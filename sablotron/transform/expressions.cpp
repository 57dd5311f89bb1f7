// Each text is parsed once, and prepared once for each use.
#include "sablotron/transform/expressions.h"

#include "sablotron/transform/expression_wrapping.h"
#include "sablotron/tree/tree.h"

#include <libxml/xpathInternals.h>

#include <new>

namespace sablot {
namespace {

const char* ReasonOf(int code) {
    switch (code) {
    case XML_XPATH_UNFINISHED_LITERAL_ERROR: return "Literal without end";
    case XML_XPATH_VARIABLE_REF_ERROR: return "Invalid name of a variable";
    case XML_XPATH_INVALID_PREDICATE_ERROR: return "Invalid predicate";
    case XML_XPATH_UNCLOSED_ERROR: return "Parenthesis without end";
    default: return "Invalid expression";
    }
}

} // namespace

xmlXPathContext* Expressions::Context() {
    if (context_) return context_.get();
    context_.reset(xmlXPathNewContext(nullptr));
    if (!context_) throw std::bad_alloc();
    context_->userData = this;
    context_->error = [](void* self, xmlErrorPtr error) {
        static_cast<Expressions*>(self)->reason_ = ReasonOf(error->code);
    };
    return context_.get();
}

bool Expressions::Parses(const std::string& expression) {
    if (known_.contains(expression)) return true;
    reason_ = ReasonOf(0);
    const XPathPointer<xmlXPathCompExpr> compiled(xmlXPathCtxtCompile(Context(), Chars(expression.c_str())));
    return compiled != nullptr && IsComplete(expression) && known_.try_emplace(expression).second;
}

const std::string& Expressions::Prepared(const std::string& expression, ExpressionUse use) {
    std::optional<std::string>& form = known_[expression].at(static_cast<size_t>(use));
    if (!form) form = sablot::Prepared(expression, use);
    return *form;
}

} // namespace sablot
