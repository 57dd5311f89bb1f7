// Names and values of nodes as the interface shows them.
#pragma once

#include "sablotron/tree/tree.h"

#include <string>
#include <string_view>

namespace sablot {

struct NodeName {
    std::string_view uri;
    std::string_view prefix;
    std::string_view localName; // the whole name of what has no expanded name

    std::string QualifiedName() const;
};

// Elements, attributes and namespace declarations have one.
bool HasExpandedName(const xmlNode* node);
// Valid as long as the node is not edited.
NodeName NameOf(const xmlNode* node);

} // namespace sablot
