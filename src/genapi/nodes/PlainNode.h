#pragma once
// The node type Node.

#include "genapi/nodes/base/ValueNode.h"

namespace genapi {

/// A name to hang invalidators, events and callbacks on. thread-safe
class PlainNode final : public ValueNode {
public:
    using ValueNode::ValueNode;

protected:
    std::string DoReadText(ReadFlags) override { return std::string(Name()); }
};

} // namespace genapi
