#pragma once
// The one system of the producer and its interfaces.

#include "core/Mutex.h"
#include "gentl/module/Cameras.h"
#include "gentl/module/ModulePort.h"

#include <map>
#include <memory>

namespace gentl {

class Device;
class Interface;

/// Thread-safe.
class System final : public Module {
public:
    static constexpr Kinds kKinds{Kind::System};
    System();
    ~System() override;

    gentl::Port* GetPort() override { return &m_Port; }

    /// Looks for controllers and cameras. True when the list of interfaces changed.
    bool UpdateInterfaces();
    size_t CountInterfaces();
    /// INVALID_INDEX.
    HostController InterfaceAt(size_t index);
    /// INVALID_ID.
    HostController FindInterface(const std::string& id);
    /// RESOURCE_IN_USE while it is open, or being closed.
    std::shared_ptr<Interface> OpenInterface(const std::string& id) TAVIX_EXCLUDES(TreeMutex());
    void Forget(const Interface& interface) noexcept TAVIX_EXCLUDES(TreeMutex());

    static constexpr std::uint64_t kListEvent = 0x9003;

    static void Info(TL_INFO_CMD command, Answer& answer);

protected:
    void DoLeave() noexcept override TAVIX_REQUIRES(TreeMutex());
    void DoEnd() noexcept override TAVIX_EXCLUDES(TreeMutex());

private:
    void BuildPort();

    ModulePort m_Port;
    Tavix::Mutex m_Mutex;
    std::vector<HostController> m_Interfaces TAVIX_GUARDED_BY(m_Mutex);
    std::uint64_t m_Selected TAVIX_GUARDED_BY(m_Mutex) = 0;
    std::map<std::string, std::shared_ptr<Interface>> m_Open TAVIX_GUARDED_BY(TreeMutex());
};

/// The path of the producer's own file.
std::string ProducerPath();

} // namespace gentl
