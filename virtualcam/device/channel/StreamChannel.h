#pragma once
// The device's end of the stream: blocks of leader, payload and trailer, cut into the transfers that the host
// programmed.

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "virtualcam/device/channel/BlockFaults.h"
#include "virtualcam/device/channel/BlockPayload.h"
#include "virtualcam/device/channel/StreamLayout.h"

namespace virtualcam {

/// Streams one block after the other. Pixels are drawn into the host's buffer when it asks for them.
/// Bound to a thread; its owner locks.
class StreamChannel {
public:
    /// `view` is that of its images' scene.
    explicit StreamChannel(std::size_t packetSize, unsigned view = 0) : m_PacketSize(packetSize), m_Payload(view) {}

    /// Payload transfers end after `largestTransfer` bytes, if it is not 0.
    void Start(const StreamLayout& layout, std::uint32_t largestTransfer = 0);
    void Stop();
    /// Zeros behind each image without chunk data that belong to the payload.
    void SetExtraPayload(std::uint32_t bytes) { m_ExtraPayload = bytes; }
    void SetFaults(std::vector<StreamFaultRule> rules) { m_Faults.SetRules(std::move(rules)); }

    /// True when the next block can begin.
    bool WantsFrame() const { return m_On && !m_InBlock; }
    void Begin(const Frame& frame);
    /// Fills the rest of one host transfer; NotYet when there is nothing to send until Begin. Stall, Error and Gone are
    /// scripted: the caller halts the endpoint, or takes the device off the bus.
    PipeAnswer Take(std::uint8_t* buffer, std::size_t room);

private:
    enum class SlotKind { Leader, Payload, Trailer, Other };
    /// One transfer of a block.
    struct Slot {
        SlotKind kind = SlotKind::Leader;
        std::size_t bytes = 0;
        std::size_t sent = 0;
        bool emptyPacketDue = false;
    };

    const std::size_t m_PacketSize;
    bool m_On = false;
    std::uint32_t m_LargestTransfer = 0;
    std::uint32_t m_ExtraPayload = 0;
    StreamLayout m_Layout;
    BlockFaults m_Faults;
    std::uint64_t m_IdOffset = 0; // ids left out by script

    // the present block
    bool m_InBlock = false;
    Bytes m_Leader;
    Bytes m_Trailer;
    BlockPayload m_Payload;
    std::uint64_t m_NextSlot = 0;
    bool m_LeftOverDue = false;
    std::optional<Slot> m_Slot;

    bool NextSlot();
    bool MakeEdge(SlotKind kind);
    Slot MakeSlot(SlotKind kind, std::size_t bytes, std::size_t programmed) const;
    Slot MakePayloadSlot(std::uint64_t index) const;
    void Fill(const Slot& slot, std::uint8_t* to, std::size_t count);
    std::uint16_t LimitPayload();
};

} // namespace virtualcam
