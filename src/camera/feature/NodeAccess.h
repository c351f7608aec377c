#pragma once
// A node of an open camera, for the length of one access.

#include "camera/feature/FeatureSource.h"

#include <GenApi/GenApi.h>

namespace Tavix::detail {

/// Holds the camera open. Bound to a thread.
class NodeAccess {
public:
    /// NotFound when the camera, which may be another one since, has no such node.
    NodeAccess(const FeatureSource& source, const std::string& name);

    GenApi::INode& Node() const { return *m_Node; }
    /// Null where the node is none of these.
    template<class Interface>
    Interface* As() const {
        return dynamic_cast<Interface*>(m_Node);
    }
    GenApi::EInterfaceType Type() const { return m_Node->GetPrincipalInterfaceType(); }

    /// Runs what reads; failures become Errors that name the feature.
    template<class Reader>
    auto Read(Reader reader) const -> decltype(reader()) {
        try {
            if (!GenApi::IsReadable(m_Node->GetAccessMode())) ThrowNoAccess("read");
            return reader();
        } catch (const GenICam::GenericException&) {
            Rethrow("cannot read ", {});
        }
    }
    /// Runs what writes `value`; failures become Errors that name feature, value and limits.
    template<class Writer>
    void Write(const std::string& value, Writer writer) const {
        try {
            if (!GenApi::IsWritable(m_Node->GetAccessMode())) ThrowNoAccess("set to " + value);
            writer();
        } catch (const GenICam::GenericException&) {
            Rethrow("cannot set ", " to " + value);
        }
    }
    /// Runs what asks for properties.
    template<class Getter>
    auto Ask(Getter getter) const -> decltype(getter()) {
        try {
            return getter();
        } catch (const GenICam::GenericException&) {
            Rethrow("cannot ask about ", {});
        }
    }
    [[noreturn]] void ThrowNoAccess(const std::string& wanted) const;
    /// "cannot set NAME to VALUE: REASON; it takes LIMITS"
    [[noreturn]] void ThrowBadValue(const std::string& value, const std::string& reason) const;
    [[noreturn]] void ThrowWrongType(const std::string& wanted) const;
    /// " (reason)"; empty when nothing is known.
    std::string WhyText() const;

private:
    [[noreturn]] void Rethrow(const std::string& what, const std::string& value) const;
    std::string Called() const { return m_Name + " of " + m_Device->Name(); }

    const std::shared_ptr<OpenDevice> m_Device;
    const std::string m_Name;
    GenApi::INode* const m_Node; // borrowed from the device
};

/// "16 .. 1280 step 16", "Mono8, Mono12"; empty where there are no limits.
std::string LimitText(GenApi::INode& node);

} // namespace Tavix::detail
