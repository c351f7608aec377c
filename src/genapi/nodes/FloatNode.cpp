#include "genapi/nodes/FloatNode.h"

namespace genapi {

void FloatNode::Bind(const BoundProperty& property) {
    m_Source.Bind(property);
    m_Limits.Bind(property);
    FloatFace::Bind(property);
}

std::string_view FloatNode::Missing() const {
    return m_Source.IsComplete() ? "" : "Value or pValue";
}

double FloatNode::DoRealMin() {
    if (m_Limits.min.IsGiven()) return m_Limits.min.Read();
    Node* const pTarget = m_Source.Target();
    return pTarget ? pTarget->RealMin() : FloatFace::DoRealMin();
}

double FloatNode::DoRealMax() {
    if (m_Limits.max.IsGiven()) return m_Limits.max.Read();
    Node* const pTarget = m_Source.Target();
    return pTarget ? pTarget->RealMax() : FloatFace::DoRealMax();
}

bool FloatNode::DoHasRealInc() {
    if (m_Limits.inc.IsGiven()) return true;
    Node* const pTarget = m_Source.Target();
    return pTarget && pTarget->HasRealInc();
}

double FloatNode::DoRealInc() {
    if (m_Limits.inc.IsGiven()) return m_Limits.inc.Read();
    Node* const pTarget = m_Source.Target();
    return pTarget ? pTarget->RealInc() : 0.0;
}

} // namespace genapi
