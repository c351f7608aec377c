// Scripted faults of the control channel as a host meets them.

#include "virtualcam/device/FaultScript.h"

#include <gtest/gtest.h>

#include "virtualcam/support/SmallCamera.h"
#include "virtualcam/support/StreamClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::ControlFault;
using virtualcam::ControlFaultRule;
using virtualcam::Device;
using virtualcam::FaultScript;
using virtualcam::PipeStatus;
using virtualcam::test::DeviceClient;
using virtualcam::test::Hex;
using virtualcam::test::kRead;
using virtualcam::test::kReadAck;
using virtualcam::test::Small;
using virtualcam::test::StreamClient;

const char* const kReadAgain = "55335643 0040 0008 0C00 0A00 0000000000000000 0000 0400";
const char* const kReadAgainAck = "55335643 0000 0108 0400 0A00 03000100";
const char* const kWrite = "55335643 0040 0208 0C00 0B00 1800020000000000 00040000";

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

TEST_F(ControlFaultTest, TheChannelIsDeafUntilThePortIsReset) {
    Script(ControlFault::Deaf, 1);
    EXPECT_TRUE(client.Ask(kWrite).empty());
    device.ClearHalt(0x81);
    EXPECT_TRUE(client.Ask(kRead).empty());
    device.BusReset();
    EXPECT_EQ(client.Ask(kReadAgain), Hex(kReadAgainAck));
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

TEST_F(ControlFaultTest, AnEmptyPacketComesInPlaceOfTheAnswer) {
    Script(ControlFault::EmptyAnswer);
    ASSERT_EQ(client.Send(Hex(kRead)), PipeStatus::Complete);
    Bytes answer;
    EXPECT_EQ(client.Receive(0x81, 1024, answer, 0), PipeStatus::Complete);
    EXPECT_TRUE(answer.empty());
    EXPECT_TRUE(Next().empty());
}

TEST_F(ControlFaultTest, AFaultWaitsForTheStreamToRun) {
    ControlFaultRule rule;
    rule.fault = ControlFault::NoAnswer;
    rule.whileStreaming = true;
    rule.count = 0;
    Script(rule);
    EXPECT_EQ(client.Ask(kRead), Hex(kReadAck));
    StreamClient stream(client);
    EXPECT_EQ(stream.Start(8192, 1), 0);
    EXPECT_TRUE(client.Ask(kReadAgain).empty());
}

TEST_F(ControlFaultTest, TransfersFailOnTheLineBeforeTheDeviceIsGone) {
    FaultScript script;
    script.unplugErrorsMs = 50;
    device.SetFaults(script);
    device.Unplug();
    Bytes data(1024);
    EXPECT_EQ(device.In(0x81, data.data(), data.size()).status, PipeStatus::Error);
    EXPECT_EQ(device.In(0x83, data.data(), data.size()).status, PipeStatus::Error);
    EXPECT_EQ(device.Out(0x01, data.data(), 1).status, PipeStatus::Error);
    EXPECT_EQ(device.Control({0x80, 0x08, 0, 0, 1}, data.data()).status, PipeStatus::Error);
    struct Listener : virtualcam::DeviceListener {
        void EndpointReady(std::uint8_t) override {}
        void Unplugged() override {}
        void Plugged() override {}
    } listener;
    device.SetListener(&listener); // starts the device's clockwork
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (device.IsPlugged() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::yield();
    EXPECT_EQ(device.In(0x81, data.data(), data.size()).status, PipeStatus::Gone);
    device.SetListener(nullptr);
}

} // namespace
