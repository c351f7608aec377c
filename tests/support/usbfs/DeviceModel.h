#pragma once
// A USB device without a bus: what the emulated usbfs asks of a device, and what the device may tell it.

#include "usb/Backend.h"

#include <cstddef>
#include <cstdint>

namespace usbfs {

enum class AnswerStatus {
    Complete, ///< the transfer has ended: it is full, or a short or empty packet came
    NotYet,   ///< `bytes` moved (maybe none); the transfer stays open
    Stall,    ///< the endpoint is halted, or the control request is refused
    Overflow, ///< the device sent a packet that does not fit
    Error,    ///< line error
    Gone      ///< no device any more
};

struct Answer {
    AnswerStatus status = AnswerStatus::NotYet;
    std::size_t bytes = 0; ///< moved by this call, whatever the status
};

/// The port that a device is plugged into. Thread-safe; callable from within the device's own calls.
class DevicePort {
public:
    /// What answered NotYet may answer otherwise now.
    virtual void Wake() = 0;
    /// Takes the device off the bus, soon.
    virtual void Unplug() = 0;
    /// Puts it back, under a new address.
    virtual void Plug() = 0;

protected:
    ~DevicePort() = default;
};

/// Calls come from several threads, never two at once, except for RefuseOpen and RefuseClaim.
class DeviceModel {
public:
    DeviceModel() = default;
    DeviceModel(const DeviceModel&) = delete;
    DeviceModel& operator=(const DeviceModel&) = delete;
    virtual ~DeviceModel() = default;

    /// Called once before anything else; `port` outlives the last call.
    virtual void Attached(DevicePort& port) = 0;
    /// Called when the port goes away. No call of `port` is allowed after it has returned.
    virtual void Detached() = 0;
    /// Control request; `data` has setup.length bytes to be read or written. The bus enumerates by it as a kernel does:
    /// device descriptor, configurations, SET_CONFIGURATION. NotYet is asked again.
    virtual Answer Control(const usb::ControlSetup& setup, std::uint8_t* data) = 0;
    /// Fills (the rest of) a bulk IN transfer.
    virtual Answer In(std::uint8_t endpoint, std::uint8_t* data, std::size_t room) = 0;
    /// Takes (the rest of) a bulk OUT transfer.
    virtual Answer Out(std::uint8_t endpoint, const std::uint8_t* data, std::size_t length) = 0;
    /// Port reset. False: it does not come back as the device that it was.
    virtual bool Reset() = 0;

    /// Whether it is on the bus from the beginning; asked once, after Attached. If not, it plugs itself in later.
    virtual bool IsPluggedAtFirst() { return true; }
    /// 0, or the errno with which an open, or a claim, is to fail; asked each time.
    virtual int RefuseOpen() { return 0; }
    virtual int RefuseClaim() { return 0; }
};

} // namespace usbfs
