#pragma once
// The node type Node, and the types that only cameras of an older bus have.

#include "genapi/nodes/ValueNode.h"

namespace genapi {

// A name to hang invalidators, events and callbacks on. thread-safe
class PlainNode final : public ValueNode {
public:
    using ValueNode::ValueNode;

protected:
    std::string DoReadText(ReadFlags) override { return std::string(Name()); }
};

// Known by name and never implemented. thread-safe
class ObsoleteNode final : public ValueNode {
public:
    using ValueNode::ValueNode;
    GenApi::EAccessMode TargetAccess() override { return GenApi::NI; }
};

} // namespace genapi
