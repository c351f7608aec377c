#include "virtualcam/device/channel/BlockFaults.h"

#include <gtest/gtest.h>

namespace {

using virtualcam::BlockFaults;
using virtualcam::PipeStatus;
using virtualcam::StreamFault;
using virtualcam::StreamFaultRule;

StreamFaultRule Rule(StreamFault fault, std::uint32_t value, std::uint64_t frame = 0, std::uint64_t count = 1) {
    StreamFaultRule rule;
    rule.fault = fault;
    rule.value = value;
    rule.frame = frame;
    rule.count = count;
    return rule;
}

TEST(BlockFaults, HitAsManyBlocksAsTheirRuleSays) {
    BlockFaults faults;
    faults.SetRules({Rule(StreamFault::Truncated, 7, 1, 2), Rule(StreamFault::Swapped, 0, 3, 0)});
    for (const bool isTruncated : {false, true, true, false, false}) {
        faults.Begin();
        ASSERT_EQ(faults.Has(StreamFault::Truncated), isTruncated);
        if (isTruncated) {
            EXPECT_EQ(faults.Find(StreamFault::Truncated)->value, 7U);
        }
    }
    EXPECT_TRUE(faults.Has(StreamFault::Swapped)) << "of all blocks from the fourth on";
}

TEST(BlockFaults, CountFromTheNextBlockOnWhenTheyAreSet) {
    BlockFaults faults;
    faults.Begin();
    faults.SetRules({Rule(StreamFault::LostLeader, 0)});
    EXPECT_FALSE(faults.Has(StreamFault::LostLeader)) << "the present block has begun";
    faults.Begin();
    EXPECT_TRUE(faults.Has(StreamFault::LostLeader));
}

TEST(BlockFaults, BreakTheBlockOffOnceEach) {
    const std::pair<StreamFault, PipeStatus> kinds[] = {{StreamFault::Stall, PipeStatus::Stall},
                                                        {StreamFault::LineError, PipeStatus::Error},
                                                        {StreamFault::Unplug, PipeStatus::Gone}};
    for (const auto& [fault, status] : kinds) {
        BlockFaults faults;
        faults.SetRules({Rule(fault, 100)});
        faults.Begin();
        EXPECT_FALSE(faults.TakeInterruption(99));
        EXPECT_EQ(faults.TakeInterruption(100), status);
        EXPECT_FALSE(faults.TakeInterruption(100));
    }
}

TEST(BlockFaults, BreakTheBlockOffBetweenPackets) {
    BlockFaults faults;
    faults.SetRules({Rule(StreamFault::Stall, 1500), Rule(StreamFault::LineError, 5000)});
    faults.Begin();
    EXPECT_EQ(faults.BytesToInterruption(0, 1024), 2048U);
    EXPECT_EQ(faults.BytesToInterruption(1024, 1024), 1024U);
    EXPECT_EQ(faults.TakeInterruption(2048), PipeStatus::Stall);
    EXPECT_EQ(faults.BytesToInterruption(2048, 1024), 3072U);
    EXPECT_EQ(faults.TakeInterruption(5120), PipeStatus::Error);
    EXPECT_EQ(faults.BytesToInterruption(5120, 1024), SIZE_MAX);
}

} // namespace
