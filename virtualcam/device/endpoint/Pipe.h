#pragma once
// A bulk IN endpoint as a queue of messages, with USB's rules for how messages meet the host's transfers.

#include <cstddef>
#include <cstdint>
#include <deque>

#include "virtualcam/Bytes.h"

namespace virtualcam {

/// What the device answers when the host's side of a transfer asks for, or offers, bytes.
enum class PipeStatus {
    Complete, ///< the transfer has ended: it is full, or a short or empty packet came
    NotYet,   ///< `bytes` moved so far (maybe none); the transfer is still open
    Stall,    ///< the endpoint is halted
    Overflow, ///< the device sent a packet that does not fit the rest of the transfer
    Error,    ///< line error
    NoMemory, ///< none is left for the transfer
    Gone      ///< no device any more
};

struct PipeAnswer {
    PipeStatus status = PipeStatus::NotYet;
    std::size_t bytes = 0;
};

/// What one message contributes to one transfer.
struct Portion {
    std::size_t bytes = 0;    ///< bytes that arrive in the host's buffer
    std::size_t consumed = 0; ///< bytes that leave the device; more than `bytes` when some overflow
    bool ends = false;        ///< the transfer ends here: short packet, or full
    bool overflow = false;
};

/// `available` bytes of a message meet `room` bytes of a transfer; the message's earlier bytes went out in whole
/// packets.
Portion FitMessage(std::size_t available, std::size_t room, std::size_t packetSize);

/// Queue of whole messages. Bound to a thread; its owner locks.
class Pipe {
public:
    explicit Pipe(std::size_t packetSize) : m_PacketSize(packetSize) {}

    /// Queues a message. With `terminated`, a message of whole packets is followed by an empty one.
    void Push(Bytes message, bool terminated = false);
    /// Moves bytes into the rest of one host transfer.
    PipeAnswer Take(std::uint8_t* buffer, std::size_t room);
    void Clear() { m_Messages.clear(); }
    /// The newest message, to be lengthened; null when there is none or some of it has been taken.
    Bytes* FindUntouched();
    std::size_t Size() const { return m_Messages.size(); }

private:
    struct Message {
        Bytes bytes;
        std::size_t sent;
        bool emptyPacketDue;
    };
    const std::size_t m_PacketSize;
    std::deque<Message> m_Messages;
};

} // namespace virtualcam
