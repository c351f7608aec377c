#include "genapi/nodes/formula/FormulaNodes.h"

#include "genapi/nodes/base/Throw.h"

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
    return m_Value.Get(Host(), flags.ignoreCache, [&] { return m_Formula.Evaluate(*this, m_Scope, flags).integer; });
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
    return m_Value.Get(Host(), flags.ignoreCache, [&] { return m_Formula.Evaluate(*this, m_Scope, flags).real; });
}

void SwissKnifeNode::StoreReal(double, bool) {
    ThrowAccess(*this, "SetValue", "A formula cannot be written.");
}

} // namespace genapi
