#include "vexlo/stream/BlockJudge.h"

#include <ostream>

#include <gtest/gtest.h>

using namespace vexlo;

namespace {

constexpr std::uint64_t kUnknownId = ~std::uint64_t(0);

u3v::Leader ImageLeader() {
    u3v::Leader leader;
    leader.size = 52;
    leader.blockId = 7;
    leader.payloadType = 0x0001;
    leader.timestamp = 123;
    leader.pixelFormat = 0x01080001;
    leader.sizeX = 100;
    leader.sizeY = 30;
    leader.offsetX = 4;
    leader.offsetY = 6;
    return leader;
}

u3v::Trailer ImageTrailer() {
    u3v::Trailer trailer;
    trailer.size = 32;
    trailer.blockId = 7;
    trailer.validPayloadSize = 3000;
    trailer.sizeY = 30;
    return trailer;
}

BlockEvidence GoodImage() {
    BlockEvidence evidence;
    evidence.leader = ImageLeader();
    evidence.trailer = ImageTrailer();
    evidence.received = 3000;
    evidence.bufferSize = 3000;
    return evidence;
}

TEST(BlockJudge, PassesOnWhatLeaderAndTrailerTell) {
    BlockEvidence evidence = GoodImage();
    evidence.leader->paddingX = 2;
    evidence.trailer->validPayloadSize = evidence.received = evidence.bufferSize = 3060;
    const auto result = JudgeBlock(evidence);
    EXPECT_EQ(result.Status, VX_OK);
    EXPECT_EQ(result.PayloadType, 0x0001);
    EXPECT_EQ(result.PayloadSize, 3060u);
    EXPECT_EQ(result.Timestamp, 123u);
    EXPECT_EQ(result.PixelFormat, 0x01080001u);
    EXPECT_EQ(result.G1, 30u);
    EXPECT_EQ(result.G2, 100u);
    EXPECT_EQ(result.G3, 4u);
    EXPECT_EQ(result.G4, 6u);
    EXPECT_EQ(result.H1, 0u);
    EXPECT_EQ(result.H2, 2u);
    EXPECT_EQ(result.BlockId, 7u);
    EXPECT_EQ(result.SizeUnknown, 0u);
}

TEST(BlockJudge, TellsTheLayoutOfTheChunks) {
    BlockEvidence evidence = GoodImage();
    EXPECT_EQ(JudgeBlock(evidence).ChunkLayoutId, 0u);
    evidence.trailer->chunkLayoutId = 480;
    EXPECT_EQ(JudgeBlock(evidence).ChunkLayoutId, 480u);
}

TEST(BlockJudge, BelievesTheTrailerAboutTheHeight) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->sizeY = 12;
    evidence.trailer->validPayloadSize = evidence.received = 1200;
    const auto result = JudgeBlock(evidence);
    EXPECT_EQ(result.Status, VX_OK);
    EXPECT_EQ(result.G1, 12u);
    EXPECT_EQ(result.AnnouncedG1, 30u);
    EXPECT_EQ(result.PayloadSize, 1200u);
}

TEST(BlockJudge, TakesNoMoreLinesThanTheLeaderAnnounced) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->sizeY = 0xFFFFFFFF;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_OK);
    EXPECT_EQ(JudgeBlock(evidence).G1, 30u);
}

TEST(BlockJudge, TakesTheLeadersHeightWhenTheTrailerHasNone) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->sizeY.reset();
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_OK);
    EXPECT_EQ(JudgeBlock(evidence).G1, 30u);
}

TEST(BlockJudge, FindsAnImageIncompleteThatIsSmallerThanItsGeometry) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->validPayloadSize = evidence.received = 2999;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_INCOMPLETE);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 2999u);
}

TEST(BlockJudge, FindsABlockIncompleteThatClaimsMoreThanArrived) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->validPayloadSize = ~std::uint64_t(0);
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_INCOMPLETE);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 3000u);
}

TEST(BlockJudge, IgnoresBytesBehindTheValidOnes) {
    BlockEvidence evidence = GoodImage();
    evidence.received = 4096;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_OK);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 3000u);
}

TEST(BlockJudge, TakesTheImageThatCameWhenTheTrailerSaysNothingDid) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->validPayloadSize = 0;
    evidence.received = evidence.bufferSize = 4096;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_OK);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 3000u);
    evidence.received = 2000;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_INCOMPLETE);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 2000u);
}

TEST(BlockJudge, CallsABlockWithoutAValidByteIncomplete) {
    BlockEvidence evidence = GoodImage();
    evidence.leader->payloadType = 0x4000;
    evidence.trailer->validPayloadSize = evidence.received = 0;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_INCOMPLETE);
}

struct Status {
    std::uint16_t trailer;
    VxStatus expected;
};

void PrintTo(const Status& row, std::ostream* to) {
    *to << std::hex << "0x" << row.trailer;
}

class TrailerStatus : public testing::TestWithParam<Status> {};

TEST_P(TrailerStatus, BecomesTheStatusOfTheBuffer) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->status = GetParam().trailer;
    EXPECT_EQ(JudgeBlock(evidence).Status, GetParam().expected);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 3000u);
    EXPECT_EQ(JudgeBlock(evidence).BlockId, 7u);
}

