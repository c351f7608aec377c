#pragma once
// The camera behind the USB plug: register space, control and event channel, features.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "virtualcam/Clock.h"
#include "virtualcam/ControlChannel.h"
#include "virtualcam/EventChannel.h"
#include "virtualcam/Manifest.h"
#include "virtualcam/RegisterSpace.h"
#include "virtualcam/Settings.h"

namespace virtualcam {

/// What survives the loss of power.
struct Persistent {
    std::string userName;
};

/// What the camera asks of the USB side. Called under the camera's lock.
class CameraHost {
public:
    virtual Status CheckStreamEnable() = 0;  ///< stream enable is about to be set
    virtual void StreamEnabled(bool on) = 0; ///< stream enable has changed
    virtual bool IsStreamHalted() const = 0;
    virtual bool IsEventHalted() const = 0;
    virtual void EventQueued() = 0;
    virtual void ResetRequested() = 0; ///< the camera wants to restart

protected:
    ~CameraHost() = default;
};

/// A powered camera. Bound to a thread; its owner locks.
class Camera {
public:
    Camera(const CameraSettings& settings, const Manifest& manifest, Persistent& persistent, CameraHost& host);

    RegisterSpace& Registers() { return m_Registers; }
    ControlChannel& Control() { return *m_Control; }
    EventChannel& Events() { return m_Events; }
    const Clock& Time() const { return m_Clock; }

    /// Raises an event now, if the event channel is enabled.
    void RaiseEvent(std::uint16_t id, const Bytes& data);
    /// State after a USB reset: streams and events off, stream registers zero.
    void ResetInterfaces();
    void DisableEvents();
    void DisableStream();

    std::optional<TimePoint> Deadline() const { return m_Control->Deadline(); }

private:
    const CameraSettings& m_Settings;
    Persistent& m_Persistent;
    CameraHost& m_Host;
    Clock m_Clock;
    RegisterSpace m_Registers;
    EventChannel m_Events;
    std::unique_ptr<ControlChannel> m_Control;
    bool m_Streaming = false;

    void AddIdentity();
    void AddTechnology();
    void AddUsbRegisters(const ControlLimits& limits);
    void AddStreamRegisters();
    void AddEventRegisters(std::size_t packetSize);
    void AddManifest(const Manifest& manifest);
    Status CheckStreamControl(const std::uint8_t* wanted);
};

} // namespace virtualcam
