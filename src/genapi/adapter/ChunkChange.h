#pragma once
// What happens to several chunk ports as one change of their node map.

#include "genapi/nodes/base/Node.h"
#include "genapi/nodes/host/Operation.h"

#include <GenApi/ChunkPort.h>

#include <exception>
#include <optional>
#include <vector>

namespace genapi {

/// Runs the step with the map locked. Callbacks wait for its end and are called once each, also when it throws; nodes
/// of a foreign engine are told port by port.
template<class Step>
void ChangeChunks(const std::vector<GenApi::CChunkPort*>& ports, Step step) {
    std::optional<ChangeFrame> frame;
    Node* const pNode = ports.empty() ? nullptr : dynamic_cast<Node*>(ports.front()->GetNode());
    if (pNode) {
        frame.emplace(pNode->Host());
        frame->GatherAll();
    }
    std::exception_ptr failure;
    try {
        step();
    } catch (...) {
        failure = std::current_exception();
    }
    if (frame) frame->Finish();
    if (failure) std::rethrow_exception(failure);
}

} // namespace genapi
