// Filling the list, with what the last one had in scope where that still holds.
#include "sablotron/dom/attribute_list.h"

namespace sablot {

size_t AttributeList::Count(Document& document, xmlNode* element) {
    Fill(document, element);
    return bindings_.size() + attributes_.size();
}

NodeHandle* AttributeList::At(Document& document, xmlNode* element, size_t index) {
    Fill(document, element);
    if (index < bindings_.size()) return document.HandleOf(bindings_[index].declaration, bindings_[index].owner);
    index -= bindings_.size();
    return index < attributes_.size() ? document.HandleOf(attributes_[index]) : nullptr;
}

void AttributeList::Fill(Document& document, xmlNode* element) {
    bool isCurrent = editCount_ == document.EditCount() && (element_ != nullptr);
    if (isCurrent && element_ == element) return;
    // Most elements declare nothing: what is in scope of one is in scope of its siblings and children.
    bool sharesScope =
        isCurrent && (element->nsDef == nullptr)
        && (element->parent == element_ || (element->parent == element_->parent && (element_->nsDef == nullptr)))
        && (element->parent != nullptr) && IsElement(element->parent);
    element_ = nullptr;
    if (!sharesScope) bindings_ = BindingsInScope(document, element);
    attributes_.clear();
    for (xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
        attributes_.push_back(attribute);
    element_ = element;
    editCount_ = document.EditCount();
}

} // namespace sablot
