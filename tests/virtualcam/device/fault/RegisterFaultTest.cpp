// Registers and descriptors out of the ordinary.

#include "virtualcam/device/FaultScript.h"

#include <gtest/gtest.h>

#include "virtualcam/support/SmallCamera.h"
#include "virtualcam/support/StreamClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Device;
using virtualcam::PipeStatus;
using virtualcam::test::DeviceClient;
using virtualcam::test::Hex;
using virtualcam::test::kRead;
using virtualcam::test::kReadAck;
using virtualcam::test::Small;
using virtualcam::test::StreamClient;

TEST(RegisterFaultTest, BootstrapRegistersAreOutOfTheOrdinary) {
    CameraSettings settings = Small();
    settings.registers.responseTime = 5000;
    settings.registers.maximumCommand = 1024;
    settings.registers.maximumAcknowledge = 2048;
    settings.registers.zeroLeaderSize = true;
    settings.registers.zeroTrailerSize = true;
    settings.registers.zeroPayloadSize = true;
    Device device(settings);
    DeviceClient client(device);
    EXPECT_EQ(client.Read(0x1CC, 4), 5000u);
    EXPECT_EQ(client.Read(0x10014, 4), 1024u);
    EXPECT_EQ(client.Read(0x10018, 4), 2048u);
    EXPECT_EQ(client.Read(0x20010, 4), 0u);
    EXPECT_EQ(client.Read(0x20014, 4), 0u);
    EXPECT_EQ(client.Read(0x20008, 8), 0u);
    Bytes data;
    EXPECT_EQ(client.Read(0x200000, 2036, data), 0);
    EXPECT_EQ(client.Read(0x200000, 2037, data), 0x8002) << "longer than an acknowledge may be";
    EXPECT_EQ(client.Write(0x105000, Bytes(1004)), 0);
    EXPECT_EQ(client.Write(0x105000, Bytes(1005)), 0x8002) << "longer than a command may be";
}

TEST(RegisterFaultTest, LongReadsAreRefusedWhateverTheRegistersSay) {
    CameraSettings settings = Small();
    settings.registers.largestRead = 64;
    Device device(settings);
    DeviceClient client(device);
    Bytes data;
    EXPECT_EQ(client.Read(0x200000, 64, data), 0);
    EXPECT_EQ(client.Read(0x200000, 65, data), 0x8002);
}

TEST(RegisterFaultTest, OptionalRegistersAreMissing) {
    CameraSettings settings = Small();
    settings.registers.missingOptional = true;
    settings.registers.streamCount = 0;
    Device device(settings);
    DeviceClient client(device);
    EXPECT_EQ(client.Read(0x1C4, 8), 0x1A0Cu);
    EXPECT_EQ(client.Read(0x1001C, 4), 0u);
    Bytes data;
    for (const std::uint64_t address : {0x84, 0x184, 0x20C})
        EXPECT_EQ(client.Read(address, 4, data), 0x8003) << address;
}

