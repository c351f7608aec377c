// A client's transfers, from the first descriptor to the unplug.

#include "virtualcam/usbip/UsbipClient.h"

#include <cerrno>
#include <map>
#include <optional>
#include <thread>

#include "virtualcam/usbip/Session.h"

namespace virtualcam::usbip {
namespace {

using namespace test;

CameraSettings Fast() {
    CameraSettings settings = NumberedCamera(0);
    settings.sensorWidth = 640;
    settings.sensorHeight = 480;
    settings.frameRateEnable = false;
    return settings;
}

// A camera, its session in a thread, and a client.
class UsbipSession : public testing::Test {
protected:
    explicit UsbipSession(const CameraSettings& settings = Fast()) : camera(settings, 0) {
        EXPECT_TRUE(camera.Take());
        client.emplace(std::move(m_Sockets.ours));
        m_Thread = std::thread([this] {
            Session session(camera, m_Sockets.theirs.Get());
            m_End = session.Run();
            m_Sockets.theirs.Close();
        });
    }
    ~UsbipSession() override {
        client.reset();
        camera.Close();
        if (m_Thread.joinable()) m_Thread.join();
    }
    // How the session ended; waits for it.
    SessionEnd End() {
        m_Thread.join();
        return m_End;
    }
    // Leader, one payload transfer, trailer.
    void StartStream(std::uint32_t payload) {
        client->Write32(0x20018, 1024);
        client->Write32(0x2001C, payload);
        client->Write32(0x20020, 1);
        client->Write32(0x20024, 0);
        client->Write32(0x20028, 0);
        client->Write32(0x2002C, 1024);
        client->Write32(0x20004, 1);
        client->Write32(0x102004, 1);
    }

