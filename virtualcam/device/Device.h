#pragma once
// The virtual camera as a USB device, free of any transport: endpoint 0, bulk endpoints, plugging and unplugging.

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "virtualcam/device/Descriptors.h"
#include "virtualcam/device/DeviceListener.h"
#include "virtualcam/device/DeviceThread.h"
#include "virtualcam/device/Pipe.h"
#include "virtualcam/device/StreamChannel.h"
#include "virtualcam/device/StreamMeter.h"
#include "virtualcam/firmware/Firmware.h"
#include "virtualcam/settings/Settings.h"

namespace virtualcam {

/// One device. An adapter carries host transfers to it:
///  - Out once for each OUT transfer, with all its bytes; NotYet means: nothing was taken, offer it again later;
///  - In for the oldest IN transfer of an endpoint, with the room that is left in it, again and again until the answer
///    is not NotYet. After NotYet the listener's EndpointReady tells when it is worth asking again; of an acknowledge
///    that is there at the end of Out it does not tell, so ask after each Out.
/// Bytes of images are made in the buffer handed in. One In at a time for each endpoint. Thread-safe.
class Device final : private CameraHost {
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
    /// All bulk endpoints by their roles: commands, acknowledges, events, streams. Constant after construction.
    const std::vector<std::uint8_t>& Endpoints() const { return m_Endpoints; }
    /// Has EndpointReady called from the device's thread, so that the adapter can serve the endpoint there.
    void RequestService(std::uint8_t endpoint);
    /// Cameras differ in the number of one endpoint. Inside it has its usual address, its role; on the bus that of the
    /// descriptors, which is what all these functions and the listener mean.
    std::uint8_t RoleOf(std::uint8_t endpoint) const;
    std::uint8_t AddressOf(std::uint8_t role) const;
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
    const std::vector<std::uint8_t> m_Endpoints;

    std::atomic<std::uint64_t> m_Generation{0};

    /// One stream on its way to its endpoint.
    struct Stream {
        Stream(unsigned number, std::size_t packetSize) : index(number), channel(packetSize, number) {}

        const unsigned index;
        bool mute = false;   // guarded by m_Lock
        bool choked = false; // by transfers that it cannot serve, until it is disabled; guarded by m_Lock
        mutable std::mutex lock;
        StreamChannel channel; // guarded by lock
        StreamMeter meter;     // guarded by lock
    };

    // Lock order: m_Lock, then a stream's lock or one of m_Thread. Images are drawn under the stream's lock alone, so
    // that commands are answered meanwhile.
    mutable std::mutex m_Lock;
    FaultScript m_Faults; // guarded by m_Lock, as all down to the next lock
    Persistent m_Persistent;
    std::unique_ptr<Firmware> m_Camera; // null while unplugged
    std::uint32_t m_Halts = 0;
    std::uint8_t m_Configuration = 1;
    std::array<std::uint8_t, request::kScratchSize> m_Scratch{};
    bool m_OutRefused = false;
    std::optional<TimePoint> m_Replug;
    std::optional<TimePoint> m_Restart;
    std::optional<TimePoint> m_Leaving; // until then transfers fail, then it is gone

    std::deque<Stream> m_Streams; // constant after construction

    DeviceThread m_Thread;

    // CameraHost
    Status CheckStreamEnable(unsigned stream) override;
    void StreamEnabled(unsigned stream, bool on) override;
    bool IsStreamHalted(unsigned stream) const override { return IsHaltedLocked(StreamEndpoint(stream)); }
    Bytes StreamFigures(unsigned stream) const override;
    bool IsEventHalted() const override { return IsHaltedLocked(kEventIn); }
    void StreamAvailable() override;
    void EventQueued() override { Post(kEventIn); }
    void HaltEvents() override { SetHaltLocked(kEventIn); }
    void ResetRequested() override;

    // the streams
    Stream* FindStream(std::uint8_t endpoint);
    void SetStreamFaults();
    PipeAnswer StreamIn(Stream& stream, std::uint8_t* buffer, std::size_t room);
    bool BeginBlock(Stream& stream);
    PipeStatus StreamBroke(const Stream& stream, PipeStatus status);

    // endpoint 0; under m_Lock
    PipeAnswer Answer(const usb::ControlSetup& setup, std::uint8_t* data, const Bytes& bytes) const;
    PipeAnswer GetDescriptor(const usb::ControlSetup& setup, std::uint8_t* data) const;
    PipeAnswer DeviceRequest(const usb::ControlSetup& setup, std::uint8_t* data);
    PipeAnswer EndpointRequest(const usb::ControlSetup& setup, std::uint8_t* data);
    PipeAnswer ScratchRequest(const usb::ControlSetup& setup, std::uint8_t* data);
    static std::uint32_t EndpointBit(std::uint8_t endpoint);
    bool HasEndpoint(std::uint8_t endpoint) const;
    bool IsHaltedLocked(std::uint8_t endpoint) const { return (m_Halts & EndpointBit(endpoint)) != 0; }
    void SetHaltLocked(std::uint8_t endpoint);
    void ClearHaltLocked(std::uint8_t endpoint);

    /// What keeps a transfer from the endpoint; Complete when nothing does.
    PipeStatus ObstacleLocked(std::uint8_t endpoint) const;

    // the device's own doing
    void PowerUpLocked();
    void PlugLocked();
    void UnplugLocked();
    void LeaveLocked();
    std::optional<TimePoint> DeadlineLocked() const;
    std::optional<TimePoint> RunTimers();
    void RunTimersLocked(TimePoint now);
    void Post(std::uint8_t role) { m_Thread.Ready(AddressOf(role)); }
};

} // namespace virtualcam
