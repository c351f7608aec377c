#pragma once
// Offers virtual cameras to virtual machines: each connection to a local socket gets the next camera that has none.

#include "core/Mutex.h"
#include "virtualcam/remote/Listener.h"
#include "virtualcam/remote/RemoteCamera.h"

namespace virtualcam::usbredir {

/// Serves from construction to destruction. Thread-safe.
class Server {
public:
    /// Throws std::runtime_error when it cannot listen. The cameras are borrowed. `timeout` is with peers, see
    /// TimeFor.
    Server(RemoteCameras& cameras, const std::string& path, Notify notify, milliseconds timeout = kTimeout);
    ~Server();

private:
    RemoteCameras& m_Cameras;
    const std::string m_Path;
    const Notify m_Notify;
    const milliseconds m_Timeout;
    Tavix::Mutex m_Lock;
    std::vector<bool> m_Reserved TAVIX_GUARDED_BY(m_Lock);
    std::unique_ptr<Listener> m_Listener;

    void Answer(Connection& connection);
    RemoteCamera* Reserve();
    void Free(const RemoteCamera& camera);
};

} // namespace virtualcam::usbredir
