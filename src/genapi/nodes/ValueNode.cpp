#include "genapi/nodes/ValueNode.h"

#include "genapi/nodes/Operation.h"

namespace genapi {

namespace {

void AppendValue(GenApi::FeatureList_t& features, Node* pNode) {
    if (GenApi::IValue* const pValue = dynamic_cast<GenApi::IValue*>(pNode)) features.push_back(pValue);
}

} // namespace

GenICam::gcstring ValueNode::ToString(bool Verify, bool IgnoreCache) {
    const GenApi::AutoLock lock(Host().Lock());
    return GenICam::gcstring(ReadText({Verify, IgnoreCache}));
}

void ValueNode::FromString(const GenICam::gcstring& ValueStr, bool Verify) {
    RunChange(*this, Verify, [&] { WriteText(ValueStr.view(), Verify); });
}

bool ValueNode::IsValueCacheValid() const {
    const GenApi::AutoLock lock(Host().Lock());
    return const_cast<ValueNode*>(this)->IsCacheValid();
}

bool ValueNode::IsSelector() const {
    return FindRecord(PropertyId::pSelected) != nullptr;
}

void ValueNode::GetSelectedFeatures(GenApi::FeatureList_t& Features) const {
    Features.clear();
    for (const PropertyRecord& record : Properties()) {
        if (record.id == PropertyId::pSelected) AppendValue(Features, Host().NodeAt(record.target));
    }
}

void ValueNode::GetSelectingFeatures(GenApi::FeatureList_t& Features) const {
    Features.clear();
    const GenApi::AutoLock lock(Host().Lock());
    for (const DependencyGraph::Link link : Host().Selecting().DependentsOf(Index()))
        AppendValue(Features, Host().NodeAt(link.target));
}

} // namespace genapi
