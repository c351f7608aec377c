#include "genapi/nodes/IntegerNode.h"

#include <limits>

namespace genapi {

namespace {

constexpr int64_t kMin = std::numeric_limits<int64_t>::min();
constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

} // namespace

void IntegerNode::Bind(const BoundProperty& property) {
    m_Source.Bind(property);
    m_Limits.Bind(property);
    IntegerFace::Bind(property);
}

std::string_view IntegerNode::Missing() const {
    return m_Source.IsComplete() ? "" : "Value or pValue";
}

int64_t IntegerNode::DoIntegerMin() {
    if (m_Limits.min.IsGiven()) return m_Limits.min.Read();
    if (Node* const pTarget = m_Source.Target()) return pTarget->IntegerMin();
    const GenApi::ERepresentation representation = Representation();
    return representation == GenApi::IPV4Address || representation == GenApi::MACAddress ? 0 : kMin;
}

int64_t IntegerNode::DoIntegerMax() {
    if (m_Limits.max.IsGiven()) return m_Limits.max.Read();
    if (Node* const pTarget = m_Source.Target()) return pTarget->IntegerMax();
    const GenApi::ERepresentation representation = Representation();
    if (representation == GenApi::IPV4Address) return 0xFFFFFFFF;
    return representation == GenApi::MACAddress ? 0xFFFFFFFFFFFF : kMax;
}

int64_t IntegerNode::DoIntegerInc() {
    if (m_Limits.inc.IsGiven()) return m_Limits.inc.Read();
    Node* const pTarget = m_Source.Target();
    return pTarget ? pTarget->IntegerInc() : 1;
}

} // namespace genapi
