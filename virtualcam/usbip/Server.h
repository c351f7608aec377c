#pragma once
// Offers virtual cameras to USB/IP clients over TCP.

#include "virtualcam/remote/Listener.h"
#include "virtualcam/remote/RemoteCamera.h"
#include "virtualcam/usbip/Message.h"
#include "virtualcam/usbip/Session.h"

namespace virtualcam::usbip {

struct ServerSettings {
    std::string address = "127.0.0.1";
    std::uint16_t port = kDefaultPort; ///< 0: any
    milliseconds timeout = kTimeout;   ///< with clients, see TimeFor
};

/// Serves from construction to destruction; ends the sessions of the cameras then, which are closed. Thread-safe.
class Server {
public:
    /// Throws std::runtime_error when it cannot listen. The cameras are borrowed.
    Server(RemoteCameras& cameras, const ServerSettings& settings, Notify notify);
    ~Server();

    std::uint16_t Port() const { return m_Listener->Port(); }

private:
    RemoteCameras& m_Cameras;
    const Notify m_Notify;
    const milliseconds m_Timeout;
    std::unique_ptr<Listener> m_Listener;

    void Answer(Connection& connection);
    std::vector<ExportedDevice> FreeCameras();
    void Import(Channel& channel, Connection& connection);
    OperationStatus Take(const std::string& busId, TakenCamera& taken);
};

/// What to tell the operator of a session's end.
std::string EndText(const RemoteCamera& camera, SessionEnd end);

} // namespace virtualcam::usbip
