// A camera as the peer of a usbredir connection sees it.

#include "virtualcam/usbredir/SessionFixture.h"

#include <map>

namespace virtualcam::usbredir {
namespace {

using namespace test;

TEST_F(UsbredirSession, TellsInterfacesAndEndpointsBeforeItConnects) {
    const Packet interfaces = peer->Next();
    ASSERT_EQ(interfaces.kind, "interfaces");
    EXPECT_EQ(interfaces.status, 3);
    const auto& classes = *reinterpret_cast<const usb_redir_interface_info_header*>(interfaces.data.data());
    for (std::uint8_t i = 0; i < 3; ++i) {
        EXPECT_EQ(classes.interface[i], i);
        EXPECT_EQ(classes.interface_class[i], 0xEF);
        EXPECT_EQ(classes.interface_subclass[i], 0x05);
        EXPECT_EQ(classes.interface_protocol[i], i);
    }
    const Packet endpoints = peer->Next();
    ASSERT_EQ(endpoints.kind, "endpoints");
    const auto& types = *reinterpret_cast<const usb_redir_ep_info_header*>(endpoints.data.data());
    for (int i = 0; i < 32; ++i) {
        const bool control = i == 0 || i == 16, bulk = i == 1 || (i >= 17 && i <= 19);
        const int expected = control ? usb_redir_type_control : bulk ? usb_redir_type_bulk : usb_redir_type_invalid;
        EXPECT_EQ(types.type[i], expected) << i;
        if (bulk) {
            EXPECT_EQ(types.max_packet_size[i], 1024);
        }
    }
    const Packet connect = peer->Next();
    ASSERT_EQ(connect.kind, "connect");
    const auto& device = *reinterpret_cast<const usb_redir_device_connect_header*>(connect.data.data());
    EXPECT_EQ(device.speed, usb_redir_speed_super);
    EXPECT_EQ(device.device_class, 0xEF);
    EXPECT_EQ(device.vendor_id, 0x1209);
    EXPECT_EQ(device.product_id, 0x0001);
    EXPECT_EQ(device.device_version_bcd, 0x0100);
}

TEST_F(UsbredirSession, AnswersDescriptorRequestsAndStallsUnknownOnes) {
    Connect();
    peer->SendControl(7, {0x80, 0x06, 0x0100, 0, 18});
    const Packet device = peer->Next("control");
    EXPECT_EQ(device.id, 7u);
    EXPECT_EQ(device.status, usb_redir_success);
    EXPECT_EQ(ToHex(device.data), "12010003EF02010909120100000101020301");
    peer->SendControl(8, {0x80, 0x06, 0x7700, 0, 18});
    EXPECT_EQ(peer->Next("control").status, usb_redir_stall);
}

TEST_F(UsbredirSession, TakesControlDataOutAndGivesItBack) {
    Connect();
    peer->SendControl(1, {0x40, 0x5C, 0, 0, 4}, Hex("01020304"));
    EXPECT_EQ(peer->Next("control").status, usb_redir_success);
    peer->SendControl(2, {0xC0, 0x5C, 0, 0, 4});
    EXPECT_EQ(ToHex(peer->Next("control").data), "01020304");
}

TEST_F(UsbredirSession, SetsTheConfigurationAndTheInterfacesThatThereAre) {
    Connect();
    usb_redir_set_configuration_header good{1}, bad{9};
    usbredirparser_send_set_configuration(peer->Parser(), 1, &good);
    usbredirparser_send_set_configuration(peer->Parser(), 2, &bad);
    usbredirparser_send_get_configuration(peer->Parser(), 3);
    EXPECT_EQ(peer->Next("configuration").status, usb_redir_success);
    EXPECT_EQ(peer->Next("configuration").status, usb_redir_stall);
    EXPECT_EQ(ToHex(peer->Next("configuration").data), "01");
    usb_redir_set_alt_setting_header first{2, 0}, second{2, 1}, none{9, 0};
    for (usb_redir_set_alt_setting_header* header : {&first, &second, &none})
        usbredirparser_send_set_alt_setting(peer->Parser(), 4, header);
    EXPECT_EQ(peer->Next("alternate").status, usb_redir_success);
    EXPECT_EQ(peer->Next("alternate").status, usb_redir_stall);
    EXPECT_EQ(peer->Next("alternate").status, usb_redir_stall);
}

TEST_F(UsbredirSession, CarriesARegisterRead) {
    Connect();
    EXPECT_EQ(ToHex(peer->Command(Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400"))),
              "55335643000001080400000003000100");
}

TEST_F(UsbredirSession, StreamsBlocksIntoQueuedTransfers) {
    constexpr std::uint32_t kPayload = 640 * 480; // more than 16 bits of length
    Connect();
    StartStream(kPayload);
    std::uint64_t id = 100;
    for (int block = 0; block < 3; ++block)
        for (const std::uint32_t length : {1024u, kPayload, 1024u})
            peer->SendBulk(id++, 0x83, length);
    for (std::uint64_t block = 0; block < 3; ++block) {
        const Packet leader = peer->Next("bulk"), payload = peer->Next("bulk"), trailer = peer->Next("bulk");
        EXPECT_EQ(leader.id, 100 + 3 * block);
        ASSERT_EQ(leader.data.size(), 52u);
        EXPECT_EQ(leader.data[8], block);
        EXPECT_EQ(payload.data.size(), kPayload);
        ASSERT_EQ(trailer.data.size(), 32u);
        EXPECT_EQ(trailer.data[8], block);
    }
}

struct UsbredirSessionOfTwoSensors : UsbredirSession {
    static CameraSettings TwoSensors() {
        CameraSettings settings = Fast();
        settings.streams = 2;
        return settings;
    }
    UsbredirSessionOfTwoSensors() : UsbredirSession(TwoSensors()) {}
};

TEST_F(UsbredirSessionOfTwoSensors, TellsOfFourInterfaces) {
    const Packet interfaces = peer->Next("interfaces");
    EXPECT_EQ(interfaces.status, 4);
    const auto& classes = *reinterpret_cast<const usb_redir_interface_info_header*>(interfaces.data.data());
    EXPECT_EQ(classes.interface[3], 3);
    EXPECT_EQ(classes.interface_protocol[3], 2);
    const Packet endpoints = peer->Next("endpoints");
    const auto& types = *reinterpret_cast<const usb_redir_ep_info_header*>(endpoints.data.data());
    EXPECT_EQ(types.type[16 + 4], usb_redir_type_invalid);
    EXPECT_EQ(types.type[16 + 5], usb_redir_type_bulk);
    EXPECT_EQ(types.interface[16 + 5], 3);
    Connect();
    usb_redir_set_alt_setting_header last{3, 0}, none{4, 0};
    for (usb_redir_set_alt_setting_header* header : {&last, &none})
        usbredirparser_send_set_alt_setting(peer->Parser(), 4, header);
    EXPECT_EQ(peer->Next("alternate").status, usb_redir_success);
    EXPECT_EQ(peer->Next("alternate").status, usb_redir_stall);
}

TEST_F(UsbredirSessionOfTwoSensors, StreamsFromBothAtOnce) {
    constexpr std::uint32_t kPayload = 640 * 480;
    Connect();
    const std::uint32_t sizes[] = {1024, kPayload, 1, 0, 0, 1024};
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(peer->Write32(0x20048 + 4 * i, sizes[i]), 0);
    EXPECT_EQ(peer->Write32(0x20034, 1), 0);
    StartStream(kPayload);
    for (std::uint64_t id = 100; id < 106; ++id) {
        peer->SendBulk(id, 0x83, id % 3 == 2 ? kPayload : 1024);
        peer->SendBulk(id + 100, 0x85, id % 3 == 2 ? kPayload : 1024);
    }
    std::map<std::uint64_t, Bytes> data;
    for (int i = 0; i < 12; ++i) {
        const Packet packet = peer->Next("bulk");
        data[packet.id] = packet.data;
    }
    for (const std::uint64_t first : {100u, 200u}) {
        ASSERT_EQ(data.count(first + 5), 1u);
        EXPECT_EQ(ToHex(data[first]).substr(0, 24), "5533564C0000340000000000");
        EXPECT_EQ(ToHex(data[first + 3]).substr(0, 24), "5533564C0000340001000000");
        EXPECT_EQ(data[first + 1].size(), kPayload);
    }
    EXPECT_NE(data[101], data[201]);
}

TEST_F(UsbredirSession, AnswersACancelledTransferOnce) {
    Connect();
    peer->SendBulk(5, 0x83, 1024);
    EXPECT_TRUE(peer->IsSilent());
    usbredirparser_send_cancel_data_packet(peer->Parser(), 5);
    const Packet cancelled = peer->Next("bulk");
    EXPECT_EQ(cancelled.id, 5u);
    EXPECT_EQ(cancelled.status, usb_redir_cancelled);
    usbredirparser_send_cancel_data_packet(peer->Parser(), 5);
    EXPECT_TRUE(peer->IsSilent());
}

TEST_F(UsbredirSession, TellsStallsOverflowsAndMissingEndpoints) {
    Connect();
    StartStream(1024);
    peer->SendBulk(1, 0x83, 20); // a leader has 52 bytes
    EXPECT_EQ(peer->Next("bulk").status, usb_redir_babble);
    peer->SendControl(2, {0x02, 0x03, 0, 0x83, 0});
    peer->SendBulk(3, 0x83, 1024);
    EXPECT_EQ(peer->Next("bulk").status, usb_redir_stall);
    peer->SendBulk(4, 0x89, 1024);
    EXPECT_EQ(peer->Next("bulk").status, usb_redir_ioerror);
}

TEST_F(UsbredirSession, RefusesTransfersBeyondAllMeasure) {
    Connect();
    peer->SendBulk(1, 0x83, 100u << 20);
    EXPECT_EQ(peer->Next("bulk").status, usb_redir_inval);
}

TEST_F(UsbredirSession, RefusesWhatTheCameraDoesNotHave) {
    Connect();
    usb_redir_start_iso_stream_header isochronous{0x85, 8, 4};
    usbredirparser_send_start_iso_stream(peer->Parser(), 1, &isochronous);
    EXPECT_EQ(peer->Next("isochronous").status, usb_redir_stall);
    usb_redir_start_interrupt_receiving_header interrupt{0x85};
    usbredirparser_send_start_interrupt_receiving(peer->Parser(), 2, &interrupt);
    EXPECT_EQ(peer->Next("interrupt").status, usb_redir_stall);
}

TEST_F(UsbredirSession, DisconnectsWhenUnpluggedAndConnectsAgain) {
    Connect();
    peer->SendBulk(1, 0x83, 1024);
    EXPECT_TRUE(peer->IsSilent());
    camera.GetDevice().Unplug();
    EXPECT_EQ(peer->Next().kind, "disconnect");
    peer->SendBulk(2, 0x83, 1024);
    EXPECT_EQ(peer->Next("bulk").status, usb_redir_ioerror);
    camera.GetDevice().Plug();
    Connect();
    peer->SendControl(3, {0x80, 0x08, 0, 0, 1});
    EXPECT_EQ(peer->Next("control").status, usb_redir_success);
}

TEST_F(UsbredirSession, ResetsTheCameraOnTheBus) {
    Connect();
    StartStream(1024);
    usbredirparser_send_reset(peer->Parser());
    peer->SendBulk(1, 0x83, 1024);
    EXPECT_TRUE(peer->IsSilent());
}

TEST_F(UsbredirSession, ClosesWhenTheBytesMakeNoSense) {
    Connect();
    peer->SendRaw(Bytes(64, 0xFF));
    EXPECT_TRUE(peer->IsClosed());
}

// Every truncation of a packet, each with a session of its own.
TEST(UsbredirTruncation, EndsTheSessionWhereverThePeerStops) {
    const Bytes packet = Hex("65000000 1A000000 0100000000000000 01 00 1800 00000000 0000"
                             "55335643 0040 0008 0C00 0000 0000");
    RemoteCamera camera(Fast(), 0);
    const Descriptor end(eventfd(0, EFD_CLOEXEC));
    for (std::size_t length = 0; length <= packet.size(); ++length) {
        SocketPair sockets;
        Peer peer(std::move(sockets.ours));
        peer.Flush();
        peer.SendRaw(Bytes(packet.begin(), packet.begin() + static_cast<std::ptrdiff_t>(length)));
        peer.Shut();
        Session(camera, sockets.theirs.Get(), end.Get(), kSilent).Run();
        EXPECT_TRUE(camera.IsFree()) << length;
    }
}

} // namespace
} // namespace virtualcam::usbredir
