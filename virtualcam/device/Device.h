#pragma once
// The virtual camera as a USB device, free of any transport.

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "core/Mutex.h"
#include "virtualcam/device/DeviceListener.h"
#include "virtualcam/device/DeviceThread.h"
#include "virtualcam/device/Presence.h"
#include "virtualcam/device/ScriptedFaults.h"
#include "virtualcam/device/channel/DeviceStream.h"
#include "virtualcam/device/endpoint/Descriptors.h"
#include "virtualcam/device/endpoint/EndpointMap.h"
#include "virtualcam/device/endpoint/EndpointStates.h"
#include "virtualcam/device/endpoint/EndpointZero.h"
#include "virtualcam/device/endpoint/Pipe.h"
#include "virtualcam/firmware/Firmware.h"
#include "virtualcam/settings/BackendSettings.h"

namespace virtualcam {

/// One device. An adapter carries host transfers to it:
///  - Out once for each OUT transfer, with all its bytes; NotYet means: nothing was taken, offer it again later;
///  - In for the oldest IN transfer of an endpoint, with the room that is left in it, again and again until the answer
///    is not NotYet. After NotYet the listener's EndpointReady tells when it is worth asking again; of an acknowledge
///    that is there at the end of Out it does not tell, so ask after each Out.
/// Bytes of images are made in the buffer handed in. One In at a time for each endpoint.
///
/// It holds the lock and ties its parts:
///
///   Control --> EndpointZero ----.
///   Out, In --> EndpointStates --+--> Firmware --> DeviceStream, for each stream
///   RunTimers --> Presence ------'        ^
///      ^                            ScriptedFaults
///   DeviceThread --> listener
///
/// Thread-safe.
class Device final : private CameraHost, private RequestHost {
public:
    /// Throws std::runtime_error when the settings' description file cannot be read.
    explicit Device(const CameraSettings& settings);
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    const CameraSettings& Settings() const { return m_Settings; }
    const Descriptors& GetDescriptors() const { return m_Descriptors; }
    /// As DeviceThread::SetListener.
    void SetListener(DeviceListener* listener) { m_Thread.SetListener(listener); }

    // --- transfers
    /// Control transfer on endpoint 0; `data` has setup.length bytes.
    PipeAnswer Control(const usb::ControlSetup& setup, std::uint8_t* data);
    PipeAnswer Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length);
    PipeAnswer In(std::uint8_t endpoint, std::uint8_t* buffer, std::size_t room);
    /// The endpoints of all these functions and of the listener are those of the bus.
    const EndpointMap& Endpoints() const { return m_Endpoints; }
    /// Has EndpointReady called from the device's thread, so that the adapter can serve the endpoint there.
    void RequestService(std::uint8_t endpoint);
    void SetHalt(std::uint8_t endpoint);
    void ClearHalt(std::uint8_t endpoint);
    bool IsHalted(std::uint8_t endpoint) const;
    /// Port reset: interfaces go back to their defaults, features stay.
    void BusReset();

    // --- plug
    bool IsPlugged() const;
    /// Changes with every plugging and unplugging; odd while plugged.
    std::uint64_t Generation() const { return m_Generation; }
    void Plug();
    void Unplug();

    // --- looking and reaching inside, for tests
    Status ReadRegister(std::uint64_t address, std::uint8_t* to, std::size_t length);
    Status WriteRegister(std::uint64_t address, const std::uint8_t* from, std::size_t length);
    /// Raises an event as the camera does; without effect while the channel is disabled.
    void FireEvent(std::uint16_t id, const Bytes& data = {});
    /// Sends any bytes as one event message.
    void FireRawEvent(const Bytes& message);
    void SetFaults(const FaultScript& faults);
    /// True when the open, or claim, is to be refused; counts down the script.
    bool RefusesOpen();
    bool RefusesClaim();
    /// Sets the camera's clock forward or, below 0, back; without effect while it is unplugged.
    void JumpClock(std::chrono::nanoseconds by);
    /// Sets the level outside of an input line (0 or 1).
    void SetInput(std::uint32_t line, bool high);
    std::string UserName() const;
    /// Frames that the host was too slow for, since the camera was plugged.
    std::uint64_t LostFrames() const;
    std::uint64_t Commands() const;

private:
    const CameraSettings m_Settings;
    const Descriptors m_Descriptors;
    const std::shared_ptr<const Manifest> m_Manifest;
    const EndpointMap m_Endpoints;

