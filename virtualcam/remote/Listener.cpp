#include "virtualcam/remote/Listener.h"

#include "core/Threads.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace virtualcam {
namespace {

constexpr int kBacklog = 128;
// A computer that has gone without a word is noticed after about a minute.
constexpr int kKeepAliveIdleS = 30;
constexpr int kKeepAliveIntervalS = 10;
constexpr int kKeepAliveProbes = 3;
constexpr int kUnacknowledgedMs = 60000;
// Pauses before the next try where descriptors are short; shorter when one is about to be given back.
constexpr milliseconds kShortPause{10};
constexpr milliseconds kLongPause{100};

[[noreturn]] void Fail(const std::string& what, int error) {
    throw std::runtime_error("cannot listen on " + what + ": " + std::strerror(error));
}

struct FreeAddresses {
    void operator()(addrinfo* addresses) const { freeaddrinfo(addresses); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Addresses Resolve(const std::string& address, std::uint16_t port, const std::string& name) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (error != 0) throw std::runtime_error("cannot listen on " + name + ": " + gai_strerror(error));
    return Addresses(found);
}

/// False when nobody listens on a socket any more.
bool IsAlive(const sockaddr_un& name) {
    const Descriptor probe(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (connect(probe.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0) return true;
    return errno != ECONNREFUSED;
}

void RemoveDeadSocket(const std::string& path, const sockaddr_un& name) {
    struct stat present {};
    if (lstat(path.c_str(), &present) != 0 || !S_ISSOCK(present.st_mode)) return;
    if (IsAlive(name)) throw std::runtime_error("cannot listen on " + path + ": another server listens there");
    unlink(path.c_str());
}

/// Of a local socket without effect.
void WatchPeer(int socket) {
    const auto set = [socket](int level, int option, int value) {
        setsockopt(socket, level, option, &value, sizeof value);
    };
    set(IPPROTO_TCP, TCP_NODELAY, 1);
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
    set(IPPROTO_TCP, TCP_KEEPIDLE, kKeepAliveIdleS);
    set(IPPROTO_TCP, TCP_KEEPINTVL, kKeepAliveIntervalS);
    set(IPPROTO_TCP, TCP_KEEPCNT, kKeepAliveProbes);
    set(IPPROTO_TCP, TCP_USER_TIMEOUT, kUnacknowledgedMs);
}

} // namespace

Descriptor Listener::OpenTcp(const std::string& address, std::uint16_t port) {
    const std::string name = address + ", port " + std::to_string(port);
    const Addresses found = Resolve(address, port, name);
    Descriptor made(socket(found->ai_family, found->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, found->ai_protocol));
    const int yes = 1;
    if (made.Get() < 0) Fail(name, errno);
    setsockopt(made.Get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (bind(made.Get(), found->ai_addr, found->ai_addrlen) != 0 || listen(made.Get(), kBacklog) != 0)
        Fail(name, errno);
    return made;
}

Descriptor Listener::OpenUnix(const std::string& path) {
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof name.sun_path) Fail(path, ENAMETOOLONG);
    std::memcpy(name.sun_path, path.c_str(), path.size());
    RemoveDeadSocket(path, name);
    Descriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (made.Get() < 0) Fail(path, errno);
    if (bind(made.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0 ||
        listen(made.Get(), kBacklog) != 0)
        Fail(path, errno);
    return made;
}

Listener::Listener(Descriptor socket, Connections::Serve serve, Notify notify)
    : m_Socket(std::move(socket)), m_End(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_Connections(m_End.Get(), std::move(serve), std::move(notify)) {
    if (m_End.Get() < 0) throw std::runtime_error("no file descriptor is left for a server");
    m_Thread = Tavix::NewThread([this] { Run(); });
}

Listener::~Listener() {
    eventfd_write(m_End.Get(), 1);
    m_Thread.join();
}

std::uint16_t Listener::Port() const {
    sockaddr_storage name{};
    socklen_t length = sizeof name;
    if (getsockname(m_Socket.Get(), reinterpret_cast<sockaddr*>(&name), &length) != 0) return 0;
    if (name.ss_family == AF_INET) return ntohs(reinterpret_cast<const sockaddr_in&>(name).sin_port);
    return name.ss_family == AF_INET6 ? ntohs(reinterpret_cast<const sockaddr_in6&>(name).sin6_port) : 0;
}

void Listener::Run() {
    pollfd polled[2] = {{m_Socket.Get(), POLLIN, 0}, {m_End.Get(), POLLIN, 0}};
    while (true) {
        if (poll(polled, 2, -1) < 0) continue;
        if (polled[1].revents != 0 || !Accept()) return;
    }
}

// Without descriptors the caller stays in the queue, where poll() sees it at once: a stranger's connection goes for it.
// False at the end.
bool Listener::Accept() {
    Descriptor accepted(accept4(m_Socket.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (accepted.Get() >= 0) {
        WatchPeer(accepted.Get());
        m_Connections.Start(std::move(accepted));
        return true;
    }
    const int error = errno;
    if (error == EAGAIN || error == EINTR || error == ECONNABORTED) return true;
    return Pause(m_Connections.GiveUpOldest() ? kShortPause : kLongPause);
}

bool Listener::Pause(milliseconds time) const {
    pollfd end{m_End.Get(), POLLIN, 0};
    return poll(&end, 1, static_cast<int>(time.count())) <= 0;
}

} // namespace virtualcam
