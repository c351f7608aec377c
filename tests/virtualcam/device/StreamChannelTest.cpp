#include "virtualcam/device/channel/StreamChannel.h"

#include <gtest/gtest.h>

#include "virtualcam/support/StreamClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Device;
using virtualcam::PipeStatus;
using virtualcam::test::Block;
using virtualcam::test::DeviceClient;
using virtualcam::test::Hex;
using virtualcam::test::StreamClient;

CameraSettings Medium() {
    CameraSettings settings;
    settings.sensorWidth = 640;
    settings.sensorHeight = 480;
    settings.frameRateEnable = false;
    return settings;
}

struct StreamChannelTest : testing::Test {
    Device device{Medium()};
    DeviceClient client{device};
    StreamClient stream{client};
};

TEST_F(StreamChannelTest, RequiresThePayloadOfItsImage) {
    EXPECT_EQ(client.Read(0x20008, 8), 307200u);
    EXPECT_EQ(client.Read(0x20010, 4), 52u);
    EXPECT_EQ(client.Read(0x20014, 4), 36u);
    EXPECT_EQ(client.Read(0x101038, 4), 307200u);
    ASSERT_EQ(client.Write32(0x101030, 0x010C0047), 0);
    EXPECT_EQ(client.Read(0x20008, 8), 460800u);
}

TEST_F(StreamChannelTest, SendsABlockByteForByte) {
    ASSERT_EQ(stream.Start(65536, 4, 45056), 0);
    stream.StartAcquisition();
    const Block block = stream.Read();
    ASSERT_EQ(block.transfers.size(), 7u);
    for (const PipeStatus status : block.statuses)
        EXPECT_EQ(status, PipeStatus::Complete);
    Bytes leader = block.Leader();
    ASSERT_EQ(leader.size(), 52u);
    EXPECT_GT(block.Timestamp(), 0u);
    std::fill(leader.begin() + 20, leader.begin() + 28, std::uint8_t{0});
    EXPECT_EQ(leader, Hex("55 33 56 4C 00 00 34 00 00 00 00 00 00 00 00 00 00 00 01 00"
                          "00 00 00 00 00 00 00 00 01 00 08 01 80 02 00 00 E0 01 00 00"
                          "00 00 00 00 00 00 00 00 00 00 00 00"));
    EXPECT_EQ(block.Trailer(), Hex("55 33 56 54 00 00 20 00 00 00 00 00 00 00 00 00 00 00 00 00"
                                   "00 B0 04 00 00 00 00 00 E0 01 00 00"));
    EXPECT_EQ(block.Payload().size(), 307200u);
}

TEST_F(StreamChannelTest, EndsAShortLastTransferByAShortPacket) {
    ASSERT_EQ(client.Write32(0x101010, 636), 0);
    ASSERT_EQ(stream.Start(65536, 4, 65536), 0); // 305280 bytes
    stream.StartAcquisition();
    const Block block = stream.Read();
    EXPECT_EQ(block.transfers[5].size(), 305280u - 4 * 65536);
    EXPECT_EQ(block.statuses[5], PipeStatus::Complete);
    EXPECT_EQ(block.Trailer().size(), 32u);
}

TEST_F(StreamChannelTest, EndsAnExactMultipleOfPacketsByAnEmptyPacketWhenTheTransferIsLonger) {
    ASSERT_EQ(stream.Start(131072, 3), 0); // 307200 = 2 * 131072 + 45056
    stream.StartAcquisition();
    const Block block = stream.Read();
    EXPECT_EQ(block.transfers[3].size(), 45056u);
    EXPECT_EQ(block.statuses[3], PipeStatus::Complete);
    EXPECT_EQ(block.Trailer().size(), 32u);
}

TEST_F(StreamChannelTest, CompletesTransfersBehindThePayloadByEmptyPackets) {
    ASSERT_EQ(stream.Start(307200, 1, 2048, 1024), 0);
    stream.StartAcquisition();
    const Block block = stream.Read();
    EXPECT_EQ(block.transfers[2].size(), 0u);
    EXPECT_EQ(block.transfers[3].size(), 0u);
    EXPECT_EQ(block.Trailer().size(), 32u);
}

TEST_F(StreamChannelTest, LeavesOutTransfersOfSizeZero) {
    ASSERT_EQ(stream.Start(0, 5, 306176, 1024), 0);
    stream.StartAcquisition();
    const Block block = stream.Read();
    ASSERT_EQ(block.transfers.size(), 4u);
    EXPECT_EQ(block.Payload().size(), 307200u);
    EXPECT_EQ(stream.Read().Id(), 1u);
}

TEST_F(StreamChannelTest, MarksWhatDoesNotFitAsOverrun) {
    ASSERT_EQ(stream.Start(65536, 2), 0);
    stream.StartAcquisition();
    const Block block = stream.Read();
    EXPECT_EQ(block.Status(), 0xA101);
    EXPECT_EQ(block.ValidBytes(), 131072u);
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(block.Trailer().data() + 28), 131072u / 640);
}

