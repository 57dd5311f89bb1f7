// The list of an element's attributes as programs count them: first the namespace bindings in scope, then the
// attributes.
#pragma once

#include "sablotron/dom/scope_cache.h"
#include "sablotron/dom/sibling_index.h"

namespace sablot {

class AttributeList {
public:
    size_t Count(Document& document, xmlNode* element);
    // Null outside the list.
    NodeHandle* At(Document& document, xmlNode* element, size_t index);
    ScopeCache& Scope() { return scope_; }
    // Without the bindings.
    SiblingIndexes& Attributes() { return attributes_; }

private:
    ScopeCache scope_;
    SiblingIndexes attributes_;
};

} // namespace sablot
