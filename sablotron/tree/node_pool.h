// Node handles: small records that outlive the nodes they stand for.
#pragma once

#include <libxml/tree.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace sablot {
class Document;
}

// What an SDOM_Node points to. A handle whose document is gone has no node; it stays readable, so a stale handle is
// recognised instead of followed.
struct SDOM_NodeRecord {
    xmlNode* node;              // also an xmlDoc, xmlAttr or xmlNs: their type field is at the same place
    sablot::Document* document; // null in an inert handle
    uintptr_t place;            // see IsDetached, Owner, Slot
    uint32_t holders;           // while there are any, the handle stands for no other node

    // A root of a tree of its own: a node, attribute or declaration that stands in no other node.
    bool IsDetached() const { return (place & 1) != 0; }
    // Its index in the document's list of such roots.
    size_t Slot() const { return place >> 1; }
    // Of a namespace declaration that stands on an element: that element. libxml2 has no such pointer.
    xmlNode* Owner() const { return IsDetached() ? nullptr : reinterpret_cast<xmlNode*>(place); }
    void SetSlot(size_t slot) { place = slot << 1 | 1; }
    void SetOwner(xmlNode* owner) { place = reinterpret_cast<uintptr_t>(owner); }
};

namespace sablot {

using NodeHandle = SDOM_NodeRecord;

// Hands out handles of one situation. A released handle that nobody holds is reused, after many others: loading in a
// loop needs no more memory.
class NodePool {
public:
    NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;

    NodeHandle* Take(xmlNode* node, Document* document);
    // The node is gone.
    void Release(NodeHandle* handle);
    static void Hold(NodeHandle* handle) { ++handle->holders; }
    void EndHold(NodeHandle* handle);
    // Handles there is memory for.
    size_t Capacity() const { return capacity_; }

private:
    void AddChunk();
    void Queue(NodeHandle* handle);

    static constexpr size_t FIRST_CHUNK_SIZE = 16; // handles: most situations serve a small document
    static constexpr size_t CHUNK_SIZE = 4096;
    static constexpr size_t QUARANTINE = 1 << 16; // released handles that stay inert

    std::vector<std::unique_ptr<NodeHandle[]>> chunks_;
    size_t capacity_ = 0;
    size_t chunkSize_ = 0;         // of the last chunk
    size_t used_ = 0;              // of the last chunk
    NodeHandle* oldest_ = nullptr; // released handles, linked through `place`, oldest first
    NodeHandle* newest_ = nullptr;
    size_t released_ = 0;
};

} // namespace sablot
