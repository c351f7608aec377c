#include "u3v/TransferPlan.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using namespace u3v;

struct PlanRow {
    std::uint64_t required;
    std::uint32_t exponent;
    std::uint16_t packet;
    std::uint32_t largest;
    std::uint32_t size, count, final1, final2;
};

std::ostream& operator<<(std::ostream& out, const PlanRow& row) {
    return out << row.required << " by " << row.largest;
}

TransferNeeds NeedsOf(const PlanRow& row) {
    return {row.required, 52, 32, row.exponent, row.packet, row.largest};
}

class EveryPlan : public testing::TestWithParam<PlanRow> {};

TEST_P(EveryPlan, CutsThePayloadAsExpected) {
    const auto plan = MakeTransferPlan(NeedsOf(GetParam()));
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->payloadSize, GetParam().size);
    EXPECT_EQ(plan->payloadCount, GetParam().count);
    EXPECT_EQ(plan->final1Size, GetParam().final1);
    EXPECT_EQ(plan->final2Size, GetParam().final2);
}

TEST_P(EveryPlan, HoldsThePayloadAndLandsInABufferOfItsSize) {
    const auto plan = MakeTransferPlan(NeedsOf(GetParam()));
    ASSERT_TRUE(plan);
    EXPECT_GE(plan->Capacity(), GetParam().required);
    EXPECT_LE(plan->DirectSize(), GetParam().required);
    EXPECT_LE(plan->Capacity() - GetParam().required, AlignedUnit(NeedsOf(GetParam())) - 1);
}

TEST_P(EveryPlan, HasOnlyMultiplesOfTheAlignedUnit) {
    const auto plan = MakeTransferPlan(NeedsOf(GetParam()));
    ASSERT_TRUE(plan);
    const std::uint32_t unit = AlignedUnit(NeedsOf(GetParam()));
    for (const std::uint32_t size :
         {plan->leaderSize, plan->payloadSize, plan->final1Size, plan->final2Size, plan->trailerSize})
        EXPECT_EQ(size % unit, 0u);
}

INSTANTIATE_TEST_SUITE_P(Table, EveryPlan,
                         testing::Values(PlanRow{326680, 10, 1024, 65536, 65536, 4, 64512, 1024},
                                         PlanRow{1440000, 10, 1024, 65536, 65536, 21, 62 * 1024, 1024},
                                         PlanRow{1440000, 10, 1024, 1048576, 1048576, 1, 382 * 1024, 1024},
                                         PlanRow{2073648, 6, 1024, 1048576, 1048576, 1, 1001 * 1024, 1024},
                                         PlanRow{76800, 10, 1024, 1048576, 1048576, 0, 76800, 0},
                                         PlanRow{2097152, 10, 1024, 1048576, 1048576, 2, 0, 0},
                                         PlanRow{1, 0, 512, 1048576, 1048576, 0, 0, 512},
                                         PlanRow{5000, 12, 1024, 100, 4096, 1, 0, 4096},
                                         PlanRow{5000, 200, 1024, 65536, 65536, 0, 4096, 1024},
                                         PlanRow{3000, 2, 512, 1000, 512, 5, 0, 512}));

TEST(TransferPlan, IsRefusedWithoutPayload) {
    EXPECT_FALSE(MakeTransferPlan({0, 52, 32, 10, 1024, 65536}));
}

TEST(TransferPlan, IsRefusedForAnImpossiblePayload) {
    EXPECT_FALSE(MakeTransferPlan({UINT64_MAX, 52, 32, 10, 1024, 65536}));
}

TEST(TransferPlan, IsRefusedForAUnitBeyondAllTransfers) {
    const TransferNeeds needs{1000000, 52, 32, 20, 0x7000, 65536}; // 7 * 2^32, which is 0 in 32 bits
    EXPECT_EQ(AlignedUnit(needs), UINT32_MAX);
    EXPECT_FALSE(MakeTransferPlan(needs));
}

TEST(TransferPlan, MakesRoomForLeaderAndTrailerOfCamerasThatDontTell) {
    const auto plan = MakeTransferPlan({1024, 0, 0, 2, 1024, 65536});
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->leaderSize, 1024u);
    EXPECT_EQ(plan->trailerSize, 1024u);
}

TEST(TransferPlan, TakesSixtyFourBytesForALeaderOfWhichNothingIsKnown) {
    for (const std::uint16_t packet : {1, 64}) {
        const auto plan = MakeTransferPlan({1024, 0, 0, 0, packet, 65536});
        ASSERT_TRUE(plan);
        EXPECT_EQ(plan->leaderSize, 64u);
        EXPECT_EQ(plan->trailerSize, 64u);
    }
}

TEST(TransferPlan, HasTransfersOfOneGibibyteAtMost) {
    const std::uint32_t most = 0x40000000;
    const auto plan = MakeTransferPlan({2ull * most, most, most, 10, 1024, UINT32_MAX});
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->leaderSize, most);
    EXPECT_EQ(plan->trailerSize, most);
    EXPECT_EQ(plan->payloadSize, most);
    EXPECT_EQ(plan->payloadCount, 2u);
    EXPECT_FALSE(MakeTransferPlan({1024, most + 1, 32, 10, 1024, UINT32_MAX}));
    EXPECT_FALSE(MakeTransferPlan({1024, 52, most + 1, 10, 1024, UINT32_MAX}));
}

TEST(TransferPlan, CountsNoMoreTransfersThanANumberWithASignHolds) {
    const std::uint64_t most = 0x7FFFFFFF;
    const auto plan = MakeTransferPlan({most * 1024, 52, 32, 10, 1024, 1024});
    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->payloadCount, most);
    EXPECT_FALSE(MakeTransferPlan({(most + 1) * 1024, 52, 32, 10, 1024, 1024}));
}

TEST(TransferPlan, CountsItsTransfers) {
    EXPECT_EQ(MakeTransferPlan({326680, 52, 32, 10, 1024, 65536})->PayloadTransfers(), 6u);
    EXPECT_EQ(MakeTransferPlan({76800, 52, 32, 10, 1024, 1048576})->PayloadTransfers(), 1u);
}

TEST(AlignedUnit, IsNeverLessThanAPacket) {
    EXPECT_EQ(AlignedUnit({1, 0, 0, 0, 1024, 1}), 1024u);
    EXPECT_EQ(AlignedUnit({1, 0, 0, 2, 512, 1}), 512u);
    EXPECT_EQ(AlignedUnit({1, 0, 0, 12, 1024, 1}), 4096u);
    EXPECT_EQ(AlignedUnit({1, 0, 0, 20, 1024, 1}), 1u << 20);
    EXPECT_EQ(AlignedUnit({1, 0, 0, 21, 1024, 1}), 1024u) << "absurd";
    EXPECT_EQ(AlignedUnit({1, 0, 0, 255, 1024, 1}), 1024u);
    EXPECT_EQ(AlignedUnit({1, 0, 0, 4, 0, 1}), 1024u);
}

} // namespace
