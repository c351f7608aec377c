#pragma once
// The transfers of one block and where their bytes land.

#include "u3v/StreamPacket.h"
#include "u3v/TransferPlan.h"
#include "usb/Backend.h"
#include "vexlo/stream/BlockJudge.h"
#include "vexlo/stream/BufferPool.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vexlo {

class BlockSlot;

/// A transfer with the role that it was planned for.
struct PlannedTransfer {
    enum class Role { Leader, Payload, Trailer, Scan };

    usb::Transfer usb;
    Role role = Role::Leader;
    BlockSlot* slot = nullptr; // null for Scan
    std::uint64_t offset = 0;  // of the first byte in the payload
    std::size_t cost = 0;      // bytes of the system's memory while it is queued
    bool done = false;
    bool unread = false; // its bytes lie beyond the buffer, in memory that other transfers write too

    /// A short packet ended it, so that the camera's own transfer ended with it.
    bool EndsShort() const { return usb.status == usb::TransferStatus::Completed && usb.actualLength < usb.length; }
    /// And was not merely cancelled.
    bool HasFailed() const {
        return usb.status != usb::TransferStatus::Completed && usb.status != usb::TransferStatus::Cancelled;
    }
    u3v::ByteView Bytes() const { return {usb.buffer, usb.actualLength}; }
};

/// Payload transfers point straight into the bound buffer. The one transfer that would not fit it goes to a bounce
/// buffer of the slot, and those that lie beyond it altogether to memory that nobody reads. Bound to a thread.
class BlockSlot {
public:
    /// `dump` takes plan.payloadSize bytes that are not wanted; borrowed.
    BlockSlot(const u3v::TransferPlan& plan, std::uint8_t endpoint, std::uint8_t* dump);
    BlockSlot(const BlockSlot&) = delete;
    BlockSlot& operator=(const BlockSlot&) = delete;

    /// Makes the leader's transfer ready while there is no buffer yet; Bind adds the buffer behind it.
    void LeadOff();
    void Bind(BufferHandle_s* buffer);
    void Unbind();
    BufferHandle_s* Buffer() const { return m_Buffer; }
    std::vector<PlannedTransfer>& Transfers() { return m_Transfers; }

    void TakeLeader(const PlannedTransfer& transfer) { m_Leader = u3v::DecodeLeader(transfer.Bytes()); }
    /// Returns the bytes that had to be copied.
    std::uint64_t TakePayload(const PlannedTransfer& transfer);
    const std::optional<u3v::Leader>& Leader() const { return m_Leader; }
    /// What is known of the block so far.
    BlockEvidence Evidence() const;

private:
    void Begin();
    void AddTransfer(PlannedTransfer::Role role, std::uint64_t offset, std::size_t length, std::uint8_t endpoint);
    std::uint8_t* Place(const PlannedTransfer& transfer);

    std::vector<PlannedTransfer> m_Transfers;       // never resized after construction
    using Memory = std::unique_ptr<std::uint8_t[]>; // not touched before it is used
    Memory m_LeaderBytes;
    Memory m_TrailerBytes;
    Memory m_Bounce;                    // as large as any of the payload's transfers
    std::uint8_t* m_Dump;               // borrowed
    BufferHandle_s* m_Buffer = nullptr; // borrowed from the pool
    std::optional<u3v::Leader> m_Leader;
    std::uint64_t m_Received = 0;
    bool m_LedOff = false; // the leader's transfer went ahead of the buffer
    bool m_Ended = false;  // a transfer came short: later bytes of the block mean nothing
};

} // namespace vexlo
