#include "genapi/nodes/access/AccessRule.h"

#include "genapi/description/Lexical.h"
#include "genapi/nodes/base/Node.h"

namespace genapi {

void AccessRule::Bind(const BoundProperty& property) {
    switch (property.record.id) {
    case PropertyId::pIsImplemented:
        m_pIsImplemented = property.pTarget;
        break;
    case PropertyId::pIsAvailable:
        m_pIsAvailable = property.pTarget;
        break;
    case PropertyId::pIsLocked:
        m_pIsLocked = property.pTarget;
        break;
    case PropertyId::ImposedAccessMode:
        m_Imposed.SetOwn(
            ParseKeywordAs<GenApi::EAccessMode>(Keyword::AccessMode, property.record.value).value_or(GenApi::RW));
        break;
    default:
        break;
    }
}

bool AccessRule::IsImplemented() const {
    return !m_pIsImplemented || m_pIsImplemented->ReadTruth();
}

GenApi::EAccessMode AccessRule::Own() const {
    if (!IsImplemented()) return GenApi::NI;
    if (m_pIsAvailable && !m_pIsAvailable->ReadTruth()) return GenApi::NA;
    if (m_pIsLocked && m_pIsLocked->ReadTruth()) return GenApi::RO;
    return GenApi::RW;
}

} // namespace genapi
