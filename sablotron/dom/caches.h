// What a document remembers to make indexed access and comparing cheap in loops.
#pragma once

#include "sablotron/dom/attribute_list.h"
#include "sablotron/dom/child_index.h"
#include "sablotron/tree/document.h"
#include "sablotron/tree/order.h"

namespace sablot {

struct Document::Caches {
    ChildIndex children;
    OrderIndex order;
    AttributeList attributes;
};

} // namespace sablot
