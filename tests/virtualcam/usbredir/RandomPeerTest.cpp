// Peers that say anything: each ends, and its camera serves the next one. TAVIX_LENGTHY makes it many more.

#include "virtualcam/usbredir/SessionFixture.h"

#include <cstdlib>
#include <random>

#include "virtualcam/support/SmallCamera.h"

namespace virtualcam::usbredir {
namespace {

using namespace test;

/// What a peer might say after its hello, by a number. Bound to a thread.
class Babble {
public:
    explicit Babble(unsigned seed) : m_Random(seed) {}

    Bytes Conversation() {
        Bytes all;
        for (unsigned packets = 1 + Below(30); packets != 0; --packets)
            AddPacket(all);
        if (Below(2) != 0) all.resize(Below(static_cast<unsigned>(all.size()) + 1));
        return all;
    }

private:
    std::mt19937 m_Random;

    unsigned Below(unsigned limit) { return static_cast<unsigned>(m_Random() % limit); }
    void AddPacket(Bytes& to) {
        static const std::uint32_t sizes[] = {64, 10, 0, 0, 1, 0, 3, 1, 2, 3, 1, 3}; // of hello and so on
        const bool data = Below(2) != 0;
        const std::uint32_t type = data ? usb_redir_control_packet + Below(5) : Below(30);
        const std::uint32_t payload = data ? Below(200) : 0;
        const std::uint32_t header = type == 100 ? 10 : type == 101 ? 10 : type < 12 ? sizes[type] : Below(20);
        const std::uint32_t length = Below(10) == 0 ? Below(100) : header + payload;
        Append<std::uint32_t>(to, Below(50) == 0 ? static_cast<std::uint32_t>(m_Random()) : type);
        Append<std::uint32_t>(to, Below(50) == 0 ? static_cast<std::uint32_t>(m_Random()) : length);
        Append<std::uint64_t>(to, Below(20));
        for (std::uint32_t i = 0; i < length; ++i)
            to.push_back(static_cast<std::uint8_t>(Below(3) == 0 ? m_Random() : Below(2) == 0 ? 0x83 : 0));
    }
};

std::size_t Count(std::size_t usual) {
    return std::getenv("TAVIX_LENGTHY") != nullptr ? 100 * usual : usual;
}

TEST(UsbredirBabble, EndsAndLeavesTheCameraToTheNextPeer) {
    RemoteCamera camera(virtualcam::test::Small(), 0);
    const Descriptor end(eventfd(0, EFD_CLOEXEC));
    for (unsigned seed = 0; seed < Count(300); ++seed) {
        SCOPED_TRACE(seed);
        {
            SocketPair sockets;
            Peer peer(std::move(sockets.ours));
            peer.Flush();
            peer.SendRaw(Babble(seed).Conversation());
            peer.Shut();
            Session(camera, sockets.theirs.Get(), end.Get(), kSilent, {}, milliseconds(100)).Run();
        }
        ASSERT_TRUE(camera.IsFree());
        std::uint8_t configuration[1] = {};
        const usb::ControlSetup question{0x80, 0x08, 0, 0, 1};
        ASSERT_EQ(camera.GetDevice().Control(question, configuration).status, PipeStatus::Complete);
    }
}

} // namespace
} // namespace virtualcam::usbredir
