#include "vexlo/stream/StreamStatistics.h"

#include <gtest/gtest.h>

using namespace vexlo;

namespace {

TEST(StreamStatistics, CountsBuffersAndFailures) {
    StreamStatistics statistics;
    statistics.Count(VX_OK, 0);
    statistics.Count(VX_E_INCOMPLETE, 1);
    statistics.Count(VX_E_BAD_LEADER, ~std::uint64_t(0));
    EXPECT_EQ(statistics.totalBuffers, 3u);
    EXPECT_EQ(statistics.failedBuffers, 2u);
    EXPECT_EQ(statistics.lastFailedStatus, VX_E_BAD_LEADER);
    EXPECT_EQ(statistics.lastBlockId, 0u);
}

TEST(StreamStatistics, MissesWhatLiesBetweenTwoGoodBlocks) {
    StreamStatistics statistics;
    statistics.Count(VX_OK, 3); // what was before nobody knows
    EXPECT_EQ(statistics.missedFrames, 0u);
    statistics.Count(VX_OK, 4);
    EXPECT_EQ(statistics.missedFrames, 0u);
    statistics.Count(VX_OK, 7);
    EXPECT_EQ(statistics.missedFrames, 2u);
    statistics.Count(VX_E_INCOMPLETE, 8);
    statistics.Count(VX_E_BAD_LEADER, ~std::uint64_t(0));
    EXPECT_EQ(statistics.missedFrames, 2u); // not before the next good one
    statistics.Count(VX_OK, 11);
    EXPECT_EQ(statistics.missedFrames, 5u);
    EXPECT_EQ(statistics.lastBlockId, 11u);
}

TEST(StreamStatistics, MissesWhatLiesBeforeAndBehindARestart) {
    StreamStatistics statistics;
    statistics.Count(VX_OK, 10);
    statistics.Count(VX_E_USB_STALL, 11);
    statistics.Restart();
    statistics.Count(VX_E_INCOMPLETE, 0);
    statistics.Count(VX_OK, 2);
    EXPECT_EQ(statistics.missedFrames, 3u); // 11, then 0 and 1
    statistics.Count(VX_OK, 3);
    EXPECT_EQ(statistics.missedFrames, 3u);
}

TEST(StreamStatistics, CountsDamagedBlocksOfACameraThatDoesNotCount) {
    StreamStatistics statistics;
    statistics.Count(VX_OK, 5);
    statistics.Count(VX_E_INCOMPLETE, 5);
    statistics.Count(VX_OK, 5);
    EXPECT_EQ(statistics.missedFrames, 1u);
    statistics.Count(VX_OK, 5);
    EXPECT_EQ(statistics.missedFrames, 1u);
}

TEST(StreamStatistics, BeginsAgain) {
    StreamStatistics statistics;
    statistics.Count(VX_OK, 5);
    statistics.Count(VX_E_INCOMPLETE, 6);
    statistics.resynchronizations = statistics.copiedBytes = 4;
    statistics.Reset();
    EXPECT_EQ(statistics.totalBuffers, 0u);
    EXPECT_EQ(statistics.failedBuffers, 0u);
    EXPECT_EQ(statistics.lastFailedStatus, VX_OK);
    EXPECT_EQ(statistics.lastBlockId, 0u);
    EXPECT_EQ(statistics.resynchronizations, 0u);
    EXPECT_EQ(statistics.copiedBytes, 0u);
    statistics.Count(VX_OK, 0);
    EXPECT_EQ(statistics.missedFrames, 0u);
}

} // namespace
