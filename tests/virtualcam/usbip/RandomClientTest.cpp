// Clients that say anything: each ends, and its camera serves the next one. TAVIX_LENGTHY makes it many more.

#include "virtualcam/usbip/UsbipClient.h"

#include <cstdlib>
#include <random>

#include "virtualcam/support/SmallCamera.h"
#include "virtualcam/usbip/Session.h"

namespace virtualcam::usbip {
namespace {

using namespace test;
using virtualcam::test::Small;

/// What a client might say, by a number. Bound to a thread.
class Babble {
public:
    explicit Babble(unsigned seed) : m_Random(seed) {}

    Bytes Conversation() {
        Bytes all;
        for (unsigned commands = 1 + Below(30); commands != 0; --commands)
            AddCommand(all);
        if (Below(2) != 0) all.resize(Below(static_cast<unsigned>(all.size()) + 1));
        return all;
    }

private:
    std::mt19937 m_Random;

    unsigned Below(unsigned limit) { return static_cast<unsigned>(m_Random() % limit); }
    void AddWord(Bytes& to, std::uint32_t word) {
        if (Below(100) == 0) word = static_cast<std::uint32_t>(m_Random());
        for (int shift = 24; shift >= 0; shift -= 8)
            to.push_back(static_cast<std::uint8_t>(word >> shift));
    }
    void AddCommand(Bytes& to) {
        const std::uint32_t code = 1 + Below(8) / 7, in = Below(2), endpoint = Below(5);
        const std::uint32_t length = Below(4) == 0 ? Below(70000) : Below(1100);
        for (const std::uint32_t word : {code, Below(40), 0x10002u, in, endpoint, Below(40), length, 0u, 0u, 0u})
            AddWord(to, word);
        const std::size_t setup = to.size();
        for (unsigned i = 0; i < 8; ++i)
            to.push_back(static_cast<std::uint8_t>(m_Random()));
        if (Below(4) != 0) to[setup] = static_cast<std::uint8_t>(in << 7 | Below(3));
        if (Below(4) != 0) to[setup + 1] = static_cast<std::uint8_t>(Below(12));
        if (code != 1 || in != 0) return;
        const Bytes read = Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400");
        for (std::size_t i = 0; i < length; ++i)
            to.push_back(static_cast<std::uint8_t>(i < read.size() && Below(50) != 0 ? read[i] : m_Random()));
    }
};

std::size_t Count(std::size_t usual) {
    return std::getenv("TAVIX_LENGTHY") != nullptr ? 100 * usual : usual;
}

TEST(UsbipBabble, EndsAndLeavesTheCameraToTheNextClient) {
    RemoteCamera camera(Small(), 0);
    for (unsigned seed = 0; seed < Count(300); ++seed) {
        SCOPED_TRACE(seed);
        ASSERT_TRUE(camera.Take());
        {
            SocketPair sockets;
            const Bytes bytes = Babble(seed).Conversation();
            const int size = 1 << 20;
            setsockopt(sockets.ours.Get(), SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
            (void)send(sockets.ours.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            shutdown(sockets.ours.Get(), SHUT_WR);
            (void)Session(camera, sockets.theirs.Get(), milliseconds(100)).Run();
        }
        camera.GiveBack();
        std::uint8_t configuration[1] = {};
        const usb::ControlSetup question{0x80, 0x08, 0, 0, 1};
        ASSERT_EQ(camera.GetDevice().Control(question, configuration).status, PipeStatus::Complete);
        ASSERT_TRUE(camera.IsFree());
    }
}

} // namespace
} // namespace virtualcam::usbip
