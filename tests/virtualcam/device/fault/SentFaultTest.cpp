// Scripted faults of the stream as a host meets them.

#include "virtualcam/device/FaultScript.h"

#include <gtest/gtest.h>

#include "virtualcam/support/SmallCamera.h"
#include "virtualcam/support/StreamClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::Device;
using virtualcam::FaultScript;
using virtualcam::PipeStatus;
using virtualcam::StreamFault;
using virtualcam::StreamFaultRule;
using virtualcam::test::Block;
using virtualcam::test::DeviceClient;
using virtualcam::test::Small;
using virtualcam::test::StreamClient;

struct StreamFaultTest : testing::Test {
    Device device{Small()}; // payload 8192
    DeviceClient client{device};
    StreamClient stream{client};

    void Start(StreamFault fault, std::uint32_t value = 0, std::uint64_t frame = 0) {
        FaultScript script;
        StreamFaultRule rule;
        rule.fault = fault;
        rule.value = value;
        rule.frame = frame;
        script.stream = {rule};
        device.SetFaults(script);
        EXPECT_EQ(stream.Start(4096, 2, 1024), 0);
        stream.StartAcquisition();
    }
    void ExpectGood(const Block& block, std::uint64_t id) {
        EXPECT_EQ(block.Leader().size(), 52u);
        EXPECT_EQ(block.Id(), id);
        EXPECT_EQ(block.TrailerId(), id);
        EXPECT_EQ(block.Status(), 0);
        EXPECT_EQ(block.Payload().size(), 8192u);
    }
};

TEST_F(StreamFaultTest, ALeaderIsLost) {
    Start(StreamFault::LostLeader, 0, 1);
    ExpectGood(stream.Read(), 0);
    Bytes payload;
    EXPECT_EQ(client.Receive(0x83, 1024, payload), PipeStatus::Complete);
    EXPECT_EQ(payload.size(), 1024u) << "pixels stand where the leader should be";
}

TEST_F(StreamFaultTest, ATrailerIsLost) {
    Start(StreamFault::LostTrailer);
    const Block block = stream.Read();
    EXPECT_EQ(block.Trailer().size(), 52u) << "the next leader stands there";
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(block.Trailer().data()), 0x4C563355u);
}

TEST_F(StreamFaultTest, LeaderAndTrailerAreSwapped) {
    Start(StreamFault::Swapped);
    const Block block = stream.Read();
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(block.Leader().data()), 0x54563355u);
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(block.Trailer().data()), 0x4C563355u);
    ExpectGood(stream.Read(), 1);
}

TEST_F(StreamFaultTest, ALeaderHasTheWrongMagic) {
    Start(StreamFault::LeaderMagic);
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(stream.Read().Leader().data()), 0x58563355u);
    ExpectGood(stream.Read(), 1);
}

TEST_F(StreamFaultTest, ATrailerHasTheWrongMagic) {
    Start(StreamFault::TrailerMagic);
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(stream.Read().Trailer().data()), 0x58563355u);
    ExpectGood(stream.Read(), 1);
}

TEST_F(StreamFaultTest, APayloadIsTruncatedAtAndAroundEverySlotBorder) {
    for (const std::uint32_t bytes : {0, 1, 1024, 4095, 4096, 4097, 8191}) {
        Start(StreamFault::Truncated, bytes);
        const Block block = stream.Read();
        EXPECT_EQ(block.Payload().size(), bytes);
        EXPECT_EQ(block.ValidBytes(), bytes);
        EXPECT_EQ(block.Status(), 0);
        EXPECT_EQ(block.Trailer().size(), 32u) << bytes;
        ExpectGood(stream.Read(), 1);
        stream.StopAcquisition();
        stream.Stop();
    }
}

TEST_F(StreamFaultTest, BlockIdsHaveAGap) {
    Start(StreamFault::IdGap, 3, 1);
    ExpectGood(stream.Read(), 0);
    ExpectGood(stream.Read(), 4);
    ExpectGood(stream.Read(), 5);
}

TEST_F(StreamFaultTest, LeaderAndTrailerDisagreeOnTheBlock) {
    Start(StreamFault::IdMismatch);
    const Block block = stream.Read();
    EXPECT_EQ(block.Id(), 0u);
    EXPECT_EQ(block.TrailerId(), 1u);
}

TEST_F(StreamFaultTest, DataIsDiscarded) {
    Start(StreamFault::Discarded, 5000);
    const Block block = stream.Read();
    EXPECT_EQ(block.Status(), 0xA100);
    EXPECT_EQ(block.ValidBytes(), 5000u);
    EXPECT_EQ(block.Payload().size(), 5000u);
    ExpectGood(stream.Read(), 1);
}

