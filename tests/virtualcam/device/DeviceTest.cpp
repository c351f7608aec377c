#include "virtualcam/device/Device.h"

#include <gtest/gtest.h>

#include "virtualcam/support/DeviceClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Device;
using virtualcam::PipeAnswer;
using virtualcam::PipeStatus;
using virtualcam::test::DeviceClient;
using virtualcam::test::Hex;

struct DeviceTest : testing::Test {
    Device device{CameraSettings{}};
    DeviceClient client{device};

    PipeAnswer Request(const usb::ControlSetup& setup, Bytes& data) {
        data.resize(setup.length);
        const PipeAnswer answer = device.Control(setup, data.data());
        data.resize(answer.bytes);
        return answer;
    }
};

TEST_F(DeviceTest, AnswersGetDescriptor) {
    Bytes data;
    EXPECT_EQ(Request({0x80, 6, 0x0100, 0, 8}, data).status, PipeStatus::Complete);
    EXPECT_EQ(data, Hex("12 01 00 03 EF 02 01 09"));
    EXPECT_EQ(Request({0x80, 6, 0x0200, 0, 255}, data).bytes, 116u);
    EXPECT_EQ(Request({0x80, 6, 0x0F00, 0, 255}, data).bytes, 22u);
    EXPECT_EQ(Request({0x80, 6, 0x0600, 0, 10}, data).status, PipeStatus::Stall) << "no qualifier at SuperSpeed";
}

TEST_F(DeviceTest, StallsForeignRequests) {
    Bytes data;
    EXPECT_EQ(Request({0xA1, 1, 0, 0, 4}, data).status, PipeStatus::Stall);
    EXPECT_EQ(Request({0xC0, 0x01, 0, 0, 4}, data).status, PipeStatus::Stall);
    EXPECT_EQ(Request({0x82, 0, 0, 0x85, 2}, data).status, PipeStatus::Stall);
}

TEST_F(DeviceTest, KeepsScratchMemoryForVendorRequests) {
    Bytes data = Hex("0102030405");
    EXPECT_EQ(device.Control({0x40, 0x5C, 0, 3, 5}, data.data()).status, PipeStatus::Complete);
    EXPECT_EQ(Request({0xC0, 0x5C, 0, 4, 3}, data).status, PipeStatus::Complete);
    EXPECT_EQ(data, Hex("020304"));
    EXPECT_EQ(Request({0xC0, 0x5C, 0, 62, 3}, data).status, PipeStatus::Stall);
}

TEST_F(DeviceTest, HaltsAndClearsEndpointsOnRequest) {
    Bytes data;
    EXPECT_EQ(Request({0x02, 3, 0, 0x81, 0}, data).status, PipeStatus::Complete);
    EXPECT_EQ(Request({0x82, 0, 0, 0x81, 2}, data).status, PipeStatus::Complete);
    EXPECT_EQ(data, Hex("0100"));
    EXPECT_EQ(device.In(0x81, data.data(), 2).status, PipeStatus::Stall);
    EXPECT_EQ(Request({0x02, 1, 0, 0x81, 0}, data).status, PipeStatus::Complete);
    EXPECT_FALSE(device.IsHalted(0x81));
}

