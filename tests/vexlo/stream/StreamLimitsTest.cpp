// Where the limits of a stream's buffers and transfers begin and end.
#include "vexlo/stream/BufferPool.h"
#include "vexlo/stream/TransferBudget.h"

#include "core/LogSink.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <vector>

namespace {

using namespace vexlo;

constexpr std::uint32_t kMiB = 1u << 20;
constexpr std::uint32_t kStep = 64u << 10;

TEST(StreamLimits, MemoryBesideABufferIsNotUsedByIt) {
    BufferPool pool;
    pool.Prepare(1, 100);
    std::array<std::uint8_t, 300> memory{};
    BufferHandle_s* handle = nullptr;
    ASSERT_EQ(pool.Register(memory.data() + 100, 100, &handle, BufferMemory::Ordinary), VX_OK);
    EXPECT_FALSE(pool.Uses(memory.data(), 100));
    EXPECT_TRUE(pool.Uses(memory.data(), 101));
    EXPECT_TRUE(pool.Uses(memory.data() + 199, 100));
    EXPECT_FALSE(pool.Uses(memory.data() + 200, 100));
}

TEST(StreamLimits, TransfersAreLargeFromAShareOfSixtyFourMebibytesOn) {
    const TransferMemory plenty{256u * kMiB, 3, 0}, less{256u * kMiB - 64, 3, 0};
    ASSERT_EQ(plenty.Share(), 64u * kMiB);
    EXPECT_EQ(SuitableTransferSize(UINT32_MAX, 30 * kMiB, plenty), 10 * kMiB + kStep);
    EXPECT_EQ(SuitableTransferSize(UINT32_MAX, 30 * kMiB, less), kMiB);
}

TEST(StreamLimits, ThreeLargeTransfersHoldABlockAndSomethingMore) {
    EXPECT_EQ(SuitableTransferSize(UINT32_MAX, 6 * kMiB, {}), 2 * kMiB + kStep);
    EXPECT_EQ(SuitableTransferSize(UINT32_MAX, 6 * kMiB - 1, {}), 2 * kMiB);
}

/// Blocks that complete until one more transfer than two may be queued.
int BlocksUntilMore(TransferBudget& budget) {
    int blocks = 0;
    for (; !budget.HasRoom(2, 0, 1) && blocks < 1000; ++blocks)
        budget.BlockCompleted();
    return blocks;
}

TEST(StreamLimits, MoreIsTriedFourBlocksAfterARefusalAndEightAfterTheNext) {
    TransferBudget budget({8, kMiB, 0});
    budget.Refused(2);
    EXPECT_EQ(BlocksUntilMore(budget), 4);
    budget.Accepted(2); // as many as before are no sign of more memory
    budget.Refused(2);
    EXPECT_EQ(BlocksUntilMore(budget), 8);
    budget.Accepted(3);
    budget.Refused(2);
    EXPECT_EQ(BlocksUntilMore(budget), 4) << "one more was taken meanwhile";
}

TEST(StreamLimits, AreToldOnceWithTwiceTheMemoryAsAdvice) {
    std::vector<std::string> lines;
    const Tavix::LogSink sink([&](const char*, unsigned int, const char* text) { lines.emplace_back(text); });
    TransferBudget budget({8, kMiB, 16 * kMiB});
    budget.Refused(3);
    budget.Refused(2);
    EXPECT_THAT(lines, testing::ElementsAre(testing::AllOf(
                           testing::HasSubstr("no more than 3 transfers"), testing::HasSubstr("share 16 MiB"),
                           testing::HasSubstr("echo 32 > /sys/module/usbcore/parameters/usbfs_memory_mb"))));
}

} // namespace
