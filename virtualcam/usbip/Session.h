#pragma once
// A client that has imported a camera: its transfers, until one of the two goes away.

#include "virtualcam/remote/Channel.h"
#include "virtualcam/remote/RemoteCamera.h"
#include "virtualcam/remote/RemoteTransfers.h"
#include "virtualcam/usbip/Message.h"

namespace virtualcam::usbip {

/// Largest transfer and most transfers at a time that a client may ask for.
inline constexpr std::uint32_t kMaximumTransfer = 64u << 20;
inline constexpr std::size_t kMaximumQueued = 4096;
/// Bytes that all transfers of a client may hold. What would go beyond it is answered with "no memory".
inline constexpr std::size_t kBudget = 64u << 20;

/// Why a session has ended.
enum class SessionEnd {
    ClientGone,       ///< the client closed the connection
    ClientSlow,       ///< the client left a record half sent or unread, or said nothing at all
    CameraGone,       ///< the camera was unplugged, or the server closes
    ProtocolViolated, ///< the client sent what no client may send
    MemoryShort       ///< this computer has no memory left for it
};

/// Serves a camera that the caller has taken, on a socket that belongs to the caller. Bound to a thread.
class Session final : private RemoteHost {
public:
    /// `timeout` is for the first command, for the rest of each, and for the client to take each reply; see TimeFor.
    Session(RemoteCamera& camera, int socket, milliseconds timeout = kTimeout);

    /// Returns when it is over; the caller closes the socket, which is how the client learns of an unplug.
    SessionEnd Run();

private:
    RemoteCamera& m_Camera;
    const milliseconds m_Timeout;
    Channel m_Channel;
    RemoteTransfers m_Transfers;
    std::optional<TimePoint> m_SpeakBy; // for its first command
    bool m_CameraGone = false;
    bool m_ClientGone = false;
    bool m_Violated = false;

    bool Serve();
    void ServeReady();
    bool ReadCommand();
    bool Submit(const Command& command);
    bool SubmitControl(const Command& command, Bytes data);
    bool ReceiveData(const Command& command, Bytes& data);
    bool Refuse(const Command& command);
    bool Unlink(const Command& command);
    void Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome) override;
    bool HasRoom() override { return !m_ClientGone && !m_CameraGone; }
    bool Reply(std::uint32_t number, PipeStatus status, const std::uint8_t* data, std::size_t moved);
    void Expect(std::size_t bytes) { m_Channel.SetDeadline(Clock::Now() + TimeFor(m_Timeout, bytes)); }
    bool Violation();
};

} // namespace virtualcam::usbip
