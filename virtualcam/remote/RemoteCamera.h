#pragma once
// A camera that waits for a host outside this process: whose it is, and what wakes that host's session.

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/Mutex.h"
#include "virtualcam/device/Device.h"
#include "virtualcam/remote/Channel.h"

namespace virtualcam {

/// Belongs to one session at a time. A session polls its two descriptors: WakeFd is readable when TakeReady has
/// something to tell and when the camera has been plugged in, EndFd when the session has to end, because the camera was
/// unplugged or closed. Thread-safe.
class RemoteCamera final : private DeviceListener {
public:
    /// Throws std::runtime_error when the description file cannot be read or the system has no descriptors or threads
    /// left.
    RemoteCamera(const CameraSettings& settings, unsigned index);
    ~RemoteCamera();
    RemoteCamera(const RemoteCamera&) = delete;
    RemoteCamera& operator=(const RemoteCamera&) = delete;

    Device& GetDevice() { return m_Device; }
    const CameraSettings& Settings() const { return m_Device.Settings(); }
    /// Position among the cameras that are served, from 0.
    unsigned Index() const { return m_Index; }

    /// True when the camera is plugged and has no session.
    bool IsFree() const;
    /// Begins a session with the camera as after a bus reset; false when it is not free.
    bool Take();
    void GiveBack();
    /// Ends the present session from outside, and refuses further ones.
    void Close();
    /// Waits for the camera to be plugged anew since `stay`, which becomes its present stay; false after Close. Begin
    /// with 0.
    bool AwaitStay(std::uint64_t& stay);

    int WakeFd() const { return m_Wake.Get(); }
    int EndFd() const { return m_End.Get(); }
    /// Endpoints that are worth asking again since the last call.
    EndpointSet TakeReady();

private:
    Device m_Device;
    const unsigned m_Index;
    const Descriptor m_Wake;
    const Descriptor m_End;
    mutable Tavix::Mutex m_Lock;
    std::condition_variable m_Changed;
    EndpointSet m_Ready TAVIX_GUARDED_BY(m_Lock);
    std::uint64_t m_Stays TAVIX_GUARDED_BY(m_Lock) = 0; // how often it was plugged
    bool m_Plugged TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_Taken TAVIX_GUARDED_BY(m_Lock) = false;
    bool m_Closed TAVIX_GUARDED_BY(m_Lock) = false;

    void EndpointReady(std::uint8_t endpoint) override;
    void Unplugged() override;
    void Plugged() override;
};

/// A camera that was taken; goes back by scope.
struct GiveBackCamera {
    void operator()(RemoteCamera* camera) const { camera->GiveBack(); }
};
using TakenCamera = std::unique_ptr<RemoteCamera, GiveBackCamera>;

using RemoteCameras = std::vector<std::unique_ptr<RemoteCamera>>;
/// One for each camera of the settings.
RemoteCameras MakeRemoteCameras(const BackendSettings& settings);

} // namespace virtualcam
