// Peers of a server's socket, friendly and hostile.

#include "virtualcam/usbredir/SessionFixture.h"

#include <sys/un.h>
#include <unistd.h>

#include "virtualcam/usbredir/Server.h"

namespace virtualcam::usbredir {
namespace {

using namespace test;

class UsbredirServer : public testing::Test {
protected:
    Descriptor Connect() {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        m_Path.copy(name.sun_path, sizeof name.sun_path - 1);
        Descriptor made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(connect(made.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
        return made;
    }
    void Serve(milliseconds timeout = kTimeout) { m_Server.emplace(m_Cameras, m_Path, kSilent, timeout); }

private:
    const std::string m_Path = testing::TempDir() + "tavix-usbredir-" + std::to_string(getpid());
    RemoteCameras m_Cameras = MakeRemoteCameras({{NumberedCamera(0), NumberedCamera(1)}, 0});
    std::optional<Server> m_Server;
};

// True when the server closes the connection.
bool IsClosed(const Descriptor& connection) {
    std::uint8_t byte = 0;
    pollfd polled{connection.Get(), POLLIN, 0};
    return poll(&polled, 1, 5000) > 0 && recv(connection.Get(), &byte, 1, 0) <= 0;
}

TEST_F(UsbredirServer, GivesEachConnectionACameraOfItsOwnAndRefusesFurtherOnes) {
    Serve();
    Peer first(Connect()), second(Connect());
    EXPECT_EQ(first.Next("connect").kind, "connect");
    EXPECT_EQ(second.Next("connect").kind, "connect");
    Peer third(Connect());
    EXPECT_TRUE(third.IsClosed());
}

TEST_F(UsbredirServer, GivesNoCameraToWhoSaysNothing) {
    Serve();
    const Descriptor silent = Connect(), alsoSilent = Connect(), again = Connect();
    Peer peer(Connect());
    EXPECT_EQ(peer.Next("connect").kind, "connect");
}

TEST_F(UsbredirServer, ClosesOnWhoSaysNothingForTooLong) {
    Serve(milliseconds(100));
    EXPECT_TRUE(IsClosed(Connect()));
}

TEST_F(UsbredirServer, ClosesOnWhoSaysSomethingElseFirst) {
    Serve();
    const Descriptor stranger = Connect();
    const Bytes request = Hex("65000000 50000000 00000000");
    EXPECT_EQ(send(stranger.Get(), request.data(), request.size(), MSG_NOSIGNAL), 12);
    EXPECT_TRUE(IsClosed(stranger));
}

} // namespace
} // namespace virtualcam::usbredir
