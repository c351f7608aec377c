#pragma once
// A server on a real TCP port of this computer, and what it notes.

#include "virtualcam/usbip/UsbipClient.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>

#include <netinet/in.h>

#include "virtualcam/usbip/Server.h"

namespace virtualcam::usbip::test {

inline BackendSettings Cameras(unsigned count) {
    BackendSettings settings;
    for (unsigned i = 0; i < count; ++i)
        settings.cameras.push_back(NumberedCamera(i));
    return settings;
}

inline ServerSettings AnyPort(milliseconds timeout = kTimeout) {
    ServerSettings settings;
    settings.port = 0;
    settings.timeout = timeout;
    return settings;
}

inline const std::string kList = "0111 8005 00000000";

inline std::string Import(const std::string& busId) {
    Bytes field(busId.begin(), busId.end());
    field.resize(32);
    return "0111 8003 00000000" + ToHex(field);
}

inline UsbipClient ConnectTo(std::uint16_t port) {
    Descriptor made(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = htons(port);
    name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(made.Get(), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
    return UsbipClient(std::move(made));
}

/// Two cameras on a free port of this computer.
class UsbipServer : public testing::Test {
protected:
    explicit UsbipServer(milliseconds timeout = kTimeout) : server(cameras, AnyPort(timeout), TakeNotes()) {}

    UsbipClient Connect() { return ConnectTo(server.Port()); }
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

    Notify TakeNotes() {
        return [this](const std::string& line) {
            const std::lock_guard<std::mutex> lock(m_Lock);
            m_Notes.push_back(line);
            m_Changed.notify_all();
        };
    }

protected:
    RemoteCameras cameras = MakeRemoteCameras(Cameras(2));
    Server server;
};

} // namespace virtualcam::usbip::test
