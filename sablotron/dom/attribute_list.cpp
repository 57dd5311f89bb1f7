// Counting and reaching what is in the list.
#include "sablotron/dom/attribute_list.h"

namespace sablot {

size_t AttributeList::Count(Document& document, xmlNode* element) {
    return scope_.Of(document, element).size() + attributes_.Count(element, AsNode(element->properties));
}

NodeHandle* AttributeList::At(Document& document, xmlNode* element, size_t index) {
    const std::vector<Binding>& bindings = scope_.Of(document, element);
    if (index < bindings.size()) return document.HandleOf(bindings[index].declaration, bindings[index].owner);
    return document.HandleOf(attributes_.At(element, AsNode(element->properties), index - bindings.size()));
}

} // namespace sablot
