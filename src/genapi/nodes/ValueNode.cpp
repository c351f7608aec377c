#include "genapi/nodes/ValueNode.h"

#include "genapi/nodes/Operation.h"

#include <algorithm>

namespace genapi {

namespace {

void AppendValue(GenApi::FeatureList_t& features, Node* pNode) {
    GenApi::IValue* const pValue = dynamic_cast<GenApi::IValue*>(pNode);
    const bool isNew = std::find(features.begin(), features.end(), pValue) == features.end();
    if (pValue && isNew) features.push_back(pValue);
}

// A selection may be written down at either end: what the node names itself comes first.
void AppendNamed(GenApi::FeatureList_t& features, const Node& node, PropertyId id) {
    for (const PropertyRecord& record : node.Properties()) {
        if (record.id == id) AppendValue(features, node.Host().NodeAt(record.target));
    }
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
    if (FindRecord(PropertyId::pSelected)) return true;
    const GenApi::AutoLock lock(Host().Lock());
    const DependencyGraph::LinkRange selected = Host().SelectedBy().DependentsOf(Index());
    return selected.begin() != selected.end();
}

void ValueNode::GetSelectedFeatures(GenApi::FeatureList_t& Features) const {
    Features.clear();
    AppendNamed(Features, *this, PropertyId::pSelected);
    const GenApi::AutoLock lock(Host().Lock());
    for (const DependencyGraph::Link link : Host().SelectedBy().DependentsOf(Index()))
        AppendValue(Features, Host().NodeAt(link.target));
}

void ValueNode::GetSelectingFeatures(GenApi::FeatureList_t& Features) const {
    Features.clear();
    AppendNamed(Features, *this, PropertyId::pSelecting);
    const GenApi::AutoLock lock(Host().Lock());
    for (const DependencyGraph::Link link : Host().Selecting().DependentsOf(Index()))
        AppendValue(Features, Host().NodeAt(link.target));
}

} // namespace genapi
