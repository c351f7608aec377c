#include "camera/feature/NodeAccess.h"

#include "camera/Failure.h"
#include "core/Printable.h"

#include <GenApi/Why.h>

#include <cmath>
#include <cstdio>
#include <limits>

namespace Tavix::detail {
namespace {

/// Without what a computation leaves behind the twelfth digit.
std::string Number(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.12g", value);
    return text;
}

std::string Number(std::int64_t value) {
    return std::to_string(value);
}

bool IsLimit(std::int64_t value) {
    return value != std::numeric_limits<std::int64_t>::min() && value != std::numeric_limits<std::int64_t>::max();
}

/// The ends of the ranges of float and double are no limits.
bool IsLimit(double value) {
    return std::isfinite(value) && std::fabs(value) < 0.99 * static_cast<double>(std::numeric_limits<float>::max());
}

template<class T>
std::string RangeText(T low, T high) {
    if (IsLimit(low) && IsLimit(high)) return Number(low) + " .. " + Number(high);
    if (IsLimit(low)) return Number(low) + " or more";
    return IsLimit(high) ? Number(high) + " or less" : std::string();
}

std::string EntryText(GenApi::IEnumeration& enumeration) {
    GenApi::StringList_t names;
    enumeration.GetSymbolics(names);
    std::string text;
    for (const auto& name : names)
        text += (text.empty() ? "" : ", ") + Text(name);
    return text;
}

} // namespace

std::string LimitText(GenApi::INode& node) try {
    if (auto* enumeration = dynamic_cast<GenApi::IEnumeration*>(&node)) return EntryText(*enumeration);
    if (auto* integer = dynamic_cast<GenApi::IInteger*>(&node)) {
        const std::string range = RangeText(integer->GetMin(), integer->GetMax());
        const bool hasStep = integer->GetIncMode() == GenApi::fixedIncrement && integer->GetInc() > 1;
        return hasStep ? range + " step " + std::to_string(integer->GetInc()) : range;
    }
    if (auto* number = dynamic_cast<GenApi::IFloat*>(&node)) {
        const std::string range = RangeText(number->GetMin(), number->GetMax());
        return number->HasInc() ? range + " step " + Number(number->GetInc()) : range;
    }
    if (dynamic_cast<GenApi::IBoolean*>(&node)) return "true, false";
    return {};
} catch (const GenICam::GenericException&) {
    return {}; // the limits are told beside a failure, which is the one to report
}

NodeAccess::NodeAccess(const FeatureSource& source, const std::string& name)
    : m_Device(source.Hold()), m_Name(name), m_Node(m_Device->Nodes().GetNode(GenICam::gcstring(name))) {
    if (!m_Node) throw NotFound(m_Device->Name() + " has no feature '" + Printable(name) + "'", name);
}

std::string NodeAccess::WhyText() const {
    const std::string reason = Text(GenApi::ExplainAccess(m_Node));
    return reason.empty() ? "" : " (" + reason + ")";
}

void NodeAccess::ThrowNoAccess(const std::string& wanted) const {
    if (m_Device->HasGone()) throw Removed(m_Device->Name() + " is unplugged", m_Name);
    throw AccessError(Called() + " cannot be " + wanted + " now" + WhyText(), m_Name);
}

void NodeAccess::ThrowBadValue(const std::string& value, const std::string& reason) const {
    const std::string limits = LimitText(*m_Node);
    throw ValueError("cannot set " + Called() + " to " + value + ": " + reason +
                         (limits.empty() ? "" : "; it takes " + limits),
                     m_Name);
}

void NodeAccess::ThrowWrongType(const std::string& wanted) const {
    throw ValueError(Called() + " is no " + wanted, m_Name);
}

void NodeAccess::Rethrow(const std::string& what, const std::string& value) const {
    if (m_Device->HasGone()) throw Removed(m_Device->Name() + " is unplugged", m_Name);
    const std::string limits = value.empty() ? "" : LimitText(*m_Node);
    RethrowAsError(what + Called() + value + ": ", m_Name, limits.empty() ? "" : "; it takes " + limits);
}

} // namespace Tavix::detail
