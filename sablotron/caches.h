// What a document remembers to make indexed access and comparing cheap in loops.
#pragma once

#include "sablotron/attribute_list.h"
#include "sablotron/child_index.h"
#include "sablotron/document.h"
#include "sablotron/order.h"

namespace sablot {

struct Document::Caches {
    ChildIndex children;
    OrderIndex order;
    AttributeList attributes;
};

} // namespace sablot
