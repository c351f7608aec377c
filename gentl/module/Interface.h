#pragma once
// A USB host controller and the cameras on it.

#include "core/Mutex.h"
#include "gentl/module/Cameras.h"
#include "gentl/module/ModulePort.h"

#include <map>
#include <memory>

namespace gentl {

class Device;
class System;

/// Thread-safe.
class Interface final : public Module {
public:
    static constexpr Kinds kKinds{Kind::Interface};
    Interface(std::shared_ptr<System> system, HostController controller);
    ~Interface() override;

    gentl::Port* GetPort() override { return &m_Port; }

    const HostController& Controller() const { return m_Controller; }
    const std::shared_ptr<System>& Parent() const { return m_System; }
    void Info(INTERFACE_INFO_CMD command, Answer& answer) const { Info(m_Controller, command, answer); }
    static void Info(const HostController& controller, INTERFACE_INFO_CMD command, Answer& answer);

    /// True when the list changed.
    bool UpdateDevices();
    size_t CountDevices();
    FoundCamera DeviceAt(size_t index);              ///< INVALID_INDEX
    FoundCamera FindDevice(const std::string& id);   ///< INVALID_ID
    int32_t AccessStatus(const FoundCamera& camera); ///< asks a camera that is not open here
    std::string Version(const FoundCamera& camera);  ///< the same; NOT_AVAILABLE when it cannot be asked
    void DeviceInfo(const FoundCamera& camera, DEVICE_INFO_CMD command, Answer& answer);

    /// Other modules are opened and closed meanwhile, this one as well: then it is INVALID_HANDLE.
    std::shared_ptr<Device> OpenDevice(const std::string& id, DEVICE_ACCESS_FLAGS flags) TAVIX_EXCLUDES(TreeMutex());
    /// One that the camera has been opened for. INVALID_HANDLE when the interface was closed meanwhile.
    void Admit(const std::shared_ptr<Device>& device) TAVIX_REQUIRES(TreeMutex());
    void Forget(const Device& device) noexcept TAVIX_EXCLUDES(TreeMutex());

    static constexpr std::uint64_t kListEvent = 0x9002;

    /// A camera on this interface came or left.
    void NoteChange() noexcept;

protected:
    void DoLeave() noexcept override TAVIX_REQUIRES(TreeMutex());
    void DoEnd() noexcept override TAVIX_EXCLUDES(TreeMutex());

private:
    void BuildPort();
    FoundCamera Selected();
    /// Null when this process does not have it open.
    std::shared_ptr<Device> OpenHere(const FoundCamera& camera);

    const std::shared_ptr<System> m_System;
    const HostController m_Controller;
    ModulePort m_Port;
    Tavix::Mutex m_Mutex;
    std::vector<FoundCamera> m_Devices TAVIX_GUARDED_BY(m_Mutex);
    std::uint64_t m_Selected TAVIX_GUARDED_BY(m_Mutex) = 0;
    std::map<std::string, std::shared_ptr<Device>> m_Open TAVIX_GUARDED_BY(TreeMutex()); // by path
    Tavix::Mutex m_OpenHereMutex;
    std::map<std::string, std::weak_ptr<Device>>
        m_OpenHere TAVIX_GUARDED_BY(m_OpenHereMutex); // the same for those without it
};

} // namespace gentl
