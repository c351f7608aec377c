// A server that lends cameras, when memory or threads run out at any moment.

#include <gtest/gtest.h>

#include "support/Shortage.h"
#include "virtualcam/usbip/ServerFixture.h"

namespace virtualcam::usbip {
namespace {

using namespace test;
using shortage::LiveAllocations;
using shortage::MemoryShortage;
using shortage::ThreadShortage;
using shortage::Whose;

/// A client that takes it as it comes when the server closes. Bound to a thread.
class Visitor {
public:
    explicit Visitor(std::uint16_t port) : m_Socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_port = htons(port);
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(m_Socket.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    }
    /// Asks and takes an answer of so many bytes whose status is that at an offset; false when it is a refusal or does
    /// not come.
    bool Ask(const Bytes& request, std::size_t answer, std::size_t statusAt) {
        if (send(m_Socket.Get(), request.data(), request.size(), MSG_NOSIGNAL) < 0) return false;
        Bytes bytes(answer);
        if (!Receive(bytes.data(), statusAt + 4)) return false;
        const bool good = bytes[statusAt] == 0 && bytes[statusAt + 3] == 0; // big-endian, and small or below 0
        return good && Receive(bytes.data() + statusAt + 4, answer - statusAt - 4);
    }

private:
    Descriptor m_Socket;

    bool Receive(std::uint8_t* to, std::size_t count) {
        pollfd polled{m_Socket.Get(), POLLIN, 0};
        for (std::size_t done = 0; done < count;) {
            const ssize_t got = poll(&polled, 1, 5000) > 0 ? recv(m_Socket.Get(), to + done, count - done, 0) : 0;
            if (got <= 0) return false;
            done += static_cast<std::size_t>(got);
        }
        return true;
    }
};

// Lists, imports, reads a register: true when all of it went well.
bool Visit(std::uint16_t port) {
    if (!Visitor(port).Ask(Hex(kList), 12 + 2 * 324, 4)) return false;
    Visitor client(port);
    if (!client.Ask(Hex(Import("1-1")), 320, 4)) return false;
    const Bytes command =
        Hex("00000001 00000001 00010002 00000000 00000001 00000000 00000018 00000000 00000000 00000000"
            "0000000000000000 55335643 0040 0008 0C00 0000 0000000000000000 0000 0400");
    const Bytes fetch = Hex("00000001 00000002 00010002 00000001 00000001 00000000 00000400 00000000 00000000 00000000"
                            "0000000000000000");
    return client.Ask(command, 48, 20) && client.Ask(fetch, 48 + 16, 20);
}

// The camera of the last visitor comes back in its own time.
bool VisitSoon(std::uint16_t port) {
    bool good = false;
    for (int tries = 0; !good && tries < 1000; ++tries)
        good = Visit(port);
    return good;
}

TEST(ServerShortage, OfMemoryAtEveryAllocationCostsAtMostAConnection) {
    RemoteCameras cameras = MakeRemoteCameras(Cameras(2));
    const Server server(cameras, AnyPort(), [](const std::string&) {});
    for (const long count : {1, 4}) {
        ASSERT_TRUE(VisitSoon(server.Port()));
        bool met = true;
        long tried = 0;
        for (long left = 0; met; ++left, ++tried) {
            {
                const MemoryShortage shortage(Whose::Others, left, count);
                Visit(server.Port());
                met = shortage.WasMet();
            }
            ASSERT_TRUE(VisitSoon(server.Port())) << left;
        }
        EXPECT_GT(tried, 10);
    }
}

TEST(ServerShortage, OfThreadsCostsAtMostAConnection) {
    RemoteCameras cameras = MakeRemoteCameras(Cameras(2));
    const Server server(cameras, AnyPort(), [](const std::string&) {});
    {
        const ThreadShortage shortage;
        EXPECT_FALSE(Visit(server.Port()));
    }
    EXPECT_TRUE(VisitSoon(server.Port()));
}

TEST(ServerShortage, OfThreadsWhileItIsMadeLeavesNothingBehind) {
    RemoteCameras cameras = MakeRemoteCameras(Cameras(2));
    const long before = LiveAllocations();
    {
        const ThreadShortage shortage;
        EXPECT_THROW(Server(cameras, AnyPort(), [](const std::string&) {}), std::runtime_error);
        EXPECT_THROW(MakeRemoteCameras(Cameras(2)), std::runtime_error);
    }
    EXPECT_EQ(LiveAllocations(), before);
}

} // namespace
} // namespace virtualcam::usbip
