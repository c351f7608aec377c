#pragma once
// The node types that only cameras of an older bus have. They are found by name and never implemented.

#include "genapi/nodes/IntegerFace.h"
#include "genapi/nodes/base/Throw.h"
#include "genapi/nodes/register/RegisterNode.h"
#include "genapi/nodes/register/StringNodes.h"

namespace genapi {

/// IntKey, AdvFeatureLock and SmartFeature. thread-safe
class ObsoleteIntegerNode final : public IntegerFace<ValueNode> {
public:
    using IntegerFace::IntegerFace;
    using IntegerFace::operator=;
    GenApi::EAccessMode TargetAccess() override { return GenApi::NI; }

protected:
    int64_t RawInteger(ReadFlags) override { ThrowAccess(*this, "GetValue", "The node is not implemented."); }
    void StoreInteger(int64_t, bool) override { ThrowAccess(*this, "SetValue", "The node is not implemented."); }
};

// TextDesc. thread-safe
class ObsoleteStringNode final : public StringFace<ValueNode> {
public:
    using StringFace::StringFace;
    using StringFace::operator=;
    GenApi::EAccessMode TargetAccess() override { return GenApi::NI; }
};

// ConfRom. thread-safe
class ObsoleteRegisterNode final : public RegisterNode {
public:
    using RegisterNode::RegisterNode;
    std::string_view Missing() const override { return {}; }
    GenApi::EAccessMode TargetAccess() override { return GenApi::NI; }
};

} // namespace genapi
