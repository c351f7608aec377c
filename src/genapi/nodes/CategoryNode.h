#pragma once
// The node type Category.

#include "genapi/nodes/base/ValueNode.h"

#include <GenApi/ICategory.h>

#include <vector>

namespace genapi {

/// A list of features, as available as the best of them. thread-safe
class CategoryNode final : public ValueNode, virtual public GenApi::ICategory {
public:
    using ValueNode::ValueNode;

    void Bind(const BoundProperty& property) override;
    GenApi::EAccessMode TargetAccess() override;

    // GenApi::ICategory
    void GetFeatures(GenApi::FeatureList_t& Features) const override;

protected:
    std::string DoReadText(ReadFlags) override { return std::string(Name()); }

private:
    static GenApi::EAccessMode AccessOf(Node& feature);

    std::vector<Node*> m_Features;
};

} // namespace genapi
