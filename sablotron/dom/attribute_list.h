// The list of an element's attributes as programs count them: first the namespace bindings in scope, then the
// attributes.
#pragma once

#include "sablotron/dom/scope_cache.h"

#include <vector>

namespace sablot {

// Keeps the list of one element, which programs ask for index by index.
class AttributeList {
public:
    size_t Count(Document& document, xmlNode* element);
    // Null outside the list.
    NodeHandle* At(Document& document, xmlNode* element, size_t index);
    ScopeCache& Scope() { return scope_; }

private:
    void Fill(const Document& document, const xmlNode* element);

    const xmlNode* element_ = nullptr;
    unsigned editCount_ = 0;
    ScopeCache scope_;
    std::vector<xmlAttr*> attributes_;
};

} // namespace sablot
