// Filling the list.
#include "sablotron/dom/attribute_list.h"

namespace sablot {

size_t AttributeList::Count(Document& document, xmlNode* element) {
    Fill(document, element);
    return scope_.Of(document, element).size() + attributes_.size();
}

NodeHandle* AttributeList::At(Document& document, xmlNode* element, size_t index) {
    const std::vector<Binding>& bindings = scope_.Of(document, element);
    if (index < bindings.size()) return document.HandleOf(bindings[index].declaration, bindings[index].owner);
    Fill(document, element);
    index -= bindings.size();
    return index < attributes_.size() ? document.HandleOf(attributes_[index]) : nullptr;
}

void AttributeList::Fill(const Document& document, const xmlNode* element) {
    if (element_ == element && editCount_ == document.EditCount()) return;
    element_ = nullptr;
    attributes_.clear();
    for (xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
        attributes_.push_back(attribute);
    element_ = element;
    editCount_ = document.EditCount();
}

} // namespace sablot
