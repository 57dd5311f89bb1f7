// What a document remembers to make indexed access and comparing cheap in loops.
#pragma once

#include "sablotron/dom/attribute_list.h"
#include "sablotron/dom/attribute_names.h"
#include "sablotron/dom/sibling_index.h"
#include "sablotron/tree/document.h"
#include "sablotron/tree/order.h"

namespace sablot {

struct Caches : DocumentExtra {
    SiblingIndexes children;
    OrderIndex order;
    AttributeList attributes;
    AttributeNames attributeNames;
};

// Those of the document, made at the first call.
inline Caches& CachesOf(Document& document) {
    if (!document.caches) document.caches = std::make_unique<Caches>();
    return static_cast<Caches&>(*document.caches);
}

} // namespace sablot
