#pragma once
// A session with a peer of its own.

#include "virtualcam/usbredir/Peer.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include <sys/eventfd.h>

#include "virtualcam/usbredir/Session.h"

namespace virtualcam::usbredir::test {

using virtualcam::test::Hex;
using virtualcam::test::ToHex;

inline CameraSettings Fast() {
    CameraSettings settings = NumberedCamera(0);
    settings.sensorWidth = 640;
    settings.sensorHeight = 480;
    settings.frameRateEnable = false;
    return settings;
}

inline const Notify kSilent = [](const std::string&) {};

/// A camera, its session in a thread, and a peer.
class UsbredirSession : public testing::Test {
protected:
    explicit UsbredirSession(const CameraSettings& settings = Fast(), milliseconds timeout = kTimeout)
        : camera(settings, 0) {
        peer.emplace(std::move(m_Sockets.ours));
        m_Thread = std::thread([this, timeout] {
            Session(camera, m_Sockets.theirs.Get(), m_End.Get(), kSilent, {}, timeout).Run();
            m_Sockets.theirs.Close();
        });
    }
    ~UsbredirSession() override {
        eventfd_write(m_End.Get(), 1);
        m_Thread.join();
    }
    void Connect() { EXPECT_EQ(peer->Next("connect").kind, "connect"); }
    void StartStream(std::uint32_t payload) {
        const std::uint32_t sizes[] = {1024, payload, 1, 0, 0, 1024};
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_EQ(peer->Write32(0x20018 + 4 * i, sizes[i]), 0);
        EXPECT_EQ(peer->Write32(0x20004, 1), 0);
        EXPECT_EQ(peer->Write32(0x102004, 1), 0);
    }

    RemoteCamera camera;
    std::optional<Peer> peer;

private:
    SocketPair m_Sockets;
    Descriptor m_End{eventfd(0, EFD_CLOEXEC)};
    std::thread m_Thread;
};

} // namespace virtualcam::usbredir::test
