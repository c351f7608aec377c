#include "virtualcam/device/channel/StreamMeter.h"

#include "virtualcam/support/CameraFixture.h"

namespace {

using namespace virtualcam;
using namespace virtualcam::test;
using std::chrono::nanoseconds;

TEST(StreamMeter, TellsTheGapsBetweenBlocksFromWaitingInsideThem) {
    StreamMeter meter;
    const TimePoint start{nanoseconds(0x100000)};
    meter.Ended(StreamMeter::End::Transfer, start);
    meter.Asked(start + nanoseconds(100)); // inside a block
    meter.Ended(StreamMeter::End::Block, start + nanoseconds(0x1000));
    meter.Asked(start + nanoseconds(0x1000 + 5));
    meter.Asked(start + nanoseconds(0x9000)); // asked again: it waited no longer
    EXPECT_EQ(ToHex(meter.Figures()), "0100000000000000"
                                      "0010100000000000"
                                      "6900000000000000"
                                      "0500000000000000"
                                      "0000000000000000" // from 4 to 7 ns: one
                                      "01000000" +
                                          std::string(29 * 8, '0'));
}

TEST(StreamMeter, PutsAllThatIsVeryLongTogether) {
    StreamMeter meter;
    meter.Ended(StreamMeter::End::Block, TimePoint());
    meter.Asked(TimePoint() + std::chrono::hours(1));
    EXPECT_EQ(ToHex(meter.Figures()).substr(0x9C * 2), "01000000");
}

TEST_F(CameraTest, CountsTheBlocksThatAHostTook) {
    ASSERT_EQ(StartStream(), 0);
    stream.StartAcquisition();
    for (int i = 0; i < 3; ++i)
        stream.Read();
    EXPECT_EQ(client.Read(0x10B000, 8), 3u);
    const std::uint64_t last = client.Read(0x10B008, 8);
    EXPECT_LE(last, static_cast<std::uint64_t>(Clock::Now().time_since_epoch().count()));
    Bytes gaps;
    ASSERT_EQ(client.Read(0x10B020, 128, gaps), 0);
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < 32; ++i)
        sum += Load<std::uint32_t>(gaps.data() + 4 * i);
    EXPECT_EQ(sum, 2u) << "there are two gaps between three blocks";
    stream.Stop();
    ASSERT_EQ(StartStream(), 0);
    EXPECT_EQ(client.Read(0x10B000, 8), 0u);
}

} // namespace
