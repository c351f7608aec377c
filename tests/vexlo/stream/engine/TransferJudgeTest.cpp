// Completed transfers in, verdicts out: no bus, no thread.

#include "vexlo/stream/engine/TransferJudge.h"

#include "vexlo/stream/support/Blocks.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace streamtest;
using namespace vexlo;

namespace {

using Cause = RecoveryPolicy::Cause;
using Next = Verdict::Next;

constexpr std::size_t kLeaderAt = 0;
constexpr std::size_t kPayloadAt = 1;

/// Two blocks of three transfers of payload each, with buffers.
class TransferJudgement : public testing::Test {
protected:
    TransferJudgement() {
        for (std::size_t i = 0; i < 2; ++i) {
            buffers[i].data = memory[i].data();
            buffers[i].size = memory[i].size();
            slots[i].Bind(&buffers[i]);
        }
    }
    /// The transfer completes with these bytes.
    Verdict Bring(std::size_t slot, std::size_t index, const Bytes& bytes,
                  usb::TransferStatus status = usb::TransferStatus::Completed) {
        PlannedTransfer& transfer = slots[slot].Transfers()[index];
        std::copy(bytes.begin(), bytes.end(), transfer.usb.buffer);
        transfer.usb.actualLength = bytes.size();
        transfer.usb.status = status;
        return judge.Judge(transfer);
    }
    void BringLeaderAndPayload(std::uint64_t id) {
        const std::vector<Bytes> block = Block(id, plan);
        for (std::size_t i = 0; i < TrailerAt(); ++i)
            EXPECT_EQ(Bring(0, i, block[i]).next, Next::GoOn) << i;
    }
    std::size_t TrailerAt() { return slots[0].Transfers().size() - 1; }
    static void ExpectMisfit(const Verdict& verdict, VxStatus damage) {
        EXPECT_EQ(verdict.next, Next::Leave);
        EXPECT_EQ(verdict.cause, Cause::Misfit);
        EXPECT_EQ(verdict.damage, damage);
        EXPECT_TRUE(verdict.isMisplaced);
    }