    RemoteCamera camera;
    std::optional<UsbipClient> client;

private:
    SocketPair m_Sockets;
    SessionEnd m_End = SessionEnd::ClientGone;
    std::thread m_Thread;
};

TEST_F(UsbipSession, AnswersDescriptorRequests) {
    const Reply device = client->Ask("80 06 00 01 00 00 12 00", 18);
    EXPECT_EQ(device.code, 3u);
    EXPECT_EQ(device.number, 0xC0u);
    EXPECT_EQ(device.status, 0);
    EXPECT_EQ(ToHex(device.data), "12010003EF0201090912010000010102030"
                                  "1");
    const Reply head = client->Ask("80 06 00 02 00 00 09 00", 9);
    EXPECT_EQ(head.actual, 9u);
    EXPECT_EQ(head.data[1], 0x02);
    const Reply text = client->Ask("80 06 02 03 09 04 FF 00", 255);
    EXPECT_EQ(ToHex(text.data), "1003560043002D003100330030003000");
}

TEST_F(UsbipSession, StallsWhatTheDeviceDoesNotKnow) {
    const Reply reply = client->Ask("80 06 00 77 00 00 12 00", 18);
    EXPECT_EQ(reply.status, -EPIPE);
    EXPECT_EQ(reply.actual, 0u);
}

TEST_F(UsbipSession, ReportsAControlAnswerThatIsLongerThanItsBuffer) {
    const Reply reply = client->Ask("80 06 00 01 00 00 12 00", 8);
    EXPECT_EQ(reply.status, -EOVERFLOW);
    EXPECT_EQ(reply.actual, 0u);
}

TEST_F(UsbipSession, TakesControlDataOutAndGivesItBack) {
    client->Submit(1, /*in=*/false, 0, 4, Hex("DEADBEEF"), "40 5C 00 00 00 00 04 00");
    const Reply written = client->Next(/*in=*/false);
    EXPECT_EQ(written.status, 0);
    EXPECT_EQ(written.actual, 4u);
    EXPECT_EQ(ToHex(client->Ask("C0 5C 00 00 00 00 04 00", 4).data), "DEADBEEF");
}

TEST_F(UsbipSession, CarriesARegisterRead) {
    const Bytes answer = client->Command(Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400"));
    EXPECT_EQ(ToHex(answer), "553356430000010804000000"
                             "03000100");
}

TEST_F(UsbipSession, LetsATransferWaitForItsCommand) {
    client->Submit(5, /*in=*/true, 1, 1024);
    EXPECT_TRUE(client->IsSilent());
    const Bytes command = Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400");
    client->Submit(6, /*in=*/false, 1, 24, command);
    EXPECT_EQ(client->Next(/*in=*/false).number, 6u);
    const Reply reply = client->Next(/*in=*/true);
    EXPECT_EQ(reply.number, 5u);
    EXPECT_EQ(reply.actual, 16u);
}

TEST_F(UsbipSession, StreamsBlocksIntoQueuedTransfers) {
    constexpr std::uint32_t kPayload = 640 * 480;
    StartStream(kPayload);
    std::uint32_t number = 100;
    for (int block = 0; block < 3; ++block)
        for (const std::uint32_t length : {1024u, kPayload, 1024u})
            client->Submit(number++, /*in=*/true, 3, length);
    for (std::uint8_t block = 0; block < 3; ++block) {
        const Reply leader = client->Next(/*in=*/true), payload = client->Next(/*in=*/true),
                    trailer = client->Next(/*in=*/true);
        EXPECT_EQ(leader.number, 100u + 3u * block);
        ASSERT_EQ(leader.actual, 52u);
        EXPECT_EQ(ToHex(Bytes(leader.data.begin(), leader.data.begin() + 4)), "5533564C");
        EXPECT_EQ(leader.data[8], block);
        EXPECT_EQ(payload.actual, kPayload);
        ASSERT_EQ(trailer.actual, 32u);
        EXPECT_EQ(ToHex(Bytes(trailer.data.begin(), trailer.data.begin() + 4)), "55335654");
        EXPECT_EQ(trailer.data[8], block);
    }
}

struct UsbipSessionOfTwoSensors : UsbipSession {
    static CameraSettings TwoSensors() {
        CameraSettings settings = Fast();
        settings.streams = 2;
        return settings;
    }
    UsbipSessionOfTwoSensors() : UsbipSession(TwoSensors()) {}
};

TEST_F(UsbipSessionOfTwoSensors, StreamsFromBothAtOnce) {
    constexpr std::uint32_t kPayload = 640 * 480;
    const std::uint32_t sizes[] = {1024, kPayload, 1, 0, 0, 1024};
    for (std::uint32_t i = 0; i < 6; ++i)
        client->Write32(0x20048 + 4 * i, sizes[i]);
    client->Write32(0x20034, 1);
    StartStream(kPayload);
    for (std::uint32_t number = 100; number < 106; ++number) {
        client->Submit(number, /*in=*/true, 3, number % 3 == 2 ? kPayload : 1024);
        client->Submit(number + 100, /*in=*/true, 5, number % 3 == 2 ? kPayload : 1024);
    }
    std::map<std::uint32_t, Reply> replies;
    for (int i = 0; i < 12; ++i) {
        const Reply reply = client->Next(/*in=*/true);
        replies[reply.number] = reply;
    }
    for (const std::uint32_t first : {100u, 200u}) {
        ASSERT_EQ(replies.count(first + 5), 1u);
        EXPECT_EQ(ToHex(replies[first].data).substr(0, 24), "5533564C0000340000000000");
        EXPECT_EQ(ToHex(replies[first + 3].data).substr(0, 24), "5533564C0000340001000000");
        EXPECT_EQ(replies[first + 1].actual, kPayload);
    }
    EXPECT_NE(replies[101].data, replies[201].data);
}

TEST_F(UsbipSession, UnlinksAPendingTransferAndNeverAnswersIt) {
    client->Submit(10, /*in=*/true, 3, 1024);
    client->Submit(11, /*in=*/true, 3, 1024);
    client->Unlink(12, 10);
    const Reply unlinked = client->Next(/*in=*/false);
    EXPECT_EQ(unlinked.code, 4u);
    EXPECT_EQ(unlinked.number, 12u);
    EXPECT_EQ(unlinked.status, -ECONNRESET);
    client->Unlink(13, 11);
    EXPECT_EQ(client->Next(/*in=*/false).status, -ECONNRESET);
    EXPECT_TRUE(client->IsSilent());
}

TEST_F(UsbipSession, AnswersAnUnlinkThatComesTooLate) {
    client->Ask("80 06 00 01 00 00 12 00", 18);
    client->Unlink(14, 0xC0);
    const Reply reply = client->Next(/*in=*/false);
    EXPECT_EQ(reply.code, 4u);
    EXPECT_EQ(reply.status, 0);
}

TEST_F(UsbipSession, StallsAHaltedEndpointUntilItIsCleared) {
    client->Submit(1, /*in=*/false, 0, 0, {}, "02 03 00 00 83 00 00 00");
    EXPECT_EQ(client->Next(/*in=*/false).status, 0);
    client->Submit(2, /*in=*/true, 3, 1024);
    EXPECT_EQ(client->Next(/*in=*/true).status, -EPIPE);
    client->Submit(3, /*in=*/false, 0, 0, {}, "02 01 00 00 83 00 00 00");
    EXPECT_EQ(client->Next(/*in=*/false).status, 0);
    client->Submit(4, /*in=*/true, 3, 1024);
    EXPECT_TRUE(client->IsSilent());
}

TEST_F(UsbipSession, ReportsMoreDataThanWereAskedFor) {
    StartStream(1024);
    client->Submit(1, /*in=*/true, 3, 20); // a leader has 52 bytes
    const Reply reply = client->Next(/*in=*/true);
    EXPECT_EQ(reply.status, -EOVERFLOW);
    EXPECT_LE(reply.actual, 20u);
}

TEST_F(UsbipSession, RefusesAnEndpointThatIsNotThere) {
    client->Submit(1, /*in=*/true, 9, 1024);
    EXPECT_EQ(client->Next(/*in=*/true).status, -EPROTO);
    client->Submit(2, /*in=*/false, 9, 2, Hex("0102"));
    EXPECT_EQ(client->Next(/*in=*/false).status, -EPROTO);
}

TEST_F(UsbipSession, EndsTheConnectionWhenTheCameraIsUnplugged) {
    client->Submit(1, /*in=*/true, 3, 1024);
    EXPECT_TRUE(client->IsSilent());
    camera.GetDevice().Unplug();
    EXPECT_TRUE(client->IsClosed());
    EXPECT_EQ(End(), SessionEnd::CameraGone);
}

TEST_F(UsbipSession, EndsWhenTheClientGoes) {
    client->Submit(1, /*in=*/true, 3, 1024);
    client->Close();
    EXPECT_EQ(End(), SessionEnd::ClientGone);
}

TEST_F(UsbipSession, EndsWhenTheCameraIsUnpluggedInTheMiddleOfAHeader) {
    client->Send("00000001 0000");
    camera.GetDevice().Unplug();
    EXPECT_TRUE(client->IsClosed());
    EXPECT_EQ(End(), SessionEnd::CameraGone);
}

TEST_F(UsbipSession, EndsWhenAClientThatReadsNothingIsUnplugged) {
    StartStream(640 * 480);
    for (std::uint32_t number = 1; number <= 60; number += 3)
        for (const std::uint32_t length : {1024u, 640u * 480u, 1024u})
            client->Submit(number, /*in=*/true, 3, length);
    camera.GetDevice().Unplug();
    EXPECT_EQ(End(), SessionEnd::CameraGone);
}

struct Violation {
    const char* name;
    const char* header;
};

void PrintTo(const Violation& violation, std::ostream* out) {
    *out << violation.name;
}

class UsbipViolation : public UsbipSession, public testing::WithParamInterface<Violation> {};

TEST_P(UsbipViolation, EndsTheConnection) {
    client->Send(std::string(GetParam().header) + std::string(2 * 48 - Hex(GetParam().header).size() * 2, '0'));
    EXPECT_TRUE(client->IsClosed());
    EXPECT_EQ(End(), SessionEnd::ProtocolViolated);
}

INSTANTIATE_TEST_SUITE_P(
    Each, UsbipViolation,
    testing::Values(Violation{"UnknownCommand", "00000009 00000001 00010002"},
                    Violation{"EndpointSixteen", "00000001 00000001 00010002 00000001 00000010"},
                    Violation{"HugeIn", "00000001 00000001 00010002 00000001 00000003 00000000 7FFFFFFF"},
                    Violation{"HugeOut", "00000001 00000001 00010002 00000000 00000001 00000000 FFFFFFFF"},
                    Violation{"Isochronous",
                              "00000001 00000001 00010002 00000001 00000003 00000000 00000400 00000000 00000008"},
                    Violation{"SetupAgainstDirection", "00000001 00000001 00010002 00000000 00000000 00000000 00000000"
                                                       "00000000 00000000 00000000 8006000100001200"}),
    [](const auto& instance) { return instance.param.name; });

TEST_F(UsbipSession, EndsWhenTooManyTransfersAreQueued) {
    for (std::uint32_t number = 0; number <= kMaximumQueued; ++number)
        client->Submit(number, /*in=*/true, 3, 1024);
    EXPECT_TRUE(client->IsClosed());
    EXPECT_EQ(End(), SessionEnd::ProtocolViolated);
}

TEST_F(UsbipSession, RefusesWhatIsBeyondItsBudgetAndGoesOn) {
    const Bytes command = Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400");
    std::uint32_t number = 0;
    do // until acknowledges that nobody fetches leave no room for more
        client->Submit(++number, /*in=*/false, 1, 24, command);
    while (!client->IsSilent() && client->Next(/*in=*/false).status == 0);
    const Bytes large(40u << 20);
    client->Submit(1001, /*in=*/false, 1, static_cast<std::uint32_t>(large.size()), large);
    EXPECT_TRUE(client->IsSilent());
    client->Submit(1002, /*in=*/false, 1, static_cast<std::uint32_t>(large.size()), large);
    const Reply refused = client->Next(/*in=*/false);
    EXPECT_EQ(refused.number, 1002u);
    EXPECT_EQ(refused.status, -ENOMEM);
    EXPECT_EQ(ToHex(client->Ask("80 08 00 00 00 00 01 00", 1).data), "01");
}

// Every truncation of a conversation, each with a session of its own.
TEST(UsbipTruncation, EndsTheSessionWhereverTheClientStops) {
    const Bytes whole = Hex("00000001 00000001 00010002 00000000 00000001 00000000 00000018 00000000 00000000 00000000"
                            "0000000000000000 55335643 0040 0008 0C00 0000 0000000000000000 0000 0400");
    RemoteCamera camera(Fast(), 0);
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        ASSERT_TRUE(camera.Take());
        SocketPair sockets;
        UsbipClient client(std::move(sockets.ours));
        client.Send(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        client.Shut();
        EXPECT_EQ(Session(camera, sockets.theirs.Get()).Run(), SessionEnd::ClientGone) << length;
        camera.GiveBack();
    }
}

} // namespace
} // namespace virtualcam::usbip
