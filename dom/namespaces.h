// Instance data of `XmlNamespaces`: a small map from prefix to URI.
#pragma once

#include "glue/host_types.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace kova {

struct NamespaceEntry {
    KOVAString prefix;
    KOVAString uri;
};

struct NamespacesData {
    static constexpr int32_t CAPACITY = 16;

    uint32_t unused;
    NamespaceEntry entries[CAPACITY];
    int32_t count; // the property `Count`: a program may write any value

    // The entries in use: as many as `count` says and as there are.
    std::span<const NamespaceEntry> InUse() const;
};

static_assert(sizeof(NamespacesData) == 136 && offsetof(NamespacesData, count) == 132);

NamespacesData* NamespacesOf(KOVAObject namespaces); // null for nil

} // namespace kova
