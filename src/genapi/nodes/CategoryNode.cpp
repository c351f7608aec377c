#include "genapi/nodes/CategoryNode.h"

#include <Base/GCException.h>

namespace genapi {

void CategoryNode::Bind(const BoundProperty& property) {
    if (property.record.id == PropertyId::pFeature && property.pTarget) m_Features.push_back(property.pTarget);
    ValueNode::Bind(property);
}

// A feature whose mode cannot be told is there, and says so when it is asked itself; the others are not to suffer.
GenApi::EAccessMode CategoryNode::AccessOf(Node& feature) {
    try {
        return feature.Access();
    } catch (const GenICam::GenericException&) {
        return GenApi::NA;
    }
}

GenApi::EAccessMode CategoryNode::TargetAccess() {
    if (m_Features.empty()) return GenApi::RO;
    bool isImplemented = false;
    for (Node* const pFeature : m_Features) {
        const GenApi::EAccessMode mode = AccessOf(*pFeature);
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