TEST_F(DeviceTest, ForgetsAnUnreadAnswerWhenTheChannelIsHalted) {
    ASSERT_EQ(client.Send(Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400")), PipeStatus::Complete);
    device.SetHalt(0x01);
    device.ClearHalt(0x01);
    Bytes answer;
    EXPECT_EQ(client.Receive(0x81, 1024, answer, 0), PipeStatus::NotYet);
}

TEST_F(DeviceTest, TakesNoCommandWhoseAnswerItCouldNotKeep) {
    const Bytes command = Hex("55335643 0040 0008 0C00 0000 0000000000000000 0000 0400");
    std::size_t taken = 0;
    PipeAnswer answer = device.Out(0x01, command.data(), command.size());
    for (; answer.status == PipeStatus::Complete && taken < 1000; ++taken)
        answer = device.Out(0x01, command.data(), command.size());
    EXPECT_EQ(answer.status, PipeStatus::NotYet);
    EXPECT_EQ(answer.bytes, 0u);
    EXPECT_GT(taken, 0u);
    Bytes acknowledge;
    for (std::size_t i = 0; i < taken; ++i)
        EXPECT_EQ(client.Receive(0x81, 1024, acknowledge, 0), PipeStatus::Complete) << i;
    EXPECT_EQ(client.Receive(0x81, 1024, acknowledge, 0), PipeStatus::NotYet);
    EXPECT_EQ(client.Send(command), PipeStatus::Complete);
}

TEST_F(DeviceTest, KeepsTheUserDefinedNameAcrossPowerAndShowsItInItsString) {
    Bytes name(64);
    name[0] = 'c';
    name[1] = '7';
    ASSERT_EQ(client.Write(0x184, name), 0);
    device.Unplug();
    device.Plug();
    EXPECT_EQ(client.Read(0x184, 2), 0x3763u);
    Bytes data;
    EXPECT_EQ(Request({0x80, 6, 0x030B, 0x0409, 255}, data).status, PipeStatus::Complete);
    EXPECT_EQ(data, Hex("06 03 63 00 37 00"));
}

TEST_F(DeviceTest, AnswersGoneWhileUnplugged) {
    device.Unplug();
    Bytes data(16);
    EXPECT_EQ(device.In(0x81, data.data(), 16).status, PipeStatus::Gone);
    EXPECT_EQ(device.Out(0x01, data.data(), 16).status, PipeStatus::Gone);
    EXPECT_EQ(device.Control({0x80, 6, 0x0100, 0, 16}, data.data()).status, PipeStatus::Gone);
    EXPECT_EQ(device.LostFrames(), 0u);
    EXPECT_EQ(device.Commands(), 0u);
}

TEST_F(DeviceTest, LatchesATimestampThatGrows) {
    EXPECT_EQ(client.Read(0x1F0, 8), 0u);
    ASSERT_EQ(client.Write32(0x1F8, 1), 0);
    const std::uint64_t first = client.Read(0x1F0, 8);
    ASSERT_EQ(client.Write32(0x1F8, 1), 0);
    EXPECT_GT(first, 0u);
    EXPECT_GT(client.Read(0x1F0, 8), first);
    Bytes data;
    EXPECT_EQ(client.Read(0x1F8, 4, data), 0x8006);
}

TEST_F(DeviceTest, ReportsItsBootstrapRegisters) {
    EXPECT_EQ(client.Read(0x1C4, 8), 0x1F0Du);
    EXPECT_EQ(client.Read(0x1CC, 4), 100u);
    EXPECT_EQ(client.Read(0x1D0, 8), 0x40000u);
    EXPECT_EQ(client.Read(0x1D8, 8), 0x10000u);
    EXPECT_EQ(client.Read(0x1FC, 8), 1u);
    EXPECT_EQ(client.Read(0x10000, 4), 0x00010002u);
    EXPECT_EQ(client.Read(0x10004, 8), 3u);
    EXPECT_EQ(client.Read(0x1001C, 4), 1u);
    EXPECT_EQ(client.Read(0x10020, 8), 0x20000u);
    EXPECT_EQ(client.Read(0x10028, 4), 0x30u);
    EXPECT_EQ(client.Read(0x1002C, 8), 0x30000u);
    EXPECT_EQ(client.Read(0x10040, 4), 8u);
}

TEST_F(DeviceTest, RefusesAbsentBootstrapRegisters) {
    Bytes data;
    for (const std::uint64_t address : {0x1E8, 0x1EC, 0x204, 0x210, 0x250, 0x10038, 0x10044, 0x20030, 0x3000C})
        EXPECT_EQ(client.Read(address, 4, data), 0x8003) << std::hex << address;
}

TEST_F(DeviceTest, SendsATestEvent) {
    ASSERT_EQ(client.Write32(0x30008, 1), 0);
    Bytes event;
    EXPECT_EQ(client.Receive(0x82, 1024, event, 0), PipeStatus::NotYet) << "the channel is still disabled";
    ASSERT_EQ(client.Write32(0x30000, 1), 0);
    ASSERT_EQ(client.Write32(0x30008, 1), 0);
    ASSERT_EQ(client.Receive(0x82, 1024, event), PipeStatus::Complete);
    ASSERT_EQ(event.size(), 24u);
    EXPECT_EQ(Bytes(event.begin(), event.begin() + 16), Hex("55335645 0000 000C 0C00 0000 0000 FF4F"));
    EXPECT_GT(virtualcam::Load<std::uint64_t>(event.data() + 16), 0u);
    EXPECT_EQ(client.Read(0x30008, 4), 0u) << "self-clearing";
}

TEST_F(DeviceTest, RefusesEventsWhileTheirEndpointIsHaltedAndDisablesThemByAHalt) {
    ASSERT_EQ(client.Write32(0x30000, 1), 0);
    device.SetHalt(0x82);
    EXPECT_EQ(client.Read(0x30000, 4), 0u);
    EXPECT_EQ(client.Write32(0x30000, 1), 0xA005);
    device.ClearHalt(0x82);
    EXPECT_EQ(client.Write32(0x30000, 1), 0);
}

TEST_F(DeviceTest, RefusesStreamEnableWhileTheStreamIsHalted) {
    device.SetHalt(0x83);
    EXPECT_EQ(client.Write32(0x20004, 1), 0xA002);
}

} // namespace
