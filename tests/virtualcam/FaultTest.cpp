// Each scripted fault as a host meets it.

#include "virtualcam/FaultScript.h"

#include <gtest/gtest.h>

#include "virtualcam/StreamClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::CameraSettings;
using virtualcam::ControlFault;
using virtualcam::ControlFaultRule;
using virtualcam::Device;
using virtualcam::FaultScript;
using virtualcam::PipeStatus;
using virtualcam::StreamFault;
using virtualcam::StreamFaultRule;
using virtualcam::test::Block;
using virtualcam::test::DeviceClient;
using virtualcam::test::Hex;
using virtualcam::test::StreamClient;

const char* const kRead = "55335643 0040 0008 0C00 0900 0000000000000000 0000 0400";
const char* const kReadAgain = "55335643 0040 0008 0C00 0A00 0000000000000000 0000 0400";
const char* const kReadAck = "55335643 0000 0108 0400 0900 03000100";
const char* const kReadAgainAck = "55335643 0000 0108 0400 0A00 03000100";
const char* const kWrite = "55335643 0040 0208 0C00 0B00 1800020000000000 00040000";

CameraSettings Small() {
    CameraSettings settings;
    settings.sensorWidth = 128;
    settings.sensorHeight = 64;
    settings.frameRateEnable = false;
    return settings;
}

struct ControlFaultTest : testing::Test {
    Device device{Small()};
    DeviceClient client{device};

    void Script(ControlFault fault, std::uint32_t value = 0) {
        ControlFaultRule rule;
        rule.fault = fault;
        rule.value = value;
        Script(rule);
    }
    void Script(const ControlFaultRule& rule) {
        FaultScript script;
        script.control.push_back(rule);
        device.SetFaults(script);
    }
    Bytes Next(int timeoutMs = 0) {
        Bytes answer;
        client.Receive(0x81, 1024, answer, timeoutMs);
        return answer;
    }
};

TEST_F(ControlFaultTest, NoAnswerComesButTheCommandIsExecuted) {
    Script(ControlFault::NoAnswer);
    EXPECT_TRUE(client.Ask(kWrite).empty());
    EXPECT_EQ(client.Ask(kReadAgain), Hex(kReadAgainAck)) << "only one command was hit";
    EXPECT_EQ(client.Read(0x20018, 4), 0x400u);
}

TEST_F(ControlFaultTest, AnAnswerComesLate) {
    Script(ControlFault::Late, 30);
    EXPECT_TRUE(client.Ask(kRead).empty());
    EXPECT_EQ(Next(2000), Hex(kReadAck));
}

TEST_F(ControlFaultTest, AStaleAnswerComesFirst) {
    Script(ControlFault::StaleId);
    EXPECT_EQ(client.Ask(kRead), Hex("55335643 0000 0108 0400 0800 03000100"));
    EXPECT_EQ(Next(), Hex(kReadAck));
}

TEST_F(ControlFaultTest, AnAnswerComesTwice) {
    Script(ControlFault::Duplicate);
    EXPECT_EQ(client.Ask(kRead), Hex(kReadAck));
    EXPECT_EQ(Next(), Hex(kReadAck));
    EXPECT_TRUE(Next().empty());
}

TEST_F(ControlFaultTest, AnAnswerHasTheWrongPrefix) {
    Script(ControlFault::WrongPrefix);
    EXPECT_EQ(client.Ask(kRead), Hex("AA335643 0000 0108 0400 0900 03000100"));
}

TEST_F(ControlFaultTest, AnAnswerIsTruncated) {
    Script(ControlFault::Truncated, 7);
    EXPECT_EQ(client.Ask(kRead), Hex("55335643 0000 01"));
}

TEST_F(ControlFaultTest, AnAnswerHasAForeignRequestId) {
    Script(ControlFault::WrongRequestId);
    EXPECT_EQ(client.Ask(kRead), Hex("55335643 0000 0108 0400 0901 03000100"));
}

TEST_F(ControlFaultTest, AnAnswerNamesAnotherCommand) {
    Script(ControlFault::WrongCommandId);
    EXPECT_EQ(client.Ask(kRead), Hex("55335643 0000 0308 0400 0900 03000100"));
}

