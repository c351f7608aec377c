#include "genapi/nodes/CategoryNode.h"

namespace genapi {

void CategoryNode::Bind(const BoundProperty& property) {
    if (property.record.id == PropertyId::pFeature && property.pTarget) m_Features.push_back(property.pTarget);
    ValueNode::Bind(property);
}

GenApi::EAccessMode CategoryNode::TargetAccess() {
    if (m_Features.empty()) return GenApi::RO;
    bool isImplemented = false;
    for (Node* const pFeature : m_Features) {
        const GenApi::EAccessMode mode = pFeature->Access();
        if (GenApi::IsAvailable(mode)) return GenApi::RO;
        isImplemented = isImplemented || mode == GenApi::NA;
    }
    return isImplemented ? GenApi::NA : GenApi::NI;
}

void CategoryNode::GetFeatures(GenApi::FeatureList_t& Features) const {
    Features.clear();
    for (Node* const pFeature : m_Features) {
        if (GenApi::IValue* const pValue = dynamic_cast<GenApi::IValue*>(pFeature)) Features.push_back(pValue);
    }
}

} // namespace genapi
