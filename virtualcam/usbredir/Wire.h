#pragma once
// The socket of a usbredir peer, and how long the peer may take to go on.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "virtualcam/remote/Channel.h"

namespace virtualcam::usbredir {

/// Largest transfer that a peer may ask for; beyond that it is refused as invalid.
inline constexpr std::size_t kMaximumTransfer = 24u << 20;

/// What the peer says first, without which it gets no camera; empty when it says nothing in time, or something else.
Bytes ReceiveGreeting(Channel& channel);

/// Reads and writes for the parser, and keeps account of what does not go on: a packet that comes in pieces, and bytes
/// that the peer leaves unread. Bound to a thread.
class Wire {
public:
    /// `greeting` was read of the socket already, and comes first. The socket is borrowed. For `timeout` see TimeFor.
    Wire(int socket, Bytes greeting, milliseconds timeout);

    int Socket() const { return m_Socket; }
    /// Bytes that were moved; 0: none can be now; -1: it is over, or a packet is larger than any may be.
    int Read(std::uint8_t* to, std::size_t count);
    int Write(const std::uint8_t* from, std::size_t count);
    /// The packet that was being read is whole.
    void PacketEnded() { m_Unparsed = 0; }
    /// Nothing is read for a while, which is not the peer's fault.
    void Pause() { m_PacketBegan = Clock::Now(); }
    /// Whether there is something to be written; from the first moment on the peer is expected to take it.
    void SetUnread(bool unread);
    /// By when the peer has to have gone on.
    std::optional<TimePoint> Deadline() const;

private:
    const int m_Socket;
    const milliseconds m_Timeout;
    Bytes m_Greeting; // what of it is not read yet
    std::size_t m_Unparsed = 0;
    TimePoint m_PacketBegan;
    std::size_t m_Taken = 0; // bytes since m_UnreadSince
    std::optional<TimePoint> m_UnreadSince;

    int Account(std::size_t count);
};

} // namespace virtualcam::usbredir
