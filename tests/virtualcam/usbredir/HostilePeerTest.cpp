// Peers that would take all memory, or keep their camera for ever.

#include "virtualcam/usbredir/SessionFixture.h"

#include <fstream>

#include <unistd.h>

namespace virtualcam::usbredir {
namespace {

using namespace test;

/// Memory of this process that is really there; 0 where a sanitizer keeps what was freed.
std::size_t ResidentBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return 0;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
    return 0;
#endif
#endif
    std::ifstream file("/proc/self/statm");
    std::size_t all = 0, resident = 0;
    file >> all >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

struct UsbredirHostility : UsbredirSession {};

TEST_F(UsbredirHostility, CostsNothingByTheLengthsThatItStates) {
    Connect();
    const std::size_t before = ResidentBytes();
    for (std::uint8_t endpoint = 0x81; endpoint <= 0x8F; ++endpoint)
        peer->SendBulk(endpoint, endpoint, kMaximumTransfer);
    for (int i = 0; i < 12; ++i) // those of endpoints that are not there
        EXPECT_EQ(peer->Next("bulk").status, usb_redir_ioerror);
    EXPECT_LT(ResidentBytes(), before + (32u << 20));
}

struct UsbredirHostilityToALargeCamera : UsbredirSession {
    static CameraSettings Large() {
        CameraSettings settings = Fast();
        settings.sensorWidth = 2048;
        settings.sensorHeight = 1024;
        return settings;
    }
    UsbredirHostilityToALargeCamera() : UsbredirSession(Large()) {}
};

TEST_F(UsbredirHostilityToALargeCamera, IsNotAnsweredBeyondWhatItReads) {
    constexpr std::uint32_t kPayload = 2048 * 1024;
    constexpr std::uint64_t kTransfers = 180; // 120 MB, if they were all answered at once
    Connect();
    StartStream(kPayload);
    const std::size_t before = ResidentBytes();
    for (std::uint64_t id = 0; id < kTransfers; ++id)
        peer->SendBulk(id, 0x83, id % 3 == 1 ? kPayload : 1024);
    peer->Flush();
    for (std::uint64_t id = 0; id < kTransfers; ++id) {
        ASSERT_EQ(peer->Next("bulk").id, id);
        ASSERT_LT(ResidentBytes(), before + (64u << 20));
    }
}

TEST_F(UsbredirHostility, IsNotAskedBeyondWhatItReads) {
    Connect();
    const std::size_t before = ResidentBytes();
    std::size_t sent = 0;
    for (bool taken = true; taken && sent < 400000; ++sent) { // each with an answer of 64 bytes and more
        peer->SendControl(sent, {0xC0, 0x5C, 0, 0, 64});
        taken = peer->FlushNow();
    }
    EXPECT_LT(sent, 400000u);
    EXPECT_LT(ResidentBytes(), before + (96u << 20));
    for (std::size_t id = 0; id + 1 < sent; ++id)
        ASSERT_EQ(peer->Next("control").id, id);
}

TEST_F(UsbredirHostility, ClosesOnAPacketThatIsLargerThanAnyMayBe) {
    Connect();
    peer->SendRaw(Hex("65000000 0A000004 0000000000000000 01 00 0000 00000000 0004")); // 64 MiB to come
    const Bytes piece(1u << 20);
    for (int i = 0; i < 40; ++i)
        peer->SendRaw(piece);
    EXPECT_TRUE(peer->IsClosed());
}

struct UsbredirHostilityWithinABriefTimeout : UsbredirSession {
    UsbredirHostilityWithinABriefTimeout() : UsbredirSession(Fast(), milliseconds(200)) {}
};

TEST_F(UsbredirHostilityWithinABriefTimeout, EndsWithAPacketThatIsLeftUnfinished) {
    Connect();
    peer->SendRaw(Hex("65000000 1A000000"));
    EXPECT_TRUE(peer->IsClosed());
}

TEST_F(UsbredirHostilityWithinABriefTimeout, EndsWithAnswersThatAreLeftUnread) {
    constexpr std::uint32_t kPayload = 640 * 480;
    Connect();
    StartStream(kPayload);
    for (std::uint64_t id = 0; id < 300; ++id)
        peer->SendBulk(id, 0x83, id % 3 == 1 ? kPayload : 1024);
    peer->Flush();
    while (!camera.IsFree()) // it goes back when the session ends
        std::this_thread::yield();
}

TEST_F(UsbredirHostilityWithinABriefTimeout, LeavesAnIdlePeerAlone) {
    Connect();
    EXPECT_TRUE(peer->IsSilent(500));
    peer->SendControl(3, {0x80, 0x08, 0, 0, 1});
    EXPECT_EQ(peer->Next("control").status, usb_redir_success);
}

} // namespace
} // namespace virtualcam::usbredir
