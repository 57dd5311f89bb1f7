// The namespace bindings in scope of one element, which programs ask for index by index and in loops over neighbours.
#pragma once

#include "sablotron/tree/bindings.h"

#include <vector>

namespace sablot {

class ScopeCache {
public:
    const std::vector<Binding>& Of(Document& document, xmlNode* element);
    // The edits since the last call of Of have changed nothing in scope of its element.
    void StillHolds(const Document& document) { editCount_ = document.EditCount(); }

private:
    const xmlNode* element_ = nullptr;
    unsigned editCount_ = 0;
    std::vector<Binding> bindings_;
};

} // namespace sablot
