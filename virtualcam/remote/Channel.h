#pragma once
// A connected stream socket that whole records are read from and written to.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "virtualcam/Bytes.h"
#include "virtualcam/firmware/Clock.h"

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

/// How long a peer may take for a record of so many bytes: some time, and a second more for each MiB.
inline milliseconds TimeFor(milliseconds timeout, std::size_t bytes) {
    return timeout + milliseconds(1000 * (bytes >> 20));
}
/// The timeout of a server, if nobody says otherwise.
inline constexpr milliseconds kTimeout{10000};

/// What is left until a moment, as poll() wants it; without one for ever.
int PollTime(std::optional<TimePoint> until);

/// Every wait ends when the other descriptor, `end`, becomes readable; both are borrowed. Bound to a thread.
class Channel {
public:
    Channel(int socket, int end);

    /// No wait goes beyond this moment; without one, the default, they last for ever. It is for a whole record, however
    /// many pieces that comes in.
    void SetDeadline(std::optional<TimePoint> deadline) { m_Deadline = deadline; }
    /// Reads exactly `count` bytes; false when the peer has gone, the time is over or the end has come.
    bool Receive(std::uint8_t* to, std::size_t count);
    /// The same into memory that grows as bytes come. Throws std::bad_alloc.
    bool Receive(Bytes& to, std::size_t count);
    /// Reads bytes that nobody wants; false as above.
    bool Skip(std::size_t count);
    /// Writes a head and a body; false as above.
    bool Send(const std::uint8_t* head, std::size_t headSize, const std::uint8_t* body = nullptr,
              std::size_t bodySize = 0);
    bool Send(const Bytes& bytes) { return Send(bytes.data(), bytes.size()); }

    enum class Event { Readable, Woken, Ended };
    /// Waits for bytes of the peer or for `wake` to become readable.
    Event Wait(int wake);
    bool HasEnded() const;
    /// Whether the deadline has ended a wait.
    bool HasTimedOut() const { return m_TimedOut; }

private:
    const int m_Socket;
    const int m_End;
    std::optional<TimePoint> m_Deadline;
    bool m_TimedOut = false;

    bool WaitFor(short events);
};

/// A pair of connected stream sockets; throws std::runtime_error when there is none left.
struct SocketPair {
    SocketPair();
    Descriptor ours, theirs;
};

} // namespace virtualcam