    const u3v::TransferPlan plan = *u3v::MakeTransferPlan({3000, 0, 0, 0, 1024, 1024});
    Bytes dump = Bytes(1024);
    Bytes memory[2] = {Bytes(3000), Bytes(3000)};
    BufferHandle_s buffers[2];
    BlockSlot slots[2] = {{plan, 0x81, dump.data()}, {plan, 0x81, dump.data()}};
    TransferJudge judge;
};

TEST_F(TransferJudgement, EndsABlockWithItsTrailer) {
    BringLeaderAndPayload(7);
    const Verdict verdict = Bring(0, TrailerAt(), Trailer(7, 3000));
    EXPECT_EQ(verdict.next, Next::GoOn);
    ASSERT_TRUE(verdict.ended);
    EXPECT_EQ(JudgeBlock(*verdict.ended).Status, VX_OK);
    EXPECT_EQ(JudgeBlock(*verdict.ended).BlockId, 7u);
}

TEST_F(TransferJudgement, TellsWhatHadToBeCopied) {
    EXPECT_EQ(Bring(0, kLeaderAt, Leader(1, 3000)).copiedBytes, 0u);
    EXPECT_EQ(Bring(0, kPayloadAt, Bytes(1024)).copiedBytes, 0u);
    EXPECT_EQ(Bring(0, kPayloadAt + 1, Bytes(1024)).copiedBytes, 0u);
    EXPECT_EQ(Bring(0, kPayloadAt + 2, Bytes(952)).copiedBytes, 952u);
}

TEST_F(TransferJudgement, LetsADamagedLeaderFillItsPlace) {
    EXPECT_EQ(Bring(0, kLeaderAt, Bytes(52)).next, Next::GoOn);
}

TEST_F(TransferJudgement, LeavesForWhatNoLeaderCanBe) {
    ExpectMisfit(Bring(0, kLeaderAt, Bytes(1024)), VX_E_BAD_LEADER);
}

TEST_F(TransferJudgement, TakesATrailerInALeadersPlaceForTheEndOfWhatWasBefore) {
    const Verdict verdict = Bring(0, kLeaderAt, Trailer(3, 3000));
    ExpectMisfit(verdict, VX_OK);
    EXPECT_FALSE(verdict.ended);
}

TEST_F(TransferJudgement, LeavesForATrailerInThePayloadsPlace) {
    (void)Bring(0, kLeaderAt, Leader(1, 3000));
    ExpectMisfit(Bring(0, kPayloadAt + 1, Trailer(1, 1024)), VX_E_INCOMPLETE);
}

TEST_F(TransferJudgement, LeavesForALeaderInThePayloadsPlace) {
    (void)Bring(0, kLeaderAt, Bytes(52));
    ExpectMisfit(Bring(0, kPayloadAt, Leader(2, 3000)), VX_E_BAD_LEADER);
}

TEST_F(TransferJudgement, TakesAnotherBlocksTrailerAmongPayloadForPixels) {
    (void)Bring(0, kLeaderAt, Leader(1, 3000));
    EXPECT_EQ(Bring(0, kPayloadAt, Trailer(2, 1024)).next, Next::GoOn);
}

TEST_F(TransferJudgement, LeavesForPayloadInTheTrailersPlace) {
    BringLeaderAndPayload(1);
    ExpectMisfit(Bring(0, TrailerAt(), Bytes(1024)), VX_E_BAD_TRAILER);
}

TEST_F(TransferJudgement, LeavesForALeaderInTheTrailersPlace) {
    BringLeaderAndPayload(1);
    ExpectMisfit(Bring(0, TrailerAt(), Leader(2, 3000)), VX_E_BAD_TRAILER);
}

TEST_F(TransferJudgement, EndsABlockWithADamagedTrailerInPlace) {
    BringLeaderAndPayload(1);
    const Verdict verdict = Bring(0, TrailerAt(), Bytes(32));
    EXPECT_EQ(verdict.next, Next::GoOn);
    ASSERT_TRUE(verdict.ended);
    EXPECT_EQ(JudgeBlock(*verdict.ended).Status, VX_E_BAD_TRAILER);
}

TEST_F(TransferJudgement, WaitsForATrailerThatAnEmptyPacketDelays) {
    BringLeaderAndPayload(1);
    const Verdict empty = Bring(0, TrailerAt(), {});
    EXPECT_EQ(empty.next, Next::Again);
    EXPECT_FALSE(empty.ended);
    const Verdict late = Bring(1, kLeaderAt, Trailer(1, 3000));
    ExpectMisfit(late, VX_OK);
    ASSERT_TRUE(late.ended);
    EXPECT_EQ(JudgeBlock(*late.ended).Status, VX_OK);
}

TEST_F(TransferJudgement, TakesTheDelayedTrailerInItsOwnPlaceToo) {
    BringLeaderAndPayload(1);
    (void)Bring(0, TrailerAt(), {});
    const Verdict again = Bring(0, TrailerAt(), Trailer(1, 3000));
    EXPECT_EQ(again.next, Next::GoOn);
    ASSERT_TRUE(again.ended);
    EXPECT_FALSE(Bring(1, kLeaderAt, Leader(2, 3000)).ended) << "no block ends twice";
}

TEST_F(TransferJudgement, EndsABlockWithoutItsTrailerWhenTheNextLeaderComes) {
    BringLeaderAndPayload(1);
    (void)Bring(0, TrailerAt(), {});
    const Verdict next = Bring(1, kLeaderAt, Leader(2, 3000));
    EXPECT_EQ(next.next, Next::GoOn);
    ASSERT_TRUE(next.ended);
    EXPECT_EQ(JudgeBlock(*next.ended).Status, VX_E_BAD_TRAILER);
}

TEST_F(TransferJudgement, ForgetsABlockThatWasGivenUp) {
    BringLeaderAndPayload(1);
    (void)Bring(0, TrailerAt(), {});
    judge.Forget();
    EXPECT_FALSE(Bring(1, kLeaderAt, Leader(2, 3000)).ended);
}

TEST_F(TransferJudgement, KeepsWhatCameBeforeAFailure) {
    (void)Bring(0, kLeaderAt, Leader(1, 3000));
    const Verdict verdict = Bring(0, kPayloadAt, Bytes(500), usb::TransferStatus::Stall);
    EXPECT_EQ(verdict.next, Next::Leave);
    EXPECT_EQ(verdict.cause, Cause::Failure);
    EXPECT_EQ(verdict.damage, VX_E_USB_STALL);
    EXPECT_FALSE(verdict.isMisplaced);
    EXPECT_EQ(slots[0].Evidence().received, 500u);
}

} // namespace