TEST_F(StreamFaultTest, DataIsOverrun) {
    Start(StreamFault::Overrun, 192);
    const Block block = stream.Read();
    EXPECT_EQ(block.Status(), 0xA101);
    EXPECT_EQ(block.ValidBytes(), 8000u);
}

TEST_F(StreamFaultTest, APacketTooManyComes) {
    Start(StreamFault::Overflow);
    const Block block = stream.Read();
    EXPECT_EQ(block.transfers[1].size(), 4096u);
    EXPECT_NE(block.Trailer().size(), 32u) << "everything behind is out of place";
}

TEST_F(StreamFaultTest, TheEndpointStallsInTheMiddleOfABlock) {
    Start(StreamFault::Stall, 5120);
    const Block block = stream.Read(3);
    EXPECT_EQ(block.transfers[1].size(), 4096u);
    EXPECT_EQ(block.transfers[2].size(), 1024u);
    EXPECT_EQ(block.statuses[2], PipeStatus::Stall);
    EXPECT_TRUE(device.IsHalted(0x83));
    EXPECT_EQ(client.Read(0x20004, 4), 0u);
}

TEST_F(StreamFaultTest, ATransferFailsOnTheLine) {
    Start(StreamFault::LineError, 1024);
    const Block block = stream.Read(2);
    EXPECT_EQ(block.statuses[1], PipeStatus::Error);
    EXPECT_EQ(block.transfers[1].size(), 1024u);
}

TEST_F(StreamFaultTest, TheDeviceLeavesInTheMiddleOfABlock) {
    Start(StreamFault::Unplug, 4096, 1);
    ExpectGood(stream.Read(), 0);
    const Block block = stream.Read(3);
    EXPECT_EQ(block.statuses[2], PipeStatus::Gone);
    EXPECT_FALSE(device.IsPlugged());
}

TEST_F(StreamFaultTest, NoByteIsValid) {
    Start(StreamFault::ZeroValidSize);
    const Block block = stream.Read();
    EXPECT_EQ(block.ValidBytes(), 0u);
    EXPECT_EQ(block.Payload().size(), 8192u);
}

TEST_F(StreamFaultTest, AnImageHasFewerLines) {
    Start(StreamFault::ShortHeight, 10);
    const Block block = stream.Read();
    EXPECT_EQ(block.ValidBytes(), 1280u);
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(block.Trailer().data() + 28), 10u);
    ExpectGood(stream.Read(), 1);
}

TEST_F(StreamFaultTest, OnlyTheTrailerKnowsThatLinesAreMissing) {
    Start(StreamFault::LessLines, 10);
    const Block block = stream.Read();
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(block.Leader().data() + 36), 64u);
    EXPECT_EQ(virtualcam::Load<std::uint32_t>(block.Trailer().data() + 28), 10u);
    EXPECT_EQ(block.ValidBytes(), 1280u);
    ExpectGood(stream.Read(), 1);
}

TEST_F(StreamFaultTest, EmptyPacketsComeForLeaderAndTrailer) {
    Start(StreamFault::EmptyLeader);
    Block block = stream.Read();
    EXPECT_TRUE(block.Leader().empty());
    EXPECT_EQ(block.Trailer().size(), 32u);
    ExpectGood(stream.Read(), 1);
    stream.Stop();
    Start(StreamFault::EmptyTrailer);
    block = stream.Read();
    EXPECT_EQ(block.Leader().size(), 52u);
    EXPECT_TRUE(block.Trailer().empty());
}

TEST_F(StreamFaultTest, ALeaderIsLongerAndOfAnUnknownType) {
    Start(StreamFault::LongLeader, 12);
    EXPECT_EQ(stream.Read().Leader().size(), 64u);
    stream.Stop();
    Start(StreamFault::PayloadType, 0x2345);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(stream.Read().Leader().data() + 18), 0x2345);
}

TEST_F(StreamFaultTest, BytesOfAnEarlierBlockComeFirst) {
    Start(StreamFault::LeftOver, 600);
    Bytes old;
    EXPECT_EQ(client.Receive(0x83, 1024, old), PipeStatus::Complete);
    EXPECT_EQ(old, Bytes(600, 0x5A));
    ExpectGood(stream.Read(), 0);
}

