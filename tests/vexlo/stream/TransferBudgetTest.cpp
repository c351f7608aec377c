#include "vexlo/stream/TransferBudget.h"

#include "u3v/TransferPlan.h"
#include "vexlo/stream/StreamSettings.h"

#include <gtest/gtest.h>

using namespace vexlo;

namespace {

constexpr std::size_t kKib = 1u << 10;
constexpr std::size_t kMib = 1u << 20;
constexpr std::uint32_t kDefault = StreamSettings{}.maxTransferSize;

struct SizeCase {
    const char* name;
    std::uint32_t setting;
    std::uint64_t payload;
    TransferMemory memory;
    std::uint32_t expected;
};
void PrintTo(const SizeCase& each, std::ostream* out) {
    *out << each.name;
}

class Size : public testing::TestWithParam<SizeCase> {};

TEST_P(Size, SuitsBlockAndMemory) {
    const SizeCase& c = GetParam();
    EXPECT_EQ(SuitableTransferSize(c.setting, c.payload, c.memory), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Size,
    testing::Values(SizeCase{"Ordinary", kDefault, 2 * kMib, {0, 1}, kMib},
                    SizeCase{"OfALargeBlock", kDefault, 4096 * 3000, {0, 1}, 63 * 64 * kKib},
                    SizeCase{"OfAHugeBlock", kDefault, 100 * kMib, {0, 1}, 4 * kMib},
                    SizeCase{"WithTheKernelsDefault", kDefault, 4096 * 3000, {16 * kMib, 1}, kMib},
                    SizeCase{"WithTheKernelsDefaultAndEightCameras", kDefault, 4096 * 3000, {16 * kMib, 8}, 384 * kKib},
                    SizeCase{"WithHardlyAnyMemory", kDefault, 4096 * 3000, {kMib, 8}, 64 * kKib},
                    SizeCase{"WithPlentyOfMemory", kDefault, 4096 * 3000, {1000 * kMib, 8}, 63 * 64 * kKib},
                    SizeCase{"BesideMappedBuffers", kDefault, 4096 * 3000, {16 * kMib, 1, 12 * kMib}, 768 * kKib},
                    SizeCase{"AsSet", 256 * kKib, 4096 * 3000, {0, 1}, 256 * kKib},
                    SizeCase{"AsSetAndLess", 16 * kKib, 4096 * 3000, {16 * kMib, 8}, 16 * kKib}),
    [](const auto& instance) { return instance.param.name; });

TEST(TransferMemory, IsSharedByTheOpenStreams) {
    EXPECT_EQ((TransferMemory{16 * kMib, 1}.Share()), 12 * kMib);
    EXPECT_EQ((TransferMemory{16 * kMib, 4}.Share()), 3 * kMib);
    EXPECT_EQ((TransferMemory{0, 4}.Share()), SIZE_MAX);
}

TEST(TransferBudget, StaysWithinItsWishes) {
    const TransferBudget budget({3, 1000, 0});
    EXPECT_TRUE(budget.HasRoom(0, 0, 5000)) << "one always may";
    EXPECT_TRUE(budget.HasRoom(2, 500, 500));
    EXPECT_FALSE(budget.HasRoom(2, 500, 501));
    EXPECT_FALSE(budget.HasRoom(3, 0, 1));
}

TEST(TransferBudget, GivesWayToStreamsThatOpenLater) {
    const StreamCount mine;
    const TransferBudget budget({64, 12 * kMib, 16 * kMib});
    EXPECT_TRUE(budget.HasRoom(5, 11 * kMib, kMib));
    {
        const StreamCount other;
        EXPECT_FALSE(budget.HasRoom(5, 6 * kMib, kMib));
        EXPECT_TRUE(budget.HasRoom(5, 5 * kMib, kMib));
    }
    EXPECT_TRUE(budget.HasRoom(5, 11 * kMib, kMib));
}

/// Blocks until more than `count` may be queued.
unsigned int BlocksUntilMore(TransferBudget& budget, std::size_t count) {
    unsigned int blocks = 0;
    for (; !budget.HasRoom(count, 0, 1) && blocks < 10000; ++blocks)
        budget.BlockCompleted();
    return blocks;
}

TEST(TransferBudget, ShrinksToWhatTheSystemTook) {
    TransferBudget budget({64, SIZE_MAX, 0});
    EXPECT_FALSE(budget.IsShort());
    budget.Refused(5);
    EXPECT_TRUE(budget.IsShort());
    EXPECT_TRUE(budget.HasRoom(4, 0, 1));
    EXPECT_FALSE(budget.HasRoom(5, 0, 1));
    budget.Accepted(5);
    EXPECT_FALSE(budget.IsShort());
}

TEST(TransferBudget, GrowsBackWithinAFewBlocks) {
    TransferBudget budget({64, SIZE_MAX, 0});
    budget.Refused(4);
    unsigned int blocks = 0;
    for (std::size_t count = 4; count < 64; ++count) {
        blocks += BlocksUntilMore(budget, count);
        budget.Accepted(count + 1);
    }
    EXPECT_LE(blocks, 32u);
    EXPECT_FALSE(budget.HasRoom(64, 0, 1));
}

TEST(TransferBudget, TriesMoreAndMoreSeldomWhereMemoryStaysShort) {
    TransferBudget budget({64, SIZE_MAX, 0});
    budget.Refused(4);
    const unsigned int first = BlocksUntilMore(budget, 4);
    unsigned int last = first;
    for (int i = 0; i < 20; ++i) {
        budget.Refused(4);
        const unsigned int blocks = BlocksUntilMore(budget, 4);
        EXPECT_GE(blocks, last);
        last = blocks;
    }
    EXPECT_EQ(last, 256u);
    budget.Accepted(5); // more than was ever refused
    budget.Refused(5);
    EXPECT_EQ(BlocksUntilMore(budget, 5), first);
}

TEST(TransferBudget, AllowsOneTransferEvenWithoutMemory) {
    TransferBudget budget({64, SIZE_MAX, 0});
    budget.Refused(0);
    EXPECT_TRUE(budget.HasRoom(0, 0, 1u << 20));
}

} // namespace