INSTANTIATE_TEST_SUITE_P(Each, TrailerStatus,
                         testing::Values(Status{0x0000, VX_OK}, Status{0xA100, VX_E_DATA_DISCARDED},
                                         Status{0xA101, VX_E_DATA_OVERRUN}, Status{0x8001, 0xE2038001},
                                         Status{0xA102, 0xE203A102}, Status{0xFFFF, 0xE203FFFF},
                                         Status{0x0001, VX_OK}));

TEST(BlockJudge, DoesNotTakeDiscardedBytesForValidOnes) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->status = 0xA100;
    evidence.trailer->validPayloadSize = 0;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_DATA_DISCARDED);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 0u);
}

TEST(BlockJudge, MissesTheLeader) {
    BlockEvidence evidence = GoodImage();
    evidence.leader.reset();
    const auto result = JudgeBlock(evidence);
    EXPECT_EQ(result.Status, VX_E_BAD_LEADER);
    EXPECT_EQ(result.PayloadType, 0u);
    EXPECT_EQ(result.BlockId, 7u); // from the trailer
    EXPECT_EQ(result.PayloadSize, 3000u);
}

TEST(BlockJudge, MissesTheTrailer) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer.reset();
    const auto result = JudgeBlock(evidence);
    EXPECT_EQ(result.Status, VX_E_BAD_TRAILER);
    EXPECT_EQ(result.BlockId, 7u);
    EXPECT_EQ(result.G1, 30u);
    EXPECT_EQ(result.PayloadSize, 3000u);
}

TEST(BlockJudge, KnowsNothingWithoutEither) {
    BlockEvidence evidence;
    evidence.received = 100;
    evidence.bufferSize = 3000;
    const auto result = JudgeBlock(evidence);
    EXPECT_EQ(result.Status, VX_E_BAD_LEADER);
    EXPECT_EQ(result.BlockId, kUnknownId);
    EXPECT_EQ(result.PayloadSize, 100u);
}

TEST(BlockJudge, RefusesATrailerOfAnotherBlock) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->blockId = 8;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_BAD_TRAILER);
    EXPECT_EQ(JudgeBlock(evidence).BlockId, 7u);
}

TEST(BlockJudge, PutsAFailureOfTheBusFirst) {
    BlockEvidence evidence = GoodImage();
    evidence.trailer->status = 0xA100;
    evidence.failure = VX_E_USB_STALL;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_USB_STALL);
}

TEST(BlockJudge, TellsHowMuchATooSmallBufferHolds) {
    BlockEvidence evidence = GoodImage();
    evidence.bufferSize = 2999;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_BUFFER_TOO_SMALL);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 2999u);
}

TEST(BlockJudge, DoesNotMindASmallBufferWhenTheValidBytesFit) {
    BlockEvidence evidence = GoodImage();
    evidence.received = 4096;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_OK);
}

class OpaquePayload : public testing::TestWithParam<std::uint16_t> {};

TEST_P(OpaquePayload, IsDeliveredWithItsValidSizeAndNoGeometry) {
    BlockEvidence evidence = GoodImage();
    evidence.leader->payloadType = GetParam();
    evidence.trailer->validPayloadSize = 10;
    const auto result = JudgeBlock(evidence);
    EXPECT_EQ(result.Status, VX_OK);
    EXPECT_EQ(result.PayloadType, GetParam());
    EXPECT_EQ(result.PayloadSize, 10u);
    EXPECT_EQ(result.G2, 0u);
    EXPECT_EQ(result.PixelFormat, 0u);
}

INSTANTIATE_TEST_SUITE_P(Types, OpaquePayload, testing::Values(0x4000, 0x1001, 0x1002, 0x0002, 0xFFFF));

TEST(BlockJudge, ExpectsTheImageBeforeItsChunks) {
    BlockEvidence evidence = GoodImage();
    evidence.leader->payloadType = 0x4001;
    evidence.trailer->validPayloadSize = evidence.received = evidence.bufferSize = 3100;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_OK);
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 3100u);
    evidence.trailer->validPayloadSize = 2990;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_E_INCOMPLETE);
}

TEST(BlockJudge, ExpectsNothingOfAVendorsPixelFormat) {
    BlockEvidence evidence = GoodImage();
    evidence.leader->pixelFormat = 0x81FF0001;
    evidence.trailer->validPayloadSize = evidence.received = 10;
    EXPECT_EQ(JudgeBlock(evidence).Status, VX_OK);
    EXPECT_EQ(JudgeBlock(evidence).PixelFormat, 0x81FF0001u);
}

TEST(BlockJudge, SurvivesAbsurdGeometry) {
    BlockEvidence evidence = GoodImage();
    evidence.leader->sizeX = evidence.leader->sizeY = 0xFFFFFFFF;
    evidence.leader->pixelFormat = 0x02FF0001;
    evidence.trailer->sizeY.reset();
    EXPECT_EQ(JudgeBlock(evidence).PayloadSize, 3000u);
}

} // namespace
