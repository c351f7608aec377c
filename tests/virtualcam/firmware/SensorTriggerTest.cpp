// Images on triggers.

#include "virtualcam/support/CameraFixture.h"

#include <cstring>

namespace {

using virtualcam::Bytes;
using virtualcam::test::CameraTest;

struct TriggerTest : CameraTest {
    static constexpr std::uint64_t kBurst = 0x102110, kFrame = 0x102130;
    TriggerTest() {
        EXPECT_EQ(client.Write32(kFrame, 1), 0);
        EXPECT_EQ(StartStream(), 0);
    }
    void Fire(std::uint64_t trigger) { EXPECT_EQ(client.Write32(trigger + 0x10, 1), 0); }
};

TEST_F(TriggerTest, TakesAnImageForEachSoftwareTrigger) {
    stream.StartAcquisition();
    EXPECT_FALSE(HasBlock());
    EXPECT_EQ(client.Read(0x102030, 4), 1u) << "waits for a frame trigger";
    Fire(kFrame);
    EXPECT_EQ(stream.Read().Id(), 0u);
    EXPECT_FALSE(HasBlock());
    Fire(kFrame);
    Fire(kFrame);
    EXPECT_EQ(stream.Read().Id(), 1u);
    EXPECT_EQ(stream.Read().Id(), 2u);
    EXPECT_FALSE(HasBlock());
}

TEST_F(TriggerTest, WaitsForNoTriggerThatWouldComeTooEarly) {
    const double slow = 0.1;
    Bytes rate(sizeof slow);
    std::memcpy(rate.data(), &slow, sizeof slow);
    ASSERT_EQ(client.Write(0x102018, rate), 0);
    ASSERT_EQ(client.Write32(0x102014, 1), 0);
    stream.StartAcquisition();
    EXPECT_EQ(client.Read(0x102030, 4), 1u);
    Fire(kFrame);
    EXPECT_EQ(client.Read(0x102030, 4), 0u) << "the next frame may begin in ten seconds";
}

TEST_F(TriggerTest, WaitsForNoTriggerWhoseImageItWouldLose) {
    stream.StartAcquisition();
    unsigned fired = 0;
    for (; fired < 100 && client.Read(0x102030, 4) == 1u; ++fired)
        Fire(kFrame);
    EXPECT_EQ(client.Read(0x102030, 4), 0u) << "nobody has fetched an image";
    for (unsigned i = 0; i < fired; ++i)
        EXPECT_EQ(stream.Read().Id(), i);
    EXPECT_EQ(client.Read(0x102030, 4), 1u);
}

TEST_F(TriggerTest, IgnoresTriggersBeforeStart) {
    Fire(kFrame);
    stream.StartAcquisition();
    EXPECT_FALSE(HasBlock());
}

TEST_F(TriggerTest, IgnoresSoftwareTriggersWhenALineIsTheSource) {
    ASSERT_EQ(client.Write32(kFrame + 4, 1), 0);
    stream.StartAcquisition();
    Fire(kFrame);
    EXPECT_FALSE(HasBlock());
}

TEST_F(TriggerTest, TakesAnImageOnTheEdgeOfALine) {
    ASSERT_EQ(client.Write32(kFrame + 4, 2), 0); // Line2
    stream.StartAcquisition();
    device.SetInput(0, true);
    EXPECT_FALSE(HasBlock()) << "the other line";
    device.SetInput(1, true);
    EXPECT_TRUE(HasBlock());
    SkipBlock();
    device.SetInput(1, false);
    EXPECT_FALSE(HasBlock()) << "a falling edge";
    ASSERT_EQ(client.Write32(0x107010 + 0x20 + 4, 1), 0); // inverter
    device.SetInput(1, true);
    EXPECT_FALSE(HasBlock());
    device.SetInput(1, false);
    EXPECT_TRUE(HasBlock());
}

TEST_F(TriggerTest, DelaysATrigger) {
    Bytes delay(4);
    virtualcam::Store(delay.data(), virtualcam::FloatBits(20000.0F));
    ASSERT_EQ(client.Write(kFrame + 0xC, delay), 0);
    stream.StartAcquisition();
    const auto begin = std::chrono::steady_clock::now();
    Fire(kFrame);
    stream.Read();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(19));
}

TEST_F(TriggerTest, TakesABurstOfImages) {
    ASSERT_EQ(client.Write32(kFrame, 0), 0);
    ASSERT_EQ(client.Write32(kBurst, 1), 0);
    ASSERT_EQ(client.Write32(0x102010, 3), 0);
    stream.StartAcquisition();
    EXPECT_FALSE(HasBlock());
    EXPECT_EQ(client.Read(0x102034, 4), 1u) << "waits for a burst trigger";
    Fire(kBurst);
    for (std::uint64_t id = 0; id < 3; ++id)
        EXPECT_EQ(stream.Read().Id(), id);
    EXPECT_FALSE(HasBlock());
}

TEST_F(TriggerTest, NeedsBothTriggersWhenBothAreOn) {
    ASSERT_EQ(client.Write32(kBurst, 1), 0);
    stream.StartAcquisition();
    Fire(kFrame);
    EXPECT_FALSE(HasBlock());
    Fire(kBurst);
    EXPECT_FALSE(HasBlock());
    Fire(kFrame);
    EXPECT_TRUE(HasBlock());
}

} // namespace
