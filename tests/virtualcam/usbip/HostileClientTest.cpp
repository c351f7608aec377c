// Clients that would keep a server from serving others.

#include "virtualcam/usbip/ServerFixture.h"

#include <atomic>

#include <sys/syscall.h>

namespace {
std::atomic<int> g_refusedAccepts{0};
}

// Stands before the system's. While refusals are due, it has no descriptor left.
extern "C" int accept4(int socket, sockaddr* name, socklen_t* length, int flags) {
    if (g_refusedAccepts > 0 && g_refusedAccepts-- > 0) {
        errno = EMFILE;
        return -1;
    }
    return static_cast<int>(syscall(SYS_accept4, socket, name, length, flags));
}

namespace virtualcam::usbip {
namespace {

using namespace test;

struct UsbipStrangers : UsbipServer {};

TEST_F(UsbipStrangers, AreGivenUpForNewerOnesOldestFirst) {
    std::vector<UsbipClient> idle;
    for (std::size_t i = 0; i < Connections::kMostStrangers; ++i)
        idle.push_back(Connect());
    EXPECT_EQ(DevicesListed(), 2u);
    EXPECT_TRUE(idle[0].IsClosed());
    EXPECT_TRUE(idle[2].IsSilent());
}

TEST_F(UsbipStrangers, DoNotKeepOthersOutHoweverMany) {
    std::vector<UsbipClient> idle;
    for (std::size_t i = 0; i < 4 * Connections::kMostStrangers; ++i) {
        idle.push_back(Connect());
        idle.back().Send("01");
    }
    EXPECT_EQ(DevicesListed(), 2u);
}

TEST_F(UsbipStrangers, DoNotCostAClientItsCamera) {
    UsbipClient client = Connect();
    ASSERT_EQ(StatusOfImport(client, "1-1"), 0u);
    std::vector<UsbipClient> idle;
    for (std::size_t i = 0; i < 2 * Connections::kMostStrangers; ++i)
        idle.push_back(Connect());
    EXPECT_EQ(DevicesListed(), 1u);
    EXPECT_EQ(ToHex(client.Ask("80 08 00 00 00 00 01 00", 1).data), "01");
}

TEST_F(UsbipStrangers, GoWhenDescriptorsAreShort) {
    UsbipClient idle = Connect();
    EXPECT_EQ(DevicesListed(), 2u); // it has been accepted before this one
    g_refusedAccepts = 1;
    UsbipClient client = Connect();
    EXPECT_TRUE(idle.IsClosed());
    client.Send(kList);
    EXPECT_EQ(client.Receive(12).size(), 12u);
}

TEST_F(UsbipStrangers, AreNotTriedAgainAtOnceWhenDescriptorsAreShort) {
    constexpr int kTries = 3;
    const TimePoint begin = Clock::Now();
    g_refusedAccepts = kTries;
    EXPECT_EQ(DevicesListed(), 2u);
    EXPECT_GE(Clock::Now() - begin, milliseconds(kTries * 10));
}

struct UsbipServerWithABriefTimeout : UsbipServer {
    UsbipServerWithABriefTimeout() : UsbipServer(milliseconds(200)) {}
};

TEST_F(UsbipServerWithABriefTimeout, ClosesOnARequestThatComesByteByByte) {
    UsbipClient client = Connect();
    const Bytes request = Hex(Import("1-1"));
    std::size_t sent = 0;
    while (sent < request.size() && client.IsSilent()) // waits a little
        client.Send(Bytes{request[sent++]});
    EXPECT_LT(sent, request.size());
    EXPECT_EQ(DevicesListed(), 2u);
}

TEST_F(UsbipServerWithABriefTimeout, DetachesAClientThatNeverSaysAnything) {
    UsbipClient client = Connect();
    ASSERT_EQ(StatusOfImport(client, "1-1"), 0u);
    EXPECT_TRUE(client.IsClosed());
    AwaitNote("camera 1-1 (serial number 40000001) was detached, since its client was silent for too long");
}

TEST_F(UsbipServerWithABriefTimeout, DetachesAClientThatLeavesACommandUnfinished) {
    UsbipClient client = Connect();
    ASSERT_EQ(StatusOfImport(client, "1-1"), 0u);
    EXPECT_EQ(ToHex(client.Ask("80 08 00 00 00 00 01 00", 1).data), "01");
    client.Send("00000001 0000");
    EXPECT_TRUE(client.IsClosed());
    AwaitNote("since its client was silent for too long");
}

TEST_F(UsbipServerWithABriefTimeout, DetachesAClientThatReadsNothing) {
    UsbipClient client = Connect();
    ASSERT_EQ(StatusOfImport(client, "1-1"), 0u);
    constexpr std::uint32_t kPayload = 1280 * 1024;
    const std::uint32_t sizes[] = {1024, kPayload, 1, 0, 0, 1024};
    for (std::uint32_t i = 0; i < 6; ++i)
        client.Write32(0x20018 + 4 * i, sizes[i]);
    client.Write32(0x102014, 0); // as fast as the host takes frames
    client.Write32(0x20004, 1);
    client.Write32(0x102004, 1);
    for (std::uint32_t number = 0; number < 180; ++number)
        client.Submit(number, /*in=*/true, 3, number % 3 == 1 ? kPayload : 1024);
    AwaitNote("since its client was silent for too long");
}

TEST_F(UsbipServerWithABriefTimeout, LeavesAnIdleClientAloneThatHasSpoken) {
    UsbipClient client = Connect();
    ASSERT_EQ(StatusOfImport(client, "1-1"), 0u);
    EXPECT_EQ(ToHex(client.Ask("80 08 00 00 00 00 01 00", 1).data), "01");
    UsbipClient idle = Connect();
    EXPECT_TRUE(idle.IsClosed()); // as much time has passed
    EXPECT_EQ(ToHex(client.Ask("80 08 00 00 00 00 01 00", 1).data), "01");
}

} // namespace
} // namespace virtualcam::usbip
