#pragma once
// The device's end of the stream: blocks of leader, payload and trailer, cut into the transfers that the host
// programmed.

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "virtualcam/device/FaultScript.h"
#include "virtualcam/device/endpoint/Pipe.h"
#include "virtualcam/firmware/Acquisition.h"
#include "virtualcam/firmware/Scene.h"

namespace virtualcam {

/// The sizes that the host programmed, frozen when stream enable was set.
struct StreamLayout {
    std::uint32_t maximumLeader = 0;
    std::uint32_t transferSize = 0;
    std::uint32_t transferCount = 0;
    std::uint32_t final1 = 0;
    std::uint32_t final2 = 0;
    std::uint32_t maximumTrailer = 0;

    std::uint64_t Capacity() const { return std::uint64_t{transferSize} * transferCount + final1 + final2; }
    std::uint32_t LargestTransfer() const { return std::max({transferSize, final1, final2}); }
};

/// Streams one block after the other. Pixels are drawn into the host's buffer when it asks for them.
/// Bound to a thread; its owner locks.
class StreamChannel {
public:
    /// `view` is that of its images' scene.
    explicit StreamChannel(std::size_t packetSize, unsigned view = 0) : m_PacketSize(packetSize), m_Scene(view) {}

    /// Payload transfers end after `largestTransfer` bytes, if it is not 0.
    void Start(const StreamLayout& layout, std::uint32_t largestTransfer = 0);
    void Stop();
    /// Zeros behind each image without chunk data that belong to the payload.
    void SetExtraPayload(std::uint32_t bytes) { m_ExtraPayload = bytes; }
    void SetFaults(std::vector<StreamFaultRule> rules);

    /// True when the next block can begin.
    bool WantsFrame() const { return m_On && !m_InBlock; }
    void Begin(const Frame& frame);
    /// Fills the rest of one host transfer; NotYet when there is nothing to send until Begin. Stall, Error and Gone are
    /// scripted: the caller halts the endpoint, or takes the device off the bus.
    PipeAnswer Take(std::uint8_t* buffer, std::size_t room);
    /// Blocks begun since the faults were set.
    std::uint64_t Blocks() const { return m_Blocks; }

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
    std::vector<StreamFaultRule> m_Faults;
    std::uint64_t m_Blocks = 0;   // begun since the faults were set
    std::uint64_t m_IdOffset = 0; // ids left out by script

    // the present block
    bool m_InBlock = false;
    Scene m_Scene;
    Bytes m_Leader;
    Bytes m_Trailer;
    Bytes m_Tail; // payload behind the image
    std::size_t m_ImageBytes = 0;
    std::size_t m_PayloadBytes = 0; // what is sent of the payload
    std::size_t m_PayloadSent = 0;
    std::size_t m_CrcAt = 0; // where in the payload the checksum's value lies; 0: nowhere
    std::uint16_t m_Crc = 0;
    std::uint64_t m_NextSlot = 0;
    bool m_LeftOverDue = false;
    std::optional<Slot> m_Slot;
    std::vector<StreamFaultRule> m_Active; // faults of this block

    const StreamFaultRule* Fault(StreamFault fault) const;
    void ChooseFaults();
    std::uint64_t PayloadSlots() const;
    std::size_t PayloadSlotSize(std::uint64_t index) const;
    bool NextSlot();
    bool MakeEdge(SlotKind kind);
    Slot MakeSlot(SlotKind kind, std::size_t bytes, std::size_t programmed) const;
    Slot MakePayloadSlot(std::uint64_t index) const;
    void Fill(const Slot& slot, std::uint8_t* to, std::size_t count);
    void FillPayload(std::size_t offset, std::uint8_t* to, std::size_t count);
    void SetCrc();
    void SkipPayload(std::size_t count);
    std::optional<PipeStatus> Interruption();
    std::size_t BytesToInterruption() const;
    void BuildLeader(const Frame& frame, std::uint32_t height);
    void BuildTrailer(const Frame& frame, std::uint16_t status, std::uint64_t validBytes);
    std::uint16_t LimitPayload();
};

} // namespace virtualcam
