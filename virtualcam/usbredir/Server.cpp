#include "virtualcam/usbredir/Server.h"

#include <algorithm>
#include <utility>

#include <unistd.h>

#include "virtualcam/usbredir/Session.h"

namespace virtualcam::usbredir {

Server::Server(RemoteCameras& cameras, const std::string& path, Notify notify, milliseconds timeout)
    : m_Cameras(cameras), m_Path(path), m_Notify(std::move(notify)), m_Timeout(timeout),
      m_Reserved(cameras.size(), false) {
    m_Listener = std::make_unique<Listener>(
        Listener::OpenUnix(path), [this](Connection& connection) { Answer(connection); }, m_Notify);
}

Server::~Server() {
    m_Listener.reset();
    unlink(m_Path.c_str());
}

RemoteCamera* Server::Reserve() {
    const Tavix::MutexLock lock(m_Lock);
    const auto free = std::find(m_Reserved.begin(), m_Reserved.end(), false);
    if (free == m_Reserved.end()) return nullptr;
    *free = true;
    return m_Cameras[static_cast<std::size_t>(free - m_Reserved.begin())].get();
}

void Server::Free(const RemoteCamera& camera) {
    const Tavix::MutexLock lock(m_Lock);
    m_Reserved[camera.Index()] = false;
}

void Server::Answer(Connection& connection) {
    Channel channel(connection.Socket(), connection.End());
    channel.SetDeadline(Clock::Now() + m_Timeout);
    Bytes greeting = ReceiveGreeting(channel);
    if (greeting.empty()) return;
    RemoteCamera* const camera = Reserve();
    if (!camera) {
        m_Notify("a connection was refused, since all cameras are in use");
        return;
    }
    try {
        connection.Keep();
        Session(*camera, connection.Socket(), connection.End(), m_Notify, std::move(greeting), m_Timeout).Run();
    } catch (...) {
        Free(*camera);
        throw;
    }
    Free(*camera);
}

} // namespace virtualcam::usbredir
