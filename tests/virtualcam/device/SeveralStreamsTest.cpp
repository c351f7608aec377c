// A camera with several sensors, each with a stream interface of its own.

#include <gtest/gtest.h>

#include "usb/support/Transfers.h"
#include "virtualcam/backend/Backend.h"
#include "virtualcam/support/SmallCamera.h"
#include "virtualcam/support/StreamClient.h"

namespace {

using namespace virtualcam;
using namespace virtualcam::test;

CameraSettings Sensors(unsigned count) {
    CameraSettings settings = Small();
    settings.streams = count;
    return settings;
}

// Two sensors, and a host for each of their streams.
struct TwoStreams : testing::Test {
    Device device{Sensors(2)};
    DeviceClient client{device};
    StreamClient left{client};
    StreamClient right{client, 0x20030, 0x85};

    bool IsSilent(std::uint8_t endpoint) {
        Bytes bytes;
        return client.Receive(endpoint, 1024, bytes, 20) == PipeStatus::NotYet && bytes.empty();
    }
    void StartBoth() {
        ASSERT_EQ(left.Start(8192, 1), 0);
        ASSERT_EQ(right.Start(4096, 2), 0);
        left.StartAcquisition();
    }
};

// --- what the bus and the registers say

TEST(SeveralStreams, HaveInterfacesInTheirOrder) {
    EXPECT_EQ(ToHex(Descriptors{Sensors(2)}.Configuration()),
              ToHex(Hex("09 02 8A 00 04 01 00 80 70"
                        "08 0B 00 04 EF 05 00 0C"
                        "09 04 00 00 02 EF 05 00 00"
                        "14 24 01 03 00 01 00 02 00 01 00 04 05 06 07 08 09 0A 0B 0C"
                        "07 05 01 02 00 04 00 06 30 00 00 00 00"
                        "07 05 81 02 00 04 00 06 30 00 00 00 00"
                        "09 04 01 00 01 EF 05 01 00"
                        "07 05 82 02 00 04 00 06 30 00 00 00 00"
                        "09 04 02 00 01 EF 05 02 00"
                        "07 05 83 02 00 04 00 06 30 0F 00 00 00"
                        "09 04 03 00 01 EF 05 02 00"
                        "07 05 85 02 00 04 00 06 30 0F 00 00 00")));
}

TEST(SeveralStreams, HaveNoCompanionsAtHighSpeed) {
    CameraSettings settings = Sensors(4);
    settings.speed = usb::Speed::High;
    const Bytes all = Descriptors{settings}.Configuration();
    ASSERT_EQ(all.size(), 92u + 3 * 16);
    EXPECT_EQ(ToHex(Bytes(all.begin(), all.begin() + 17)), "09028C00060100"
                                                           "80FA"
                                                           "080B0006EF05000C");
    EXPECT_EQ(ToHex(Bytes(all.end() - 64, all.end())), "0904020001EF050200"
                                                       "07058302000200"
                                                       "0904030001EF050200"
                                                       "07058502000200"
                                                       "0904040001EF050200"
                                                       "07058602000200"
                                                       "0904050001EF050200"
                                                       "07058702000200");
}

TEST_F(TwoStreams, AreCountedAndPlacedByTheRegisters) {
    // Number of stream channels, address of the first one's registers, length of each one's.
    EXPECT_EQ(ToHex(client.Ask("55335643 0040 0008 0C00 0100 1C00010000000000 0000 1000")), "553356430000010810000100"
                                                                                            "02000000"
                                                                                            "0000020000000000"
                                                                                            "30000000");
}

TEST_F(TwoStreams, HaveRegistersBehindEachOther) {
    // 32768 as transfer size of the second one, which leaves the first one's alone.
    EXPECT_EQ(ToHex(client.Ask("55335643 0040 0208 0C00 0100 4C00020000000000 00800000")), "553356430000030804000100"
                                                                                           "00000400");
    EXPECT_EQ(ToHex(client.Ask("55335643 0040 0008 0C00 0200 4C00020000000000 0000 0400")), "553356430000010804000200"
                                                                                            "00800000");
    EXPECT_EQ(ToHex(client.Ask("55335643 0040 0008 0C00 0300 1C00020000000000 0000 0400")), "553356430000010804000300"
                                                                                            "00000000");
    // Required payload size of the second one; behind it there is no third one.
    EXPECT_EQ(ToHex(client.Ask("55335643 0040 0008 0C00 0400 3800020000000000 0000 0800")), "553356430000010808000400"
                                                                                            "0020000000000000");
    EXPECT_EQ(ToHex(client.Ask("55335643 0040 0008 0C00 0500 6000020000000000 0000 0400")), "553356430380010800000500");
}

TEST_F(TwoStreams, AreForgottenByABusReset) {
    StartBoth();
    device.BusReset();
    EXPECT_EQ(client.Read(0x20004, 4), 0u);
    EXPECT_EQ(client.Read(0x20034, 4), 0u);
    EXPECT_EQ(client.Read(0x2004C, 4), 0u);
}

// --- blocks

TEST_F(TwoStreams, BringBlocksOnTheirOwnEndpointsOnly) {
    ASSERT_EQ(right.Start(4096, 2), 0);
    right.StartAcquisition();
    const Block block = right.Read();
    Bytes leader = block.Leader();
    ASSERT_EQ(leader.size(), 52u);
    std::fill(leader.begin() + 20, leader.begin() + 28, std::uint8_t{0}); // the time
    EXPECT_EQ(ToHex(leader), ToHex(Hex("5533564C 0000 3400 0000000000000000 0000 0100 0000000000000000"
                                       "01000801 80000000 40000000 00000000 00000000 0000 0000")));
    EXPECT_EQ(ToHex(block.Trailer()), ToHex(Hex("55335654 0000 2000 0000000000000000 0000 0000"
                                                "0020000000000000 40000000")));
    EXPECT_EQ(block.Payload().size(), 8192u);
    EXPECT_TRUE(IsSilent(0x83));
}

TEST_F(TwoStreams, ShowTheSameMomentFromTwoPlaces) {
    StartBoth();
    for (std::uint64_t id = 0; id < 10; ++id) {
        const Block one = left.Read(), other = right.Read();
        EXPECT_EQ(one.Id(), id);
        EXPECT_EQ(other.Id(), id);
        EXPECT_EQ(one.Timestamp(), other.Timestamp());
        EXPECT_NE(one.Payload(), other.Payload());
        EXPECT_EQ(other.Payload().size(), 8192u);
    }
    EXPECT_EQ(device.LostFrames(), 0u);
}

TEST_F(TwoStreams, CountTheirBlocksFromTheirOwnStart) {
    StartBoth();
    left.Read();
    right.Read();
    right.Stop();
    EXPECT_EQ(left.Read().Id(), 1u);
    ASSERT_EQ(right.Start(8192, 1), 0);
    EXPECT_EQ(left.Read().Id(), 2u);
    EXPECT_EQ(right.Read().Id(), 0u);
}

TEST_F(TwoStreams, AreHaltedOneByOne) {
    StartBoth();
    device.SetHalt(0x85);
    Bytes none;
    EXPECT_EQ(client.Receive(0x85, 1024, none), PipeStatus::Stall);
    EXPECT_EQ(client.Write32(0x20034, 1), 0xA002);
    EXPECT_EQ(client.Read(0x20004, 4), 1u);
    EXPECT_EQ(left.Read().Id(), 0u);
    device.ClearHalt(0x85);
    EXPECT_EQ(client.Write32(0x20034, 1), 0);
    EXPECT_EQ(right.Read().Id(), 0u);
}

TEST_F(TwoStreams, LeaveNoEndpointBetweenThem) {
    const usb::ControlSetup gap{0x82, 0x00, 0, 0x0084, 2}, second{0x82, 0x00, 0, 0x0085, 2},
        third{0x82, 0x00, 0, 0x86, 2};
    std::uint8_t state[2] = {};
    EXPECT_EQ(device.Control(gap, state).status, PipeStatus::Stall);
    EXPECT_EQ(device.Control(second, state).status, PipeStatus::Complete);
    EXPECT_EQ(device.Control(third, state).status, PipeStatus::Stall);
}

TEST_F(TwoStreams, SufferFaultsOfTheirOwn) {
    FaultScript script;
    StreamFaultRule rule;
    rule.fault = StreamFault::LostTrailer;
    rule.stream = 1;
    script.stream = {rule};
    device.SetFaults(script);
    StartBoth();
    EXPECT_EQ(left.Read().Trailer().size(), 32u);
    EXPECT_EQ(ToHex(right.Read().Trailer()).substr(0, 8), "5533564C"); // the next leader
}

// --- pace

TEST_F(TwoStreams, WaitForTheSlowerOneWhenNothingElseSetsThePace) {
    StartBoth();
    for (std::uint64_t id = 0; id < 4; ++id)
        EXPECT_EQ(left.Read().Id(), id);
    EXPECT_TRUE(IsSilent(0x83)) << "four frames wait for the other stream, there is room for no more";
    EXPECT_EQ(right.Read().Id(), 0u);
    EXPECT_EQ(left.Read().Id(), 4u);
    EXPECT_TRUE(IsSilent(0x83));
    right.Stop();
    EXPECT_EQ(left.Read().Id(), 5u);
    EXPECT_EQ(device.LostFrames(), 0u);
}

TEST_F(TwoStreams, LoseTheFramesOfTheSlowerOneOnTriggers) {
    client.Write32(0x102130, 1); // trigger of each frame on
    StartBoth();
    for (std::uint64_t id = 0; id < 6; ++id) {
        client.Write32(0x102140, 1); // software trigger
        EXPECT_EQ(left.Read().Id(), id);
    }
    EXPECT_EQ(device.LostFrames(), 2u);
    for (std::uint64_t id = 0; id < 4; ++id)
        EXPECT_EQ(right.Read().Id(), id);
    client.Write32(0x102140, 1);
    EXPECT_EQ(right.Read().Id(), 6u) << "what was lost leaves a gap";
}

// --- on a bus

TEST(SeveralStreams, ComeOverTheInProcessBusAtOnce) {
    constexpr std::size_t kBlocks = 40;
    BackendSettings settings;
    settings.cameras = {Sensors(2)};
    const auto backend = CreateBackend(settings);
    std::unique_ptr<usb::Handle> handle;
    ASSERT_EQ(backend->Open(backend->IdOf(0), handle), usb::Result::Ok);
    EXPECT_EQ(handle->Claim(2), usb::Result::Ok);
    Transfers first(*handle, 0x83, 3 * kBlocks, 8192), second(*handle, 0x85, 3 * kBlocks, 8192);
    EXPECT_EQ(second.Submit(0), usb::Result::NotFound) << "its interface is not claimed yet";
    EXPECT_EQ(handle->Claim(3), usb::Result::Ok);
    EXPECT_EQ(handle->Claim(4), usb::Result::NotFound);
    const auto write = [&backend](std::uint64_t address, std::uint32_t value) {
        Bytes bytes;
        Append(bytes, value);
        EXPECT_EQ(backend->Camera(0).WriteRegister(address, bytes.data(), 4), Status::Success);
    };
    for (const std::uint64_t base : {0x20000u, 0x20030u}) {
        const std::uint32_t sizes[] = {1024, 8192, 1, 0, 0, 1024};
        for (std::uint64_t i = 0; i < 6; ++i)
            write(base + 0x18 + 4 * i, sizes[i]);
        write(base + 0x04, 1);
    }
    for (Transfers* const transfers : {&first, &second}) {
        for (std::size_t i = 0; i < transfers->Count(); ++i)
            if (i % 3 != 1) (*transfers)[i].length = 1024;
        transfers->SubmitAll();
    }
    write(0x102004, 1);
    ASSERT_TRUE(first.PumpUntilCompleted(first.Count()));
    ASSERT_TRUE(second.PumpUntilCompleted(second.Count()));
    for (std::size_t block = 0; block < kBlocks; ++block) {
        EXPECT_EQ(first.Buffer(3 * block)[8], block);
        EXPECT_EQ(second.Buffer(3 * block)[8], block);
        EXPECT_EQ(second[3 * block + 1].actualLength, 8192u);
        EXPECT_NE(first.Buffer(3 * block + 1), second.Buffer(3 * block + 1));
    }
}

} // namespace
