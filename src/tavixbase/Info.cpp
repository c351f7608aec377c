#include "tavix/Info.h"

#include <algorithm>

namespace Tavix {

namespace {

// They tell a transport layer how to reach a device and say nothing about the device itself.
bool IsHidden(const gcstring& name) {
    return name == "_BornFree" || name == "_sap";
}

} // namespace

const char* const CInfoBase::PropertyNotAvailable = "N/A";

int CInfoBase::GetPropertyNames(gcstring_vector& names) const {
    names.clear();
    for (const auto& property : m_Properties)
        names.push_back(property.first);
    return static_cast<int>(names.size());
}

bool CInfoBase::GetPropertyAvailable(const gcstring& name) const {
    return m_Properties.count(name) != 0;
}

bool CInfoBase::GetPropertyValue(const gcstring& name, gcstring& value) const {
    const auto property = m_Properties.find(name);
    const bool isSet = property != m_Properties.end();
    value = isSet ? property->second : gcstring(PropertyNotAvailable);
    return isSet;
}

CInfoBase& CInfoBase::SetPropertyValue(const gcstring& name, const gcstring& value) {
    m_Properties[name] = value;
    m_UserProvided = true;
    m_Modified = true;
    return *this;
}

bool CInfoBase::RemoveProperty(const gcstring& name) {
    if (m_Properties.erase(name) == 0) return false;
    m_UserProvided = true;
    m_Modified = true;
    return true;
}

bool CInfoBase::IsSubset(const CInfoBase& subset) const {
    return std::all_of(subset.m_Properties.begin(), subset.m_Properties.end(), [this](const auto& wanted) {
        if (IsHidden(wanted.first)) return true;
        const auto property = m_Properties.find(wanted.first);
        return property != m_Properties.end() && property->second == wanted.second;
    });
}

gcstring CInfoBase::Get(const char* name) const {
    gcstring value;
    GetPropertyValue(name, value);
    return value;
}

} // namespace Tavix