TEST(RegisterFaultTest, TheCameraSleepsAfterPowerOn) {
    CameraSettings settings = Small();
    settings.registers.bootMs = 30;
    Device device(settings);
    DeviceClient client(device);
    EXPECT_TRUE(client.Ask(kRead).empty());
    Bytes answer;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while ((answer = client.Ask(kRead)).empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_EQ(answer, Hex(kReadAck));
}

TEST(RegisterFaultTest, AFamilyNameIsNotSupported) {
    CameraSettings settings = Small();
    settings.family.clear();
    Device device(settings);
    DeviceClient client(device);
    Bytes data;
    EXPECT_EQ(client.Read(0x84, 64, data), 0x8003);
    EXPECT_EQ(client.Read(0x1C4, 8), 0x1E0Du);
}

TEST(DescriptorFaultTest, TheDeviceInfoIsLongerThanToday) {
    CameraSettings settings = Small();
    settings.registers.longDeviceInfo = true;
    const virtualcam::Descriptors descriptors(settings);
    EXPECT_EQ(descriptors.Configuration().size(), 118u);
    EXPECT_EQ(descriptors.Configuration()[2], 118);
    EXPECT_EQ(descriptors.Configuration()[26], 22);
}

TEST(DescriptorFaultTest, NoStreamInterfaceIsThere) {
    CameraSettings settings = Small();
    settings.registers.noStreamInterface = true;
    const Bytes set = virtualcam::Descriptors(settings).Configuration();
    EXPECT_EQ(set.size(), 94u);
    EXPECT_EQ(set[2], 94);
    EXPECT_EQ(set[4], 2) << "interfaces";
    EXPECT_EQ(set[12], 2) << "interfaces of the association";
}

TEST(DescriptorFaultTest, StringsCannotBeRead) {
    CameraSettings settings = Small();
    settings.registers.unreadableStrings = true;
    Device device(settings);
    Bytes data(255);
    EXPECT_EQ(device.Control({0x80, 6, 0x0304, 0x0409, 255}, data.data()).status, PipeStatus::Stall);
}

TEST(RegisterFaultTest, ARegisterIsRefusedAlthoughItIsPromised) {
    CameraSettings settings = Small();
    settings.registers.absent = {0x1F0, 0x20C};
    Device device(settings);
    DeviceClient client(device);
    Bytes data;
    EXPECT_EQ(client.Read(0x1F0, 8, data), 0x8003);
    EXPECT_EQ(client.Read(0x20C, 4, data), 0x8003);
    EXPECT_EQ(client.Write32(0x1F8, 1), 0) << "the latch has nowhere to put the time";
    EXPECT_NE(client.Read(0x1C4, 8) & 0x408, 0u);
    device.BusReset();
}

TEST(RegisterFaultTest, ACommandIsNeverDone) {
    constexpr std::uint64_t kUserSetSave = 0x10A008, kUserSetLoad = 0x10A004;
    CameraSettings settings = Small();
    settings.registers.endlessCommands = {kUserSetSave};
    Device device(settings);
    DeviceClient client(device);
    EXPECT_EQ(client.Read(kUserSetSave, 4), 0u) << "before it was executed it is at rest";
    EXPECT_EQ(client.Write32(0x10A000, 1), 0) << "a set that can be saved";
    EXPECT_EQ(client.Write32(kUserSetSave, 1), 0);
    EXPECT_EQ(client.Read(kUserSetSave, 4), 1u);
    EXPECT_EQ(client.Write32(kUserSetLoad, 1), 0);
    EXPECT_EQ(client.Read(kUserSetLoad, 4), 0u) << "others are done as always";
}

TEST(RegisterFaultTest, LargeReadsAndReadsOfSeveralRegistersAreRefused) {
    CameraSettings settings = Small();
    settings.registers.largestRead = 64;
    settings.registers.singleRegisterReads = true;
    Device device(settings);
    DeviceClient client(device);
    Bytes data;
    EXPECT_EQ(client.Read(0x200000, 64, data), 0);
    EXPECT_EQ(client.Read(0x200000, 65, data), 0x8002);
    EXPECT_EQ(client.Read(0x1CC, 4, data), 0);
    EXPECT_EQ(client.Read(0x1CC, 12, data), 0x8003) << "two registers";
}

TEST(RegisterFaultTest, ZerosBelongToThePayload) {
    CameraSettings settings = Small();
    settings.registers.extraPayload = 100;
    Device device(settings);
    DeviceClient client(device);
    EXPECT_EQ(client.Read(0x20008, 8), 8192u + 100);
    StreamClient stream(client);
    EXPECT_EQ(stream.Start(8192, 1, 1024), 0);
    stream.StartAcquisition();
    const auto block = stream.Read();
    EXPECT_EQ(block.Payload().size(), 8292u);
    EXPECT_EQ(block.ValidBytes(), 8292u);
    const Bytes payload = block.Payload();
    EXPECT_EQ(Bytes(payload.end() - 100, payload.end()), Bytes(100, 0));
}

TEST(DescriptorFaultTest, NoStringIsNamed) {
    CameraSettings settings = Small();
    settings.registers.stringIndexZero = true;
    const virtualcam::Descriptors descriptors(settings);
    for (std::size_t i = 37; i < 45; ++i)
        EXPECT_EQ(descriptors.Configuration()[i], 0) << i;
}

} // namespace
