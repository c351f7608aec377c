#pragma once
// The registers of an image stream: what the camera needs, and what it is told.

#include "u3v/TransferPlan.h"
#include "vexlo/stream/StreamHost.h"

namespace vexlo {

/// Every operation is a few register transactions. Thread-safe as its host.
class StreamRegisters {
public:
    StreamRegisters(StreamHost& host, usb::Handle& handle, const StreamChannel& channel)
        : m_Host(host), m_Handle(handle), m_Channel(channel) {}

    /// Stops a stream that runs, reads what the camera needs and makes the plan. VX_E_PAYLOAD_SIZE when the camera's
    /// payload is 0 or cannot be planned.
    [[nodiscard]] VxStatus MakePlan(std::uint32_t maxTransferSize, u3v::TransferPlan& plan);
    /// Tells the camera the sizes of the plan.
    [[nodiscard]] VxStatus Program(const u3v::TransferPlan& plan);
    /// Switches the stream on. A camera that refuses gets its endpoint's halt cleared and its sizes once more.
    [[nodiscard]] VxStatus Enable(const u3v::TransferPlan& plan);
    [[nodiscard]] VxStatus Disable();
    /// Clears the halt of the stream's endpoint; nothing may be queued on it.
    [[nodiscard]] VxStatus ClearHalt();

private:
    VxStatus Read32(std::uint64_t offset, std::uint32_t& value);
    VxStatus Read64(std::uint64_t offset, std::uint64_t& value);
    VxStatus Write32(std::uint64_t offset, std::uint32_t value);
    VxStatus SelectStandardPayload(std::uint32_t info);

    StreamHost& m_Host;    // borrowed
    usb::Handle& m_Handle; // borrowed
    const StreamChannel m_Channel;
};

} // namespace vexlo
