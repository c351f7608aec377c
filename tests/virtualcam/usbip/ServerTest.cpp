// The server on a real TCP port of this computer.

#include "virtualcam/usbip/ServerFixture.h"

#include <stdexcept>

namespace virtualcam::usbip {
namespace {

using namespace test;

TEST_F(UsbipServer, ListsItsCameras) {
    UsbipClient client = Connect();
    client.Send(kList);
    EXPECT_EQ(ToHex(client.Receive(12)), "011100050000000000000002");
    const Bytes first = client.Receive(312 + 3 * 4);
    ASSERT_EQ(first.size(), 324u);
    EXPECT_EQ(ToHex(Bytes(first.begin() + 256, first.begin() + 260)), "312D3100");
    EXPECT_EQ(ToHex(Bytes(first.begin() + 288, first.end())), "000000010000000200000005"
                                                              "120900010100"
                                                              "EF0201010103"
                                                              "EF050000EF050100EF050200");
    const Bytes second = client.Receive(312 + 3 * 4);
    ASSERT_EQ(second.size(), 324u);
    EXPECT_EQ(ToHex(Bytes(second.begin() + 256, second.begin() + 260)), "312D3200");
    EXPECT_TRUE(client.IsClosed());
}

TEST_F(UsbipServer, LendsACameraToOneClientAtATime) {
    UsbipClient first = Connect(), second = Connect(), third = Connect();
    EXPECT_EQ(StatusOfImport(first, "1-1"), 0u);
    EXPECT_EQ(StatusOfImport(second, "1-1"), 2u);
    EXPECT_TRUE(second.IsClosed());
    EXPECT_EQ(DevicesListed(), 1u);
    EXPECT_EQ(StatusOfImport(third, "1-2"), 0u);
    EXPECT_EQ(ToHex(first.Ask("80 08 00 00 00 00 01 00", 1).data), "01");
    EXPECT_EQ(ToHex(third.Ask("80 08 00 00 00 00 01 00", 1).data), "01");
}

TEST_F(UsbipServer, LendsACameraAgainWhenItsClientHasGone) {
    {
        UsbipClient first = Connect();
        EXPECT_EQ(StatusOfImport(first, "1-1"), 0u);
    }
    AwaitNote("camera 1-1 (serial number 40000001) was detached");
    std::uint32_t status = 2;
    while (status == 2) { // the note comes a moment before the camera is given back
        UsbipClient again = Connect();
        status = StatusOfImport(again, "1-1");
    }
    EXPECT_EQ(status, 0u);
}

TEST_F(UsbipServer, RefusesWhatItDoesNotHave) {
    UsbipClient unknown = Connect(), unplugged = Connect();
    EXPECT_EQ(StatusOfImport(unknown, "7-7"), 4u);
    cameras[1]->GetDevice().Unplug();
    EXPECT_EQ(StatusOfImport(unplugged, "1-2"), 4u);
}

TEST_F(UsbipServer, LendsACameraAgainThatWasUnpluggedAndPlugged) {
    UsbipClient first = Connect();
    ASSERT_EQ(StatusOfImport(first, "1-1"), 0u);
    cameras[0]->GetDevice().Unplug();
    EXPECT_TRUE(first.IsClosed());
    AwaitNote("camera 1-1 (serial number 40000001) was unplugged");
    cameras[0]->GetDevice().Plug();
    std::uint32_t status = 2;
    while (status != 0) {
        UsbipClient again = Connect();
        status = StatusOfImport(again, "1-1");
        ASSERT_TRUE(status == 0 || status == 2 || status == 4);
    }
}

TEST_F(UsbipServer, ClosesOnOtherVersionsAndOperations) {
    for (const char* request : {"0106 8005 00000000", "0111 0042 00000000", "FFFF FFFF FFFFFFFF"}) {
        UsbipClient client = Connect();
        client.Send(request);
        EXPECT_TRUE(client.IsClosed()) << request;
    }
    EXPECT_EQ(DevicesListed(), 2u);
}

TEST_F(UsbipServer, OutlivesClientsThatStopAnywhere) {
    const Bytes whole = Hex(Import("1-1"));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        UsbipClient client = Connect();
        client.Send(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    }
    EXPECT_EQ(DevicesListed(), 2u);
}

TEST_F(UsbipServer, RefusesASecondServerOnItsPort) {
    ServerSettings same;
    same.port = server.Port();
    try {
        Server second(cameras, same, [](const std::string&) {});
        FAIL() << "two servers on one port";
    } catch (const std::runtime_error& problem) {
        EXPECT_EQ(std::string(problem.what()),
                  "cannot listen on 127.0.0.1, port " + std::to_string(server.Port()) + ": Address already in use");
    }
}

TEST(UsbipServerEnd, EndsTheSessionsOfItsClients) {
    RemoteCameras cameras = MakeRemoteCameras(Cameras(1));
    auto server = std::make_unique<Server>(cameras, AnyPort(), [](const std::string&) {});
    UsbipClient client = ConnectTo(server->Port());
    client.Send(Import("1-1"));
    ASSERT_EQ(client.Receive(320).size(), 320u);
    server.reset();
    EXPECT_TRUE(client.IsClosed());
}

} // namespace
} // namespace virtualcam::usbip
