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

/// Why a session has ended.
enum class SessionEnd {
    ClientGone,      ///< the client closed the connection
    CameraGone,      ///< the camera was unplugged, or the server closes
    ProtocolViolated ///< the client sent what no client may send
};

/// Serves a camera that the caller has taken, on a socket that belongs to the caller. Bound to a thread.
class Session {
public:
    Session(RemoteCamera& camera, int socket);

    /// Returns when it is over; the caller closes the socket, which is how the client learns of an unplug.
    SessionEnd Run();

private:
    RemoteCamera& m_Camera;
    Channel m_Channel;
    RemoteTransfers m_Transfers;
    bool m_CameraGone = false;
    bool m_ClientGone = false;
    bool m_Violated = false;

    bool Serve();
    bool ReadCommand();
    bool Submit(const Command& command);
    bool SubmitControl(const Command& command, Bytes data);
    bool Unlink(const Command& command);
    void Finished(const RemoteTransfer& transfer, const RemoteOutcome& outcome);
    bool Reply(std::uint32_t number, PipeStatus status, const std::uint8_t* data, std::size_t moved);
    bool Violation();
};

} // namespace virtualcam::usbip
