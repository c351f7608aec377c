#pragma once
// A socket that waits for connections.

#include <cstdint>
#include <functional>
#include <string>

#include "virtualcam/remote/Channel.h"
#include "virtualcam/remote/Connections.h"

namespace virtualcam {

/// What a server tells its operator; any thread.
using Notify = std::function<void(const std::string& line)>;

/// Accepts on a thread of its own and serves each connection on another. Thread-safe.
class Listener {
public:
    /// Serves one connection; the socket is closed afterwards. Returns soon when `end` becomes readable.
    using Serve = std::function<void(int socket, int end)>;

    /// Both throw std::runtime_error with the reason and the address. Port 0 takes any that is free.
    static Descriptor OpenTcp(const std::string& address, std::uint16_t port);
    /// A file that is there already is replaced when it is a socket.
    static Descriptor OpenUnix(const std::string& path);

    Listener(Descriptor socket, Serve serve);
    /// Ends all connections that heed `end`.
    ~Listener();
    /// The TCP port, in case that any was asked for.
    std::uint16_t Port() const;

private:
    const Descriptor m_Socket;
    const Descriptor m_End;
    const Serve m_Serve;
    Connections m_Connections;
    std::thread m_Thread;

    void Run();
};

} // namespace virtualcam