    std::atomic<std::uint64_t> m_Generation{0};

    // Lock order: m_Lock, then that of a stream or one of m_Thread.
    mutable Tavix::Mutex m_Lock;
    ScriptedFaults m_Faults TAVIX_GUARDED_BY(m_Lock);
    Persistent m_Persistent TAVIX_GUARDED_BY(m_Lock);
    std::unique_ptr<Firmware> m_Camera TAVIX_GUARDED_BY(m_Lock); // null while unplugged
    EndpointStates m_States TAVIX_GUARDED_BY(m_Lock);
    EndpointZero m_Zero TAVIX_GUARDED_BY(m_Lock);
    Presence m_Presence TAVIX_GUARDED_BY(m_Lock);
    bool m_OutRefused TAVIX_GUARDED_BY(m_Lock) = false;

    std::deque<DeviceStream> m_Streams; // constant after construction
    DeviceThread m_Thread;

    // CameraHost: the camera calls within a call of this device
    Status CheckStreamEnable(unsigned stream) override TAVIX_REQUIRES(m_Lock);
    void StreamEnabled(unsigned stream, bool on) override TAVIX_REQUIRES(m_Lock);
    bool IsStreamHalted(unsigned stream) const override TAVIX_REQUIRES(m_Lock) {
        return m_States.IsHalted(StreamEndpoint(stream));
    }
    Bytes StreamFigures(unsigned stream) const override { return m_Streams[stream].Figures(); }
    bool IsEventHalted() const override TAVIX_REQUIRES(m_Lock) { return m_States.IsHalted(kEventIn); }
    void StreamAvailable() override;
    void EventQueued() override { Post(kEventIn); }
    void HaltEvents() override TAVIX_REQUIRES(m_Lock) { Halt(kEventIn); }
    void ResetRequested() override TAVIX_REQUIRES(m_Lock);

    // RequestHost: so does endpoint 0
    void ResetInterfaces() override TAVIX_REQUIRES(m_Lock);
    bool IsRoleHalted(std::uint8_t role) const override TAVIX_REQUIRES(m_Lock) { return m_States.IsHalted(role); }
    void HostSetHalt(std::uint8_t role) override TAVIX_REQUIRES(m_Lock);
    void HostClearedHalt(std::uint8_t role) override TAVIX_REQUIRES(m_Lock);
    const std::string& Name() const override TAVIX_REQUIRES(m_Lock) { return m_Persistent.userName; }

    // the streams
    DeviceStream* FindStream(std::uint8_t role);
    PipeAnswer StreamIn(DeviceStream& stream, std::uint8_t* buffer, std::size_t room) TAVIX_EXCLUDES(m_Lock);
    PipeStatus StreamObstacle(unsigned stream) const TAVIX_EXCLUDES(m_Lock);
    bool BeginBlock(DeviceStream& stream) TAVIX_EXCLUDES(m_Lock);
    PipeStatus StreamBroke(unsigned stream, PipeStatus status) TAVIX_EXCLUDES(m_Lock);

    void Halt(std::uint8_t role) TAVIX_REQUIRES(m_Lock);
    /// What keeps a transfer from the endpoint; Complete when nothing does.
    PipeStatus Obstacle(std::uint8_t role) const TAVIX_REQUIRES(m_Lock);
    void PassFaults() TAVIX_REQUIRES(m_Lock);
    void PowerUp() TAVIX_REQUIRES(m_Lock);
    void PlugIn() TAVIX_REQUIRES(m_Lock);
    void PullOut() TAVIX_REQUIRES(m_Lock);
    void Leave() TAVIX_REQUIRES(m_Lock);
    std::optional<TimePoint> Deadline() const TAVIX_REQUIRES(m_Lock);
    void Post(std::uint8_t role) { m_Thread.Ready(m_Endpoints.AddressOf(role)); }

    std::optional<TimePoint> RunTimers() TAVIX_EXCLUDES(m_Lock);
};

} // namespace virtualcam
