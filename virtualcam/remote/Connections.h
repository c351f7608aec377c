#pragma once
// The peers of a server: a thread for each connection.

#include <functional>
#include <list>
#include <string>
#include <thread>

#include "core/Mutex.h"
#include "virtualcam/remote/Channel.h"

namespace virtualcam {

/// What a server tells its operator; any thread.
using Notify = std::function<void(const std::string& line)>;

/// One connection while it is served. Thread-safe.
class Connection {
public:
    virtual int Socket() const = 0;
    /// Becomes readable when the server ends.
    virtual int End() const = 0;
    /// The peer has a camera: its connection is not given up for a newer one.
    virtual void Keep() = 0;

protected:
    ~Connection() = default;
};

/// Peers that have no camera yet are strangers: there are kMostStrangers at most, and the oldest of them goes first.
/// Thread-safe.
class Connections {
public:
    static constexpr std::size_t kMostStrangers = 32;
    /// With those who were given up and do not know it yet, and those who have a camera.
    static constexpr std::size_t kMostPeers = 128;

    /// Serves one connection; returns soon when its end becomes readable. What it throws ends that connection only.
    using Serve = std::function<void(Connection& connection)>;

    /// `end` is borrowed.
    Connections(int end, Serve serve, Notify notify);
    /// Joins what still runs; see to it first that it ends.
    ~Connections();

    /// Serves a peer on a thread of its own. Where threads or memory are short, or there are too many peers, the
    /// connection is closed instead.
    void Start(Descriptor socket);
    /// Closes the connection of the stranger who has been there longest; false when there is none.
    bool GiveUpOldest();

private:
    struct Peer;

    const int m_End;
    const Serve m_Serve;
    const Notify m_Notify;
    Tavix::Mutex m_Lock;
    std::list<Peer> m_Peers TAVIX_GUARDED_BY(m_Lock);

    void Admit(Descriptor socket);
    bool MakeRoom();
    void Run(Peer& peer);
    void Tell(const char* event) const;
};

} // namespace virtualcam
