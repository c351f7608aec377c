#pragma once
// A socket that waits for connections.

#include <cstdint>
#include <string>

#include "virtualcam/remote/Channel.h"
#include "virtualcam/remote/Connections.h"

namespace virtualcam {

/// Accepts on a thread of its own and serves each connection on another. Thread-safe.
class Listener {
public:
    /// Both throw std::runtime_error with the reason and the address. Port 0 takes any that is free.
    static Descriptor OpenTcp(const std::string& address, std::uint16_t port);
    /// A socket that a server left behind is replaced; one that a server listens on, or another file, is not.
    static Descriptor OpenUnix(const std::string& path);

    /// Throws std::runtime_error when the system has no descriptor or thread left.
    Listener(Descriptor socket, Connections::Serve serve, Notify notify);
    /// Ends all connections that heed their end.
    ~Listener();
    /// The TCP port, in case that any was asked for.
    std::uint16_t Port() const;

private:
    const Descriptor m_Socket;
    const Descriptor m_End;
    Connections m_Connections;
    std::thread m_Thread;

    void Run();
    bool Accept();
    bool Pause(milliseconds time) const;
};

} // namespace virtualcam
