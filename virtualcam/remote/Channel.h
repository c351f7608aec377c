#pragma once
// A connected stream socket that whole records are read from and written to.

#include <cstddef>
#include <cstdint>

#include "virtualcam/Bytes.h"

namespace virtualcam {

/// A file descriptor with an owner. Bound to a thread.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : m_Descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_Descriptor(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;
    ~Descriptor();

    int Get() const { return m_Descriptor; }
    int Release();
    void Close();

private:
    int m_Descriptor;
};

/// Every wait ends when the other descriptor, `end`, becomes readable; both are borrowed. Bound to a thread.
class Channel {
public:
    Channel(int socket, int end);

    /// Longest wait for the peer from now on; below 0, the default: for ever.
    void SetTimeout(int timeoutMs) { m_Timeout = timeoutMs; }
    /// Reads exactly `count` bytes; false when the peer has gone, the time is over or the end has come.
    bool Receive(std::uint8_t* to, std::size_t count);
    /// Writes a head and a body; false as above.
    bool Send(const std::uint8_t* head, std::size_t headSize, const std::uint8_t* body = nullptr,
              std::size_t bodySize = 0);
    bool Send(const Bytes& bytes) { return Send(bytes.data(), bytes.size()); }

    enum class Event { Readable, Woken, Ended };
    /// Waits for bytes of the peer or for `wake` to become readable.
    Event Wait(int wake);
    bool HasEnded() const;

private:
    const int m_Socket;
    const int m_End;
    int m_Timeout = -1;

    bool WaitFor(short events);
};

/// A pair of connected stream sockets; throws std::runtime_error when there is none left.
struct SocketPair {
    SocketPair();
    Descriptor ours, theirs;
};

} // namespace virtualcam
