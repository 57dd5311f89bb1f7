// Finding bindings anew only where they can differ from the last ones.
#include "sablotron/dom/scope_cache.h"

namespace sablot {

namespace {

// Most elements declare nothing: what is in scope of one is in scope of its parent, siblings and children.
bool SharesScope(const xmlNode* element, const xmlNode* known) {
    const bool isParent = known->parent == element && known->nsDef == nullptr;
    const bool isChild = element->parent == known && element->nsDef == nullptr;
    const bool isSibling = element->parent == known->parent && element->nsDef == nullptr && known->nsDef == nullptr;
    return isParent || isChild || (isSibling && element->parent != nullptr && IsElement(element->parent));
}

} // namespace

const std::vector<Binding>& ScopeCache::Of(Document& document, xmlNode* element) {
    const bool isCurrent = element_ != nullptr && editCount_ == document.EditCount();
    if (!isCurrent || (element != element_ && !SharesScope(element, element_))) {
        element_ = nullptr;
        bindings_ = BindingsInScope(document, element);
    }
    element_ = element;
    editCount_ = document.EditCount();
    return bindings_;
}

} // namespace sablot
