// Node handles in chunks, and the queue of released ones.
#include "sablotron/tree/node_pool.h"

#include <algorithm>

namespace sablot {

NodeHandle* NodePool::Take(xmlNode* node, Document* document) {
    NodeHandle* handle;
    if (released_ > QUARANTINE) {
        handle = oldest_;
        oldest_ = reinterpret_cast<NodeHandle*>(handle->place);
        --released_;
    } else {
        if (used_ == chunkSize_) AddChunk();
        handle = &chunks_.back()[used_++];
    }
    *handle = {node, document, 0, 0};
    return handle;
}

void NodePool::AddChunk() {
    const size_t size = std::clamp(capacity_, FIRST_CHUNK_SIZE, CHUNK_SIZE);
    chunks_.push_back(std::make_unique_for_overwrite<NodeHandle[]>(size));
    chunkSize_ = size;
    capacity_ += size;
    used_ = 0;
}

void NodePool::Release(NodeHandle* handle) {
    *handle = {nullptr, nullptr, 0, handle->holders};
    if (handle->holders == 0) Queue(handle);
}

void NodePool::EndHold(NodeHandle* handle) {
    if (--handle->holders == 0 && handle->node == nullptr) Queue(handle);
}

void NodePool::Queue(NodeHandle* handle) {
    if (released_ == 0)
        oldest_ = handle;
    else
        newest_->place = reinterpret_cast<uintptr_t>(handle);
    newest_ = handle;
    ++released_;
}

} // namespace sablot