TEST_F(StreamChannelTest, CountsBlocksFromZeroAfterEachStart) {
    ASSERT_EQ(stream.Start(307200, 1), 0);
    stream.StartAcquisition();
    for (std::uint64_t id = 0; id < 3; ++id) {
        const Block block = stream.Read();
        EXPECT_EQ(block.Id(), id);
        EXPECT_EQ(block.TrailerId(), id);
    }
    stream.Stop();
    ASSERT_EQ(stream.Start(307200, 1), 0);
    EXPECT_EQ(stream.Read().Id(), 0u);
}

TEST_F(StreamChannelTest, GivesEachBlockALaterTimestamp) {
    ASSERT_EQ(stream.Start(307200, 1), 0);
    stream.StartAcquisition();
    const std::uint64_t first = stream.Read().Timestamp();
    EXPECT_GT(stream.Read().Timestamp(), first);
}

TEST_F(StreamChannelTest, RefusesToStartWithoutSizes) {
    EXPECT_EQ(client.Write32(0x20004, 1), 0xA004);
    EXPECT_EQ(stream.Start(0, 0), 0xA004);
    EXPECT_EQ(client.Read(0x20004, 4), 0u);
}

TEST_F(StreamChannelTest, DropsItsDataWhenStreamEnableIsCleared) {
    ASSERT_EQ(stream.Start(65536, 5), 0);
    stream.StartAcquisition();
    stream.Read(3);
    stream.Stop();
    Bytes rest;
    EXPECT_EQ(client.Receive(0x83, 65536, rest, 0), PipeStatus::NotYet);
    EXPECT_TRUE(rest.empty());
}

TEST_F(StreamChannelTest, StopsStreamingWhenItsEndpointIsHalted) {
    ASSERT_EQ(stream.Start(65536, 5), 0);
    stream.StartAcquisition();
    stream.Read(2);
    device.SetHalt(0x83);
    Bytes data;
    EXPECT_EQ(client.Receive(0x83, 1024, data), PipeStatus::Stall);
    EXPECT_EQ(client.Read(0x20004, 4), 0u);
    device.ClearHalt(0x83);
    EXPECT_EQ(stream.Start(65536, 5), 0);
    EXPECT_EQ(stream.Read().Id(), 0u);
}

TEST_F(StreamChannelTest, OverflowsATransferThatIsNoMultipleOfThePacketSize) {
    ASSERT_EQ(stream.Start(65536, 5), 0);
    stream.StartAcquisition();
    stream.Read(1);
    Bytes data;
    EXPECT_EQ(client.Receive(0x83, 1500, data), PipeStatus::Overflow);
}

TEST_F(StreamChannelTest, KeepsTheSizesOfItsStart) {
    ASSERT_EQ(stream.Start(307200, 1), 0);
    ASSERT_EQ(client.Write32(0x2001C, 1024), 0);
    stream.StartAcquisition();
    EXPECT_EQ(stream.Read().Payload().size(), 307200u);
}

TEST_F(StreamChannelTest, SendsPacketsOf512BytesAtHighSpeed) {
    CameraSettings settings = Medium();
    settings.speed = usb::Speed::High;
    Device slow(settings);
    DeviceClient slowClient(slow);
    StreamClient slowStream(slowClient);
    ASSERT_EQ(slowStream.Start(307712, 1), 0); // one packet more than the image
    slowStream.StartAcquisition();
    EXPECT_EQ(slowStream.Read().Payload().size(), 307200u);
}

TEST(StreamAlignment, RefusesSizesThatAreNotAligned) {
    CameraSettings settings = Medium();
    settings.registers.alignmentExponent = 10;
    Device device(settings);
    DeviceClient client(device);
    EXPECT_EQ(client.Read(0x20000, 4), 0x0A000000u);
    for (const std::uint64_t address : {0x20018, 0x2001C, 0x20024, 0x20028, 0x2002C}) {
        EXPECT_EQ(client.Write32(address, 1000), 0xA003) << std::hex << address;
        EXPECT_EQ(client.Write32(address, 2048), 0) << std::hex << address;
    }
    EXPECT_EQ(client.Write32(0x20020, 7), 0) << "the count is no size";
}

TEST(StreamAlignment, CanBeCheckedAsLateAsStreamEnable) {
    CameraSettings settings = Medium();
    settings.registers.alignmentExponent = 10;
    settings.registers.lateAlignmentCheck = true;
    Device device(settings);
    DeviceClient client(device);
    StreamClient stream(client);
    EXPECT_EQ(stream.Start(1000, 400), 0xA004);
    EXPECT_EQ(stream.Start(1024, 400), 0);
}

} // namespace
