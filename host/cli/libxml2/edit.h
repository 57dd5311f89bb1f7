// Changes to a document.
#pragma once

#include "host/cli/libxml2/query.h"

#include <string>

namespace host::xml {

// One change to every node that a query finds. All return how many nodes were changed.
struct Editor {
    _xmlDoc* document;
    const Namespaces& namespaces;

    // Gives nodes a text: an attribute its value, an element its only content. "PATH/@NAME" adds the attribute to the
    // elements that lack it.
    size_t Set(const std::string& query, const std::string& value) const;
    size_t Delete(const std::string& query) const;
    // Adds markup at the end of elements. Throws TextError when it cannot be read.
    size_t Append(const std::string& query, const std::string& markup) const;
};

} // namespace host::xml
