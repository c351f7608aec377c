#pragma once
// Which happenings in the camera become event messages.

#include <cstdint>

#include "virtualcam/device/channel/EventChannel.h"
#include "virtualcam/firmware/FeatureMaker.h"

namespace virtualcam {

/// Selector entries.
enum class CameraEvent : std::uint32_t {
    ExposureEnd = 0,
    FrameStart,
    FrameBurstStart,
    FrameStartOvertrigger,
    FrameBurstStartOvertrigger,
    Count
};

/// Event id on the wire; the description file's event ports have the same.
constexpr std::uint16_t EventId(CameraEvent event) {
    return static_cast<std::uint16_t>(0x9001 + static_cast<std::uint32_t>(event));
}

/// Bound to a thread; the register space's owner locks.
class EventControl {
public:
    EventControl(const FeatureMaker& make, EventChannel& channel) : m_Registers(make.Registers()), m_Channel(channel) {
        constexpr std::uint32_t count = static_cast<std::uint32_t>(CameraEvent::Count);
        make.Range(reg::kEventSelector, 0, 0, count - 1);
        for (std::uint32_t i = 0; i < count; ++i)
            make.Switch(reg::kEventNotification + std::uint64_t{4} * i);
    }
    /// Sends the event if its notification is on; true when a message was queued.
    bool Notify(CameraEvent event, std::uint64_t timestamp, std::uint64_t frameId) {
        const std::uint64_t notification = reg::kEventNotification + 4 * static_cast<std::uint64_t>(event);
        if (m_Registers.Get<std::uint32_t>(notification) == 0) return false;
        Bytes data;
        Append(data, frameId);
        return m_Channel.Raise(EventId(event), timestamp, data);
    }

private:
    RegisterSpace& m_Registers;
    EventChannel& m_Channel;
};

} // namespace virtualcam
