// What absolute paths find, see AbsolutePathsAsTexts. What the documents of a run hold does not change.
#pragma once

#include "sablotron/tree/xpath.h"

#include <string>
#include <unordered_map>
#include <unordered_set>

namespace sablot {

struct KnownValue {
    XPathPointer<xmlXPathObject> nodes;
    std::unordered_set<std::string> texts; // of all of them
    bool hasTexts = false;                 // they are not too large
};
using KnownValues = std::unordered_map<const xmlDoc*, std::unordered_map<std::string, KnownValue>>;

// The function AMONG_FUNCTION.
void IsAmong(xmlXPathParserContext* parser, int argumentCount);

} // namespace sablot
