#pragma once
// The base of all nodes with a value.

#include "genapi/nodes/base/Node.h"

#include <GenApi/ISelector.h>
#include <GenApi/IValue.h>

namespace genapi {

/// Text access and selectors. thread-safe
class ValueNode : public Node, virtual public GenApi::IValue, virtual public GenApi::ISelector {
public:
    using Node::Node;

    // GenApi::IValue
    GenApi::INode* GetNode() override { return this; }
    GenICam::gcstring ToString(bool Verify = false, bool IgnoreCache = false) override;
    void FromString(const GenICam::gcstring& ValueStr, bool Verify = true) override;
    bool IsValueCacheValid() const override;
    // GenApi::ISelector
    bool IsSelector() const override;
    void GetSelectedFeatures(GenApi::FeatureList_t& Features) const override;
    void GetSelectingFeatures(GenApi::FeatureList_t& Features) const override;
};

} // namespace genapi