TEST_F(ControlFaultTest, PendingAcknowledgesComeBeforeTheAnswer) {
    Script(ControlFault::Pending, 3);
    const Bytes pending = Hex("55335643 0000 0508 0400 0900 0000 6400");
    EXPECT_EQ(client.Ask(kRead), pending);
    EXPECT_EQ(Next(), pending);
    EXPECT_EQ(Next(), pending);
    EXPECT_EQ(Next(2000), Hex(kReadAck));
}

TEST_F(ControlFaultTest, NothingFollowsAPendingAcknowledge) {
    Script(ControlFault::PendingThenNothing);
    EXPECT_EQ(client.Ask(kRead), Hex("55335643 0000 0508 0400 0900 0000 6400"));
    EXPECT_TRUE(Next(30).empty());
    EXPECT_EQ(client.Ask(kReadAgain), Hex(kReadAgainAck));
}

TEST_F(ControlFaultTest, TheDeviceIsBusy) {
    Script(ControlFault::Busy);
    EXPECT_EQ(client.Ask(kWrite), Hex("55335643 0780 0308 0000 0B00"));
    EXPECT_EQ(client.Read(0x20018, 4), 0u) << "not executed";
}

TEST_F(ControlFaultTest, AnyStatusCodeCanCome) {
    for (const std::uint16_t status : {0x8FFF, 0xC001, 0x0001, 0x8005}) {
        Script(ControlFault::Status, status);
        const Bytes answer = client.Ask(kRead);
        ASSERT_EQ(answer.size(), 12u);
        EXPECT_EQ(virtualcam::Load<std::uint16_t>(answer.data() + 4), status);
    }
}

TEST_F(ControlFaultTest, AWriteIsSaidToHaveWrittenNothing) {
    Script(ControlFault::ZeroWritten);
    EXPECT_EQ(client.Ask(kWrite), Hex("55335643 0000 0308 0400 0B00 0000 0000"));
    EXPECT_EQ(client.Read(0x20018, 4), 0x400u);
}

TEST_F(ControlFaultTest, TheChannelIsDeafUntilItIsCleared) {
    Script(ControlFault::Deaf);
    EXPECT_TRUE(client.Ask(kWrite).empty());
    EXPECT_TRUE(client.Ask(kRead).empty());
    device.ClearHalt(0x81);
    EXPECT_EQ(client.Ask(kReadAgain), Hex(kReadAgainAck));
    EXPECT_EQ(client.Read(0x20018, 4), 0u) << "not executed";
}

TEST_F(ControlFaultTest, TheDeviceDoesNotSurviveAHaltThatTheHostSets) {
    FaultScript script;
    script.dieOnSetHalt = true;
    device.SetFaults(script);
    device.Control({0x02, 1, 0, 0x81, 0}, nullptr);
    EXPECT_TRUE(device.IsPlugged()) << "clearing does no harm";
    device.Control({0x02, 3, 0, 0x81, 0}, nullptr);
    EXPECT_FALSE(device.IsPlugged());
}

TEST_F(ControlFaultTest, AWriteIsAcknowledgedWithoutItsLength) {
    Script(ControlFault::MissingScd);
    EXPECT_EQ(client.Ask(kWrite), Hex("55335643 0000 0308 0000 0B00"));
    EXPECT_EQ(client.Read(0x20018, 4), 0x400u);
}

TEST_F(ControlFaultTest, TheInEndpointStalls) {
    Script(ControlFault::StallIn);
    EXPECT_EQ(client.Send(Hex(kRead)), PipeStatus::Complete);
    Bytes answer;
    EXPECT_EQ(client.Receive(0x81, 1024, answer), PipeStatus::Stall);
    device.ClearHalt(0x81);
    EXPECT_EQ(client.Ask(kReadAgain), Hex(kReadAgainAck));
}

TEST_F(ControlFaultTest, TheOutEndpointStalls) {
    Script(ControlFault::StallOut);
    EXPECT_EQ(client.Send(Hex(kRead)), PipeStatus::Stall);
    EXPECT_EQ(client.Send(Hex(kRead)), PipeStatus::Stall);
    device.ClearHalt(0x01);
    EXPECT_EQ(client.Ask(kReadAgain), Hex(kReadAgainAck));
}

