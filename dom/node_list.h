// The results of queries.
#pragma once

#include "dom/xml.h"
#include "glue/host_types.h"
#include "sablotron/sdom.h"

#include <cstddef>
#include <cstdint>

namespace kova {

// Instance data of `XmlNodeList`.
struct NodeListData {
    uint32_t unused;
    KOVAObject xml; // one reference; nil in a list that a program made itself, which is empty
    SDOM_NodeList list;
    int32_t lastError;
};

static_assert(sizeof(NodeListData) == 16 && offsetof(NodeListData, lastError) == 12);

// Makes a list object, which owns the library's list. The caller owns the object. Nil for no list.
KOVAObject WrapNodeList(KOVAObject xml, SDOM_NodeList list);

} // namespace kova
