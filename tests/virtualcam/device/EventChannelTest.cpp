// Events that the camera raises.

#include "virtualcam/support/CameraFixture.h"

namespace {

using virtualcam::Bytes;
using virtualcam::PipeStatus;
using virtualcam::test::Block;
using virtualcam::test::CameraTest;
using virtualcam::test::Hex;

struct EventTest : CameraTest {
    EventTest() {
        EXPECT_EQ(client.Write32(0x30000, 1), 0);
        for (std::uint64_t i = 0; i < 5; ++i)
            EXPECT_EQ(client.Write32(0x108010 + 4 * i, 1), 0);
    }
    Bytes NextEvent() {
        Bytes event;
        client.Receive(0x82, 1024, event, 0);
        return event;
    }
};

TEST_F(EventTest, TellsStartAndEndOfAnExposure) {
    ASSERT_EQ(StartStream(), 0);
    ASSERT_EQ(client.Write32(0x102000, 0), 0);
    stream.StartAcquisition();
    const Block block = stream.Read();
    const std::uint16_t ids[] = {0x9003, 0x9002, 0x9001};
    for (std::uint16_t i = 0; i < 3; ++i) {
        const Bytes event = NextEvent();
        ASSERT_EQ(event.size(), 32u);
        Bytes expected = Hex("55335645 0000 000C 1400");
        virtualcam::Append<std::uint16_t>(expected, i);
        virtualcam::Append<std::uint16_t>(expected, 0);
        virtualcam::Append<std::uint16_t>(expected, ids[i]);
        EXPECT_EQ(Bytes(event.begin(), event.begin() + 16), expected);
        const auto timestamp = virtualcam::Load<std::uint64_t>(event.data() + 16);
        if (i == 0)
            EXPECT_LE(timestamp, block.Timestamp());
        else
            EXPECT_EQ(timestamp, block.Timestamp());
        EXPECT_EQ(virtualcam::Load<std::uint64_t>(event.data() + 24), 0u);
    }
    EXPECT_TRUE(NextEvent().empty());
}

TEST_F(EventTest, TellsTriggersThatComeTooEarly) {
    ASSERT_EQ(client.Write32(0x102130, 1), 0);
    ASSERT_EQ(client.Write32(0x102110, 1), 0);
    stream.StartAcquisition();
    ASSERT_EQ(client.Write32(0x102140, 1), 0);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(NextEvent().data() + 14), 0x9004);
    ASSERT_EQ(client.Write32(0x102120, 1), 0);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(NextEvent().data() + 14), 0x9003);
    ASSERT_EQ(client.Write32(0x102120, 1), 0);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(NextEvent().data() + 14), 0x9005);
}

TEST_F(EventTest, IsSilentAboutWhatNobodyAskedFor) {
    for (std::uint64_t i = 0; i < 5; ++i)
        ASSERT_EQ(client.Write32(0x108010 + 4 * i, 0), 0);
    stream.StartAcquisition();
    EXPECT_TRUE(NextEvent().empty());
}

TEST_F(EventTest, LosesEventsWhenItsQueueIsFull) {
    for (int i = 0; i < 100; ++i)
        device.FireEvent(static_cast<std::uint16_t>(0x9100 + i));
    int received = 0;
    Bytes event = NextEvent();
    for (; !event.empty(); event = NextEvent())
        ++received;
    EXPECT_EQ(received, 64);
    device.FireEvent(0x9200);
    EXPECT_FALSE(NextEvent().empty());
}

TEST_F(EventTest, EndsAMessageOfWholePacketsByAnEmptyPacket) {
    device.FireEvent(0x9100, Bytes(1000));
    Bytes event;
    EXPECT_EQ(client.Receive(0x82, 2048, event), PipeStatus::Complete);
    EXPECT_EQ(event.size(), 1024u);
}

TEST_F(EventTest, SendsTheTestEventOnCommand) {
    ASSERT_EQ(client.Write32(0x108004, 1), 0);
    const Bytes event = NextEvent();
    ASSERT_EQ(event.size(), 24u);
    EXPECT_EQ(virtualcam::Load<std::uint16_t>(event.data() + 14), 0x4FFF);
}

} // namespace