TEST_F(ControlFaultTest, AnEmptyPacketComesFirst) {
    Script(ControlFault::ZeroLength);
    ASSERT_EQ(client.Send(Hex(kRead)), PipeStatus::Complete);
    Bytes answer;
    EXPECT_EQ(client.Receive(0x81, 1024, answer), PipeStatus::Complete);
    EXPECT_TRUE(answer.empty());
    EXPECT_EQ(Next(), Hex(kReadAck));
}

TEST_F(ControlFaultTest, AnAnswerIsLongerThanItSays) {
    Script(ControlFault::Oversize, 2);
    EXPECT_EQ(client.Ask(kRead), Hex(std::string(kReadAck) + "EEEE"));
}

TEST_F(ControlFaultTest, TheDeviceLeavesOnACommand) {
    Script(ControlFault::Unplug);
    EXPECT_EQ(client.Send(Hex(kRead)), PipeStatus::Gone);
    EXPECT_FALSE(device.IsPlugged());
    device.Plug();
    EXPECT_EQ(client.Ask(kRead), Hex(kReadAck)) << "only once";
}

TEST_F(ControlFaultTest, AFaultHitsTheCommandItIsMeantFor) {
    ControlFaultRule rule;
    rule.fault = ControlFault::Busy;
    rule.command = std::uint16_t{0x0802};
    rule.address = std::uint64_t{0x20018};
    rule.skip = 1;
    rule.count = 2;
    Script(rule);
    EXPECT_EQ(client.Write32(0x20018, 1024), 0) << "skipped";
    EXPECT_EQ(client.Write32(0x2001C, 1024), 0) << "another address";
    EXPECT_EQ(client.Read(0x20018, 4), 1024u) << "another command";
    EXPECT_EQ(client.Write32(0x20018, 2048), 0x8007);
    EXPECT_EQ(client.Write32(0x20018, 2048), 0x8007);
    EXPECT_EQ(client.Write32(0x20018, 2048), 0) << "over";
}

TEST_F(ControlFaultTest, TheDeviceLeavesWhenTheStreamIsEnabled) {
    ControlFaultRule rule;
    rule.fault = ControlFault::Unplug;
    rule.address = std::uint64_t{0x20004};
    rule.command = std::uint16_t{0x0802};
    Script(rule);
    EXPECT_EQ(client.Read(0x20004, 4), 0u);
    client.Write32(0x20004, 1);
    EXPECT_FALSE(device.IsPlugged());
}

TEST_F(ControlFaultTest, TheDeviceComesBackByItself) {
    struct Listener final : virtualcam::DeviceListener {
        std::atomic<int> plugged{0};
        void EndpointReady(std::uint8_t) override {}
        void Unplugged() override {}
        void Plugged() override { ++plugged; }
    } listener;
    device.SetListener(&listener);
    FaultScript script;
    ControlFaultRule rule;
    rule.fault = ControlFault::Unplug;
    script.control = {rule};
    script.replugAfterMs = 1;
    device.SetFaults(script);
    EXPECT_EQ(client.Send(Hex(kRead)), PipeStatus::Gone);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (listener.plugged == 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_EQ(listener.plugged, 1);
    EXPECT_EQ(client.Ask(kRead), Hex(kReadAck));
    device.SetListener(nullptr);
}

TEST_F(ControlFaultTest, TheDeviceRestartsOnCommand) {
    ASSERT_EQ(client.Write32(0x103004, 9), 0);
    ASSERT_EQ(client.Write32(0x100004, 1), 0) << "acknowledged first";
    struct Listener final : virtualcam::DeviceListener {
        std::atomic<int> plugged{0};
        void EndpointReady(std::uint8_t) override {}
        void Unplugged() override {}
        void Plugged() override { ++plugged; }
    } listener;
    device.SetListener(&listener);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (listener.plugged == 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_EQ(listener.plugged, 1);
    EXPECT_EQ(client.Read(0x103004, 4), 0u);
    device.SetListener(nullptr);
}

// --- stream

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

// --- registers

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
    EXPECT_EQ(client.Read(0x1C4, 8), 0xA0Cu);
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
    EXPECT_EQ(client.Read(0x1C4, 8), 0xE0Du);
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

} // namespace
