#include "genapi/nodes/FormulaNodes.h"

#include "genapi/nodes/Throw.h"

namespace genapi {

void IntSwissKnifeNode::Bind(const BoundProperty& property) {
    if (property.record.id == PropertyId::Formula) m_Formula.SetText(property.record.value);
    m_Scope.Bind(property);
    IntegerFace::Bind(property);
}

GenApi::EAccessMode IntSwissKnifeNode::TargetAccess() {
    if (!m_Formula.CompileError(m_Scope).empty()) return GenApi::NI;
    return m_Formula.AreVariablesReadable(m_Scope) ? GenApi::RO : GenApi::NA;
}

int64_t IntSwissKnifeNode::RawInteger(ReadFlags flags) {
    if (!flags.ignoreCache && m_Generation == Host().Generation()) return m_Value;
    const uint32_t generation = Host().Generation();
    m_Value = m_Formula.Evaluate(*this, m_Scope, flags).integer;
    m_Generation = generation;
    return m_Value;
}

void IntSwissKnifeNode::StoreInteger(int64_t, bool) {
    ThrowAccess(*this, "SetValue", "A formula cannot be written.");
}

void SwissKnifeNode::Bind(const BoundProperty& property) {
    if (property.record.id == PropertyId::Formula) m_Formula.SetText(property.record.value);
    m_Scope.Bind(property);
    FloatFace::Bind(property);
}

GenApi::EAccessMode SwissKnifeNode::TargetAccess() {
    if (!m_Formula.CompileError(m_Scope).empty()) return GenApi::NI;
    return m_Formula.AreVariablesReadable(m_Scope) ? GenApi::RO : GenApi::NA;
}

double SwissKnifeNode::RawReal(ReadFlags flags) {
    if (!flags.ignoreCache && m_Generation == Host().Generation()) return m_Value;
    const uint32_t generation = Host().Generation();
    m_Value = m_Formula.Evaluate(*this, m_Scope, flags).real;
    m_Generation = generation;
    return m_Value;
}

void SwissKnifeNode::StoreReal(double, bool) {
    ThrowAccess(*this, "SetValue", "A formula cannot be written.");
}

} // namespace genapi
