#include "virtualcam/remote/Connections.h"

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

#include <sys/socket.h>

namespace virtualcam {

/// A connection, its thread, and what the server knows of it.
struct Connections::Peer final : Connection {
    Peer(Connections& owner, Descriptor accepted) : m_Owner(owner), m_Socket(std::move(accepted)) {}

    int Socket() const override { return m_Socket.Get(); }
    int End() const override { return m_Owner.m_End; }
    void Keep() override {
        const Tavix::MutexLock lock(m_Owner.m_Lock);
        m_Kept = true;
    }

    bool IsStranger() const { return !m_Kept && !m_GivenUp && !m_Done; }
    bool IsDone() const { return m_Done; }
    void GiveUp() {
        m_GivenUp = true;
        shutdown(m_Socket.Get(), SHUT_RDWR);
    }
    void Finish() {
        m_Done = true;
        m_Socket.Close();
    }

    std::thread thread;

private:
    Connections& m_Owner;
    Descriptor m_Socket; // closed under m_Owner.m_Lock, which guards all below, too
    bool m_Kept = false;
    bool m_GivenUp = false;
    bool m_Done = false;
};

Connections::Connections(int end, Serve serve, Notify notify)
    : m_End(end), m_Serve(std::move(serve)), m_Notify(std::move(notify)) {}

Connections::~Connections() {
    for (Peer& peer : m_Peers) // nobody adds any more
        peer.thread.join();
}

void Connections::Start(Descriptor socket) {
    try {
        Admit(std::move(socket));
    } catch (const std::exception&) { // no thread, or no memory
        GiveUpOldest();
        Tell("a connection was refused, since threads or memory are short");
    }
}

void Connections::Admit(Descriptor socket) {
    if (!MakeRoom()) {
        Tell("a connection was refused, since there are too many");
        return;
    }
    std::list<Peer> made;
    Peer& peer = made.emplace_back(*this, std::move(socket));
    const Tavix::MutexLock lock(m_Lock);
    peer.thread = std::thread([this, &peer] { Run(peer); });
    m_Peers.splice(m_Peers.end(), made);
}

// Buries who has finished, and gives up the oldest stranger when there are too many; false when that does not help.
bool Connections::MakeRoom() {
    std::list<Peer> finished;
    std::size_t strangers = 0, peers = 0;
    {
        const Tavix::MutexLock lock(m_Lock);
        for (auto peer = m_Peers.begin(); peer != m_Peers.end();) {
            const auto next = std::next(peer);
            if (peer->IsDone()) finished.splice(finished.end(), m_Peers, peer);
            peer = next;
        }
        peers = m_Peers.size();
        strangers = static_cast<std::size_t>(
            std::count_if(m_Peers.begin(), m_Peers.end(), [](const Peer& peer) { return peer.IsStranger(); }));
    }
    for (Peer& peer : finished)
        peer.thread.join();
    if (strangers >= kMostStrangers) GiveUpOldest();
    return peers < kMostPeers;
}

bool Connections::GiveUpOldest() {
    const Tavix::MutexLock lock(m_Lock);
    const auto oldest =
        std::find_if(m_Peers.begin(), m_Peers.end(), [](const Peer& peer) { return peer.IsStranger(); });
    if (oldest == m_Peers.end()) return false;
    oldest->GiveUp();
    return true;
}

void Connections::Run(Peer& peer) {
    try {
        m_Serve(peer);
    } catch (const std::bad_alloc&) {
        Tell("a connection was closed, since memory is short");
    } catch (const std::exception& trouble) {
        Tell(trouble.what());
    }
    const Tavix::MutexLock lock(m_Lock);
    peer.Finish();
}

// What cannot be told for want of memory stays untold.
void Connections::Tell(const char* event) const {
    try {
        m_Notify(event);
    } catch (const std::exception&) {
        return;
    }
}

} // namespace virtualcam
