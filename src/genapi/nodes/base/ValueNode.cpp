#include "genapi/nodes/base/ValueNode.h"

#include "genapi/nodes/base/Links.h"
#include "genapi/nodes/host/Operation.h"

#include <unordered_set>

namespace genapi {

namespace {

// A selection may be written down at either end: by the property of the node itself, which comes first, or by nodes
// that name it. Each feature is listed once.
void List(GenApi::FeatureList_t& features, const Node& node, PropertyId id, DependencyGraph::LinkRange named) {
    std::unordered_set<const GenApi::IValue*> isIn;
    const auto append = [&](NodeIndex index) {
        GenApi::IValue* const pValue = dynamic_cast<GenApi::IValue*>(node.Host().NodeAt(index));
        if (pValue && isIn.insert(pValue).second) features.push_back(pValue);
    };
    features.clear();
    for (const PropertyRecord& record : node.Properties()) {
        if (record.id == id) append(record.target);
    }
    for (const DependencyGraph::Link link : named)
        append(link.target);
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
    return IsCacheValid(*const_cast<ValueNode*>(this));
}

bool ValueNode::IsSelector() const {
    if (FindRecord(PropertyId::pSelected)) return true;
    const GenApi::AutoLock lock(Host().Lock());
    const DependencyGraph::LinkRange selected = Host().Named().SelectedBy().DependentsOf(Index());
    return selected.begin() != selected.end();
}

void ValueNode::GetSelectedFeatures(GenApi::FeatureList_t& Features) const {
    const GenApi::AutoLock lock(Host().Lock());
    List(Features, *this, PropertyId::pSelected, Host().Named().SelectedBy().DependentsOf(Index()));
}

void ValueNode::GetSelectingFeatures(GenApi::FeatureList_t& Features) const {
    const GenApi::AutoLock lock(Host().Lock());
    List(Features, *this, PropertyId::pSelecting, Host().Named().Selecting().DependentsOf(Index()));
}

} // namespace genapi
