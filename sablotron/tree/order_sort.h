// Sorting nodes into document order where nothing is indexed.
#pragma once

#include "sablotron/tree/tree.h"

#include <vector>

namespace sablot {

// -1, 0 or 1: the document order of two nodes of one tree, found by walking up from both and along siblings.
int CompareInTree(const xmlNode* left, const xmlNode* right);

// Sorts nodes of the subtree of `scope` into document order and drops duplicates: a few by comparing, many by walking
// through the subtree.
void SortInTree(std::vector<xmlNode*>& nodes, xmlNode* scope);

} // namespace sablot