TEST_F(StreamFaultTest, AStreamIsMuteUntilItsEndpointIsCleared) {
    FaultScript script;
    script.muteUntilClearHalt = true;
    device.SetFaults(script);
    ASSERT_EQ(stream.Start(4096, 2), 0);
    stream.StartAcquisition();
    ExpectGood(stream.Read(), 0);
    stream.Stop();
    ASSERT_EQ(stream.Start(4096, 2), 0);
    Bytes leader;
    EXPECT_EQ(client.Receive(0x83, 1024, leader, 20), PipeStatus::NotYet);
    stream.Stop();
    device.ClearHalt(0x83);
    ASSERT_EQ(stream.Start(4096, 2), 0);
    ExpectGood(stream.Read(), 0);
}

TEST(StreamLimitTest, LargeTransfersComeShort) {
    CameraSettings settings = Small();
    settings.registers.largestTransfer = 1024;
    Device device(settings);
    DeviceClient client(device);
    StreamClient stream(client);
    ASSERT_EQ(stream.Start(4096, 2), 0);
    stream.StartAcquisition();
    EXPECT_EQ(stream.Read().transfers[1].size(), 1024u);
    stream.Stop();
    ASSERT_EQ(stream.Start(1024, 8), 0);
    EXPECT_EQ(stream.Read().Payload().size(), 8192u);
}

// What a host with transfers of these sizes gets from a camera that is silent above 2048 bytes.
PipeStatus AnswerToTransfers(std::uint32_t size, std::uint32_t count, std::uint32_t final1, std::uint32_t final2) {
    CameraSettings settings = Small();
    settings.registers.silentAboveTransfer = 2048;
    Device device(settings);
    DeviceClient client(device);
    StreamClient stream(client);
    EXPECT_EQ(stream.Start(size, count, final1, final2), 0);
    stream.StartAcquisition();
    Bytes leader;
    const PipeStatus answer = client.Receive(0x83, 1024, leader, 20);
    EXPECT_EQ(leader.size(), answer == PipeStatus::Complete ? 52u : 0u);
    return answer;
}

TEST(StreamLimitTest, NothingComesWhileATransferIsProgrammedAboveTheLimit) {
    EXPECT_EQ(AnswerToTransfers(3072, 2, 2048, 0), PipeStatus::NotYet);
    EXPECT_EQ(AnswerToTransfers(2048, 2, 3072, 1024), PipeStatus::NotYet);
    EXPECT_EQ(AnswerToTransfers(2048, 2, 2048, 3072), PipeStatus::NotYet);
    EXPECT_EQ(AnswerToTransfers(2048, 2, 2048, 2048), PipeStatus::Complete);
}

TEST(StreamLimitTest, ASilentCameraStreamsAsSoonAsTransfersAreSmall) {
    CameraSettings settings = Small();
    settings.registers.silentAboveTransfer = 1024;
    Device device(settings);
    DeviceClient client(device);
    StreamClient stream(client);
    ASSERT_EQ(stream.Start(4096, 2), 0);
    stream.StartAcquisition();
    Bytes leader;
    EXPECT_EQ(client.Receive(0x83, 1024, leader, 20), PipeStatus::NotYet);
    stream.Stop();
    ASSERT_EQ(stream.Start(1024, 8), 0);
    const Block block = stream.Read();
    EXPECT_EQ(block.Id(), 0u);
    EXPECT_EQ(block.Payload().size(), 8192u);
}

TEST_F(StreamFaultTest, ALastTransferIsPadded) {
    FaultScript script;
    StreamFaultRule rule;
    rule.fault = StreamFault::Padding;
    script.stream = {rule};
    device.SetFaults(script);
    ASSERT_EQ(stream.Start(10240, 1), 0);
    stream.StartAcquisition();
    const Block block = stream.Read();
    EXPECT_EQ(block.transfers[1].size(), 10240u);
    EXPECT_EQ(block.ValidBytes(), 8192u);
}

TEST_F(StreamFaultTest, StreamEnableIsRefused) {
    FaultScript script;
    script.refuseStreamEnable = 1;
    script.streamEnableStatus = 0xA003;
    device.SetFaults(script);
    EXPECT_EQ(stream.Start(4096, 2), 0xA003);
    EXPECT_EQ(client.Read(0x20004, 4), 0u);
    EXPECT_EQ(client.Write32(0x20004, 1), 0);
}

TEST_F(StreamFaultTest, TheEndpointHaltsWhenStreamEnableIsCleared) {
    FaultScript script;
    script.haltOnStreamDisable = true;
    device.SetFaults(script);
    ASSERT_EQ(stream.Start(4096, 2), 0);
    stream.Stop();
    EXPECT_TRUE(device.IsHalted(0x83));
    EXPECT_EQ(client.Write32(0x20004, 1), 0xA002);
    device.ClearHalt(0x83);
    EXPECT_EQ(client.Write32(0x20004, 1), 0);
}

} // namespace
