// The server on a real TCP port of this computer.

#include "virtualcam/usbip/UsbipClient.h"

#include <condition_variable>
#include <mutex>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include "virtualcam/usbip/Server.h"

namespace virtualcam::usbip {
namespace {

using namespace test;

BackendSettings Cameras(unsigned count) {
    BackendSettings settings;
    for (unsigned i = 0; i < count; ++i)
        settings.cameras.push_back(NumberedCamera(i));
    return settings;
}

ServerSettings AnyPort() {
    ServerSettings settings;
    settings.port = 0;
    return settings;
}

const std::string kList = "0111 8005 00000000";

std::string Import(const std::string& busId) {
    Bytes field(busId.begin(), busId.end());
    field.resize(32);
    return "0111 8003 00000000" + ToHex(field);
}

class UsbipServer : public testing::Test {
protected:
    UsbipClient Connect() {
        Descriptor made(socket(AF_INET, SOCK_STREAM, 0));
        sockaddr_in name{};
        name.sin_family = AF_INET;
        name.sin_port = htons(server.Port());
        name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(connect(made.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
        return UsbipClient(std::move(made));
    }
    // Status of the reply to an import; 0 leaves the connection in use.
    std::uint32_t StatusOfImport(UsbipClient& client, const std::string& busId) {
        client.Send(Import(busId));
        const Bytes head = client.Receive(8);
        if (head.size() != 8) return 0xFFFF;
        if (head[7] == 0) {
            EXPECT_EQ(client.Receive(312).size(), 312u);
        }
        return head[7];
    }
    std::uint32_t DevicesListed() {
        UsbipClient client = Connect();
        client.Send(kList);
        const Bytes head = client.Receive(12);
        return head.size() == 12 ? head[11] : 0xFFFF;
    }
    void AwaitNote(const std::string& note) {
        std::unique_lock<std::mutex> lock(m_Lock);
        const bool came = m_Changed.wait_for(lock, std::chrono::seconds(5), [this, &note] {
            return std::any_of(m_Notes.begin(), m_Notes.end(),
                               [&note](const std::string& line) { return line.find(note) != std::string::npos; });
        });
        EXPECT_TRUE(came) << note;
    }

private:
    std::mutex m_Lock;
    std::condition_variable m_Changed;
    std::vector<std::string> m_Notes; // guarded by m_Lock

protected:
    RemoteCameras cameras = MakeRemoteCameras(Cameras(2));
    Server server{cameras, AnyPort(), [this](const std::string& line) {
                      const std::lock_guard<std::mutex> lock(m_Lock);
                      m_Notes.push_back(line);
                      m_Changed.notify_all();
                  }};
};

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
    Descriptor made(socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(server->Port());
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(connect(made.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    UsbipClient client(std::move(made));
    client.Send(Import("1-1"));
    ASSERT_EQ(client.Receive(320).size(), 320u);
    server.reset();
    EXPECT_TRUE(client.IsClosed());
}

} // namespace
} // namespace virtualcam::usbip
