#pragma once
// An open camera: the module, its streams, and the port that leads to the camera itself.

#include "gentl/module/CameraTurns.h"
#include "gentl/module/Cameras.h"
#include "gentl/module/ModulePort.h"

#include "core/Mutex.h"
#include "vexlo/VxCallback.h"
#include "vexlo/VxDevice.h"

#include <atomic>
#include <memory>

namespace gentl {

class Interface;
class RemotePort;
class Stream;

/// Thread-safe.
class Device final : public Module {
public:
    static constexpr Kinds kKinds{Kind::Device};
    /// RESOURCE_IN_USE when this process has the camera, or is just opening it.
    Device(std::shared_ptr<Interface> interface, FoundCamera camera, DEVICE_ACCESS_FLAGS flags);
    ~Device() override;

    gentl::Port* GetPort() override { return &m_Port; }
    const std::shared_ptr<Interface>& Parent() const { return m_Interface; }
    const std::string& PathInUse() const { return m_Path; }
    const FoundCamera& Camera() const { return m_Camera; }
    const std::shared_ptr<RemotePort>& Remote() const { return m_Remote; }
    bool IsReadOnly() const { return m_IsReadOnly; }
    /// ACCESS_DENIED when it was opened to read only; for whatever writes to the camera's registers.
    void CheckWritable() const;
    int32_t AccessStatus() const;
    uint32_t CountStreams() const { return m_HasStream ? 1 : 0; }
    std::string Version(); ///< the camera tells it once; throws Failure
    void Info(DEVICE_INFO_CMD command, Answer& answer);
    /// What the user calls the camera has been changed, or may have been.
    void NoteUserName(const std::string& name);
    vexlo::CVxDevice& Vx() const { return *m_Device; }
    /// The camera left; nothing that asks it will succeed any more.
    bool IsLost() const { return m_IsLost; }

    /// RESOURCE_IN_USE while it is open, or being opened or closed. INVALID_HANDLE when the device was closed
    /// meanwhile.
    std::shared_ptr<Stream> OpenStream(const std::string& id) TAVIX_EXCLUDES(TreeMutex());
    void Forget(const Stream& stream) noexcept;
    std::shared_ptr<EventQueue> MakeEvent(EVENT_TYPE type) override;

    static constexpr const char* kStreamId = "Stream0";
    static constexpr std::uint64_t kLostEvent = 0x9001;

protected:
    /// Opens the camera, which may take seconds, before anybody else knows the device. ACCESS_DENIED when it is open
    /// elsewhere or not permitted.
    void DoOpen() override TAVIX_EXCLUDES(TreeMutex());
    /// Then it joins the tree. INVALID_HANDLE when the interface was closed meanwhile.
    void DoBegin() override TAVIX_REQUIRES(TreeMutex());
    void DoLeave() noexcept override TAVIX_REQUIRES(TreeMutex());
    void DoEnd() noexcept override TAVIX_EXCLUDES(TreeMutex());

private:
    struct Destroy {
        void operator()(vexlo::CVxDevice* device) const { vexlo::CVxDevice::DestroyDevice(device); }
    };

    void BuildPort();
    void WatchRemoval();
    static void OnRemoval(const vexlo::VxCallbackData* data);
    void NoteRemoval() noexcept;
    /// On a thread of the USB access library.
    void NoteEndOfEvents(vexlo::VxStatus reason) noexcept;
    std::shared_ptr<Stream> OpenedStream();
    /// With the name that the user has given it since it was found.
    FoundCamera AsNamedNow();

    const std::shared_ptr<Interface> m_Interface;
    const FoundCamera m_Camera;
    const std::string m_Path;
    const bool m_IsReadOnly;
    Reservation m_Reservation; // ends after the camera was closed
    ModulePort m_Port;
    std::unique_ptr<vexlo::CVxDevice, Destroy> m_Device; // constant after construction
    bool m_HasStream = false;                            // constant once it was opened
    std::shared_ptr<RemotePort> m_Remote;                // constant once it has its handle
    std::vector<unsigned long> m_Callbacks;              // for who opens and ends it
    std::atomic<bool> m_IsLost{false};
    Tavix::Mutex m_ToldMutex;
    std::string m_Version TAVIX_GUARDED_BY(m_ToldMutex);  // empty until the camera has told it
    std::string m_UserName TAVIX_GUARDED_BY(m_ToldMutex); // the one it was found with, until there is another
    Tavix::Mutex m_StreamMutex;
    std::shared_ptr<Stream> m_Stream TAVIX_GUARDED_BY(m_StreamMutex); // null while closed
};

} // namespace gentl
