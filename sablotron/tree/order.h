// Document order.
#pragma once

#include "sablotron/tree/node_pool.h"

#include <vector>

namespace sablot {

// Compares by walking from both nodes to where their paths meet. When that has cost much since the last edit, as with
// wide or deep trees in loops, the document order of the whole tree is indexed once.
class OrderIndex {
public:
    // -1, 0 or 1 for two nodes of the document.
    int Compare(const NodeHandle* left, const NodeHandle* right);

private:
    struct Entry {
        const xmlNode* node;
        uint32_t position;
    };

    int CompareNodes(const Document& document, const xmlNode* left, const xmlNode* right);
    void Build(const Document& document);
    const Entry* Find(const xmlNode* node) const;

    std::vector<Entry> index_; // by address
    unsigned editCount_ = 0;   // that the fields here belong to
    size_t steps_ = 0;         // walked since then
    size_t lastSize_ = 0;      // nodes that were indexed last: indexing again must be worth it
};

} // namespace sablot
