#pragma once
// The camera behind the USB plug: register space, control and event channel, features.

#include <bitset>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "virtualcam/device/Manifest.h"
#include "virtualcam/device/channel/ControlChannel.h"
#include "virtualcam/device/channel/EventChannel.h"
#include "virtualcam/device/channel/StreamLayout.h"
#include "virtualcam/firmware/Clock.h"
#include "virtualcam/firmware/RegisterSpace.h"
#include "virtualcam/firmware/control/AcquisitionControl.h"
#include "virtualcam/firmware/control/UserSets.h"
#include "virtualcam/settings/BackendSettings.h"

namespace virtualcam {

/// What survives the loss of power.
struct Persistent {
    std::string userName;
    StoredSets sets;
};

/// What the camera asks of the USB side. Called under the camera's lock.
class CameraHost {
public:
    virtual Status CheckStreamEnable(unsigned stream) = 0;    ///< stream enable is about to be set
    virtual void StreamEnabled(unsigned stream, bool on) = 0; ///< stream enable has changed
    virtual bool IsStreamHalted(unsigned stream) const = 0;
    virtual bool IsEventHalted() const = 0;
    virtual Bytes StreamFigures(unsigned stream) const = 0; ///< how it is served; StreamMeter::kSize bytes
    virtual void StreamAvailable() = 0;                     ///< there may be something to send on the streams
    virtual void EventQueued() = 0;
    virtual void HaltEvents() = 0;     ///< the event endpoint is to halt
    virtual void ResetRequested() = 0; ///< the camera wants to restart

protected:
    ~CameraHost() = default;
};

/// What a camera with power runs: registers, features, channels. Bound to a thread; its owner locks.
class Firmware {
public:
    Firmware(const CameraSettings& settings, const Manifest& manifest, Persistent& persistent, CameraHost& host);

    RegisterSpace& Registers() { return m_Registers; }
    ControlChannel& Control() { return *m_Control; }
    EventChannel& Events() { return m_Events; }
    Clock& Time() { return m_Clock; }

    /// Raises an event now, if the event channel is enabled.
    void RaiseEvent(std::uint16_t id, const Bytes& data);
    /// State after a USB reset: streams and events off, stream registers zero.
    void ResetInterfaces();
    void DisableEvents();
    void DisableStream(unsigned stream);
    void DisableStreams();

    /// The next frame of a stream to send, if there is one now.
    std::optional<Frame> TakeFrame(unsigned stream, TimePoint now) { return m_Acquisition->Take(stream, now); }
    /// The transfer sizes that the host programmed.
    StreamLayout Layout(unsigned stream) const;
    bool IsLayoutAligned(unsigned stream) const;
    std::uint64_t LostFrames() const { return m_Acquisition->LostFrames(); }
    /// Sets the level outside of an input line.
    void SetInput(std::uint32_t line, bool high);

    std::optional<TimePoint> Deadline() const { return Earlier(m_Control->Deadline(), m_Acquisition->Deadline()); }
    void RunTimers(TimePoint now);

private:
    const CameraSettings& m_Settings;
    Persistent& m_Persistent;
    CameraHost& m_Host;
    Clock m_Clock;
    RegisterSpace m_Registers;
    EventChannel m_Events;
    std::unique_ptr<ControlChannel> m_Control;
    std::bitset<kMaximumStreams> m_Streaming;

    // the features
    std::unique_ptr<ImageFormat> m_Format;
    std::unique_ptr<AnalogControl> m_Analog;
    std::unique_ptr<ChunkControl> m_Chunks;
    std::unique_ptr<DigitalIo> m_Io;
    std::unique_ptr<EventControl> m_EventControl;
    std::unique_ptr<AcquisitionControl> m_Acquisition;
    std::unique_ptr<UserSets> m_UserSets;

    void AddIdentity();
    void AddTechnology();
    void AddConfiguration();
    void AddUsbRegisters();
    void AddStreamRegisters(unsigned stream);
    void AddStreamSizes(unsigned stream);
    void AddEventRegisters(std::size_t packetSize);
    void AddManifest(const Manifest& manifest);
    void AddFeatures();
    void AddDeviceControl(const FeatureMaker& make);
    void PayloadChanged();
    void Available();
    void SwitchStream(unsigned stream, bool on);
    Status CheckStreamControl(unsigned stream, const std::uint8_t* wanted);
};

} // namespace virtualcam
