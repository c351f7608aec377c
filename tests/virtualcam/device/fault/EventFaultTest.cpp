// Scripted faults of the event channel, and several events in a message.

#include "virtualcam/support/CameraFixture.h"

namespace {

using virtualcam::Bytes;
using virtualcam::EventFault;
using virtualcam::EventFaultRule;
using virtualcam::FaultScript;
using virtualcam::Load;
using virtualcam::PipeStatus;
using virtualcam::test::CameraTest;

constexpr std::uint32_t kLargest = 1024;

struct EventFaultTest : CameraTest {
    void SetUp() override { ASSERT_EQ(client.Write32(0x30000, 1), 0); }
    void Script(EventFault fault, std::uint32_t value = 0, unsigned skip = 0) {
        FaultScript script;
        EventFaultRule rule;
        rule.fault = fault;
        rule.value = value;
        rule.skip = skip;
        script.events = {rule};
        device.SetFaults(script);
    }
    Bytes Next() {
        Bytes message;
        client.Receive(0x82, kLargest, message, 0);
        return message;
    }
    // A well-formed message of one event without data.
    static void ExpectGood(const Bytes& message, std::uint16_t id) {
        ASSERT_EQ(message.size(), 24u);
        EXPECT_EQ(Load<std::uint32_t>(message.data()), 0x45563355u);
        EXPECT_EQ(Load<std::uint16_t>(message.data() + 8), 12u);
        EXPECT_EQ(Load<std::uint16_t>(message.data() + 14), id);
    }
};

TEST_F(EventFaultTest, AnEventIsLost) {
    Script(EventFault::Lost, 0, 1);
    for (const std::uint16_t id : {1, 2, 3})
        device.FireEvent(id);
    ExpectGood(Next(), 1);
    ExpectGood(Next(), 3);
}

TEST_F(EventFaultTest, AnEventComesTwiceOrManyTimes) {
    Script(EventFault::Duplicate);
    device.FireEvent(1);
    ExpectGood(Next(), 1);
    ExpectGood(Next(), 1);
    EXPECT_TRUE(Next().empty());
    Script(EventFault::Burst, 1000);
    device.FireEvent(2);
    for (unsigned i = 0; i < device.Settings().queuedEvents; ++i)
        ExpectGood(Next(), 2);
    EXPECT_TRUE(Next().empty()) << "more than the device keeps";
}

TEST_F(EventFaultTest, AMessageHasTheWrongPrefix) {
    Script(EventFault::WrongPrefix);
    device.FireEvent(1);
    EXPECT_NE(Load<std::uint32_t>(Next().data()), 0x45563355u);
}

TEST_F(EventFaultTest, AMessageIsTruncated) {
    for (const std::uint32_t length : {0u, 1u, 11u, 23u}) {
        Script(EventFault::Truncated, length);
        device.FireEvent(1);
        EXPECT_EQ(Next().size(), length);
    }
}

TEST_F(EventFaultTest, AMessageHasFewerBytesThanItSays) {
    Script(EventFault::WrongLength, 100);
    device.FireEvent(1);
    const Bytes message = Next();
    ASSERT_EQ(message.size(), 24u);
    EXPECT_EQ(Load<std::uint16_t>(message.data() + 8), 112u);
}

TEST_F(EventFaultTest, AMessageHasTheLargestLength) {
    Script(EventFault::MaximumLength);
    device.FireEvent(1);
    const Bytes message = Next();
    ASSERT_EQ(message.size(), client.Read(0x30004, 4));
    EXPECT_EQ(Load<std::uint16_t>(message.data() + 8), message.size() - 12);
}

TEST_F(EventFaultTest, TheEndpointHalts) {
    Script(EventFault::Halt);
    device.FireEvent(1);
    EXPECT_TRUE(device.IsHalted(0x82));
    EXPECT_EQ(client.Read(0x30000, 4), 0u) << "a halt disables events";
    EXPECT_EQ(client.Write32(0x30000, 1), 0xA005);
    device.ClearHalt(0x82);
    EXPECT_EQ(client.Write32(0x30000, 1), 0);
    device.FireEvent(2);
    ExpectGood(Next(), 2);
}

TEST_F(EventFaultTest, EventsShareAMessageWhenTheHostAllowsIt) {
    ASSERT_EQ(client.Write(0x1E0, {2, 0, 0, 0, 0, 0, 0, 0}), 0);
    device.FireEvent(0x9001, {1, 2, 3, 4});
    device.FireEvent(0x9002);
    const Bytes message = Next();
    ASSERT_EQ(message.size(), 12u + 16 + 12);
    EXPECT_EQ(Load<std::uint16_t>(message.data() + 8), 28u);
    EXPECT_EQ(Load<std::uint16_t>(message.data() + 12), 16u);
    EXPECT_EQ(Load<std::uint16_t>(message.data() + 14), 0x9001);
    EXPECT_EQ(Load<std::uint32_t>(message.data() + 24), 0x04030201u);
    EXPECT_EQ(Load<std::uint16_t>(message.data() + 28), 12u);
    EXPECT_EQ(Load<std::uint16_t>(message.data() + 30), 0x9002);
    EXPECT_TRUE(Next().empty());
}

TEST_F(EventFaultTest, ASharedMessageStaysBelowTheLargestLength) {
    ASSERT_EQ(client.Write(0x1E0, {2, 0, 0, 0, 0, 0, 0, 0}), 0);
    for (int i = 0; i < 100; ++i)
        device.FireEvent(0x9001, Bytes(8));
    int events = 0;
    for (Bytes message = Next(); !message.empty(); message = Next()) {
        ASSERT_LT(message.size(), kLargest);
        EXPECT_EQ(Load<std::uint16_t>(message.data() + 8), message.size() - 12);
        events += static_cast<int>((message.size() - 12) / 20);
    }
    EXPECT_EQ(events, 100);
}

TEST_F(EventFaultTest, ASharedMessageHasAWrongSizeInside) {
    ASSERT_EQ(client.Write(0x1E0, {2, 0, 0, 0, 0, 0, 0, 0}), 0);
    Script(EventFault::WrongEntrySize, 500);
    device.FireEvent(0x9001);
    EXPECT_EQ(Load<std::uint16_t>(Next().data() + 12), 500u);
}

TEST_F(EventFaultTest, EventsKeepToThemselvesWithoutLeave) {
    device.FireEvent(1);
    device.FireEvent(2);
    ExpectGood(Next(), 1);
    ExpectGood(Next(), 2);
}

TEST_F(EventFaultTest, TheConfigurationKnowsNoOtherBit) {
    EXPECT_EQ(client.Write(0x1E0, {1, 0, 0, 0, 0, 0, 0, 0}), 0x8002);
    ASSERT_EQ(client.Write(0x1E0, {2, 0, 0, 0, 0, 0, 0, 0}), 0);
    device.BusReset();
    EXPECT_EQ(client.Read(0x1E0, 8), 0u);
}

} // namespace
