#include "vexlo/stream/block/PacketParser.h"

#include "vexlo/stream/support/Blocks.h"

#include <gtest/gtest.h>

using namespace streamtest;
using vexlo::PacketParser;
using Place = PacketParser::Place;

namespace {

/// 640 x 480 pixels, block 5.
const Bytes kLeader{0x55, 0x33, 0x56, 0x4C, 0x00, 0x00, 0x34, 0x00, 0x05, 0x00, 0x00, 0x00, 0x00,
                    0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00, 0x89, 0x67, 0x45, 0x23, 0x01, 0x00,
                    0x00, 0x00, 0x01, 0x00, 0x08, 0x01, 0x80, 0x02, 0x00, 0x00, 0xE0, 0x01, 0x00,
                    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
const Bytes kTrailer{0x55, 0x33, 0x56, 0x54, 0x00, 0x00, 0x20, 0x00, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
                     0x00, 0x00, 0x00, 0x00, 0x00, 0xB0, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0xE0, 0x01, 0x00, 0x00};
constexpr std::uint64_t kMuch = 1 << 20;

void FeedShort(PacketParser& parser, const Bytes& bytes) {
    parser.Feed(bytes.data(), bytes.size(), true);
}
void FeedFull(PacketParser& parser, const Bytes& bytes) {
    parser.Feed(bytes.data(), bytes.size(), false);
}
Bytes Joined(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}
Bytes WithId(Bytes packet, std::uint8_t id) {
    packet[8] = id;
    return packet;
}

std::vector<PacketParser::Block> Taken(PacketParser& parser) {
    const auto blocks = parser.TakeBlocks();
    return {blocks.begin(), blocks.end()};
}

TEST(PacketParser, ReadsABlock) {
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedShort(parser, kLeader);
    EXPECT_EQ(parser.GetPlace(), Place::InBlock);
    FeedShort(parser, Pixels(1, 1500));
    FeedShort(parser, kTrailer);
    EXPECT_EQ(parser.GetPlace(), Place::BetweenBlocks);
    const auto blocks = Taken(parser);
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(blocks[0].leader.blockId, 5u);
    EXPECT_EQ(blocks[0].leader.sizeX, 640u);
    EXPECT_EQ(blocks[0].leader.sizeY, 480u);
    EXPECT_EQ(blocks[0].leader.timestamp, 0x123456789u);
    ASSERT_TRUE(blocks[0].trailer);
    EXPECT_EQ(blocks[0].trailer->validPayloadSize, 307200u);
    EXPECT_EQ(blocks[0].trailer->sizeY, 480u);
    EXPECT_EQ(blocks[0].payload, Pixels(1, 1500));
    EXPECT_TRUE(parser.TakeBlocks().empty());
}

/// A transfer must end at each short packet and may end at each other one.
class Split : public testing::TestWithParam<std::uint32_t> {};

TEST_P(Split, OfTheSamePacketsChangesNothing) {
    const std::uint32_t packetSize = GetParam();
    const Bytes pixels = Pixels(3, 5 * packetSize + 10);
    for (unsigned int ends = 0; ends < 1u << 5; ++ends) {
        PacketParser parser(packetSize, kMuch, Place::Lost);
        for (std::uint8_t id = 1; id <= 3; ++id) {
            FeedShort(parser, WithId(kLeader, id));
            Bytes transfer;
            for (unsigned int i = 0; i < 6; ++i) {
                const auto from = pixels.begin() + static_cast<std::ptrdiff_t>(i * packetSize);
                transfer.insert(transfer.end(), from, i == 5 ? pixels.end() : from + packetSize);
                if (i == 5) FeedShort(parser, transfer);
                if (i < 5 && (ends >> i & 1)) {
                    FeedFull(parser, transfer);
                    transfer.clear();
                }
            }
            FeedShort(parser, WithId(kTrailer, id));
        }
        const auto blocks = Taken(parser);
        ASSERT_EQ(blocks.size(), 3u);
        for (const auto& block : blocks)
            EXPECT_EQ(block.payload, pixels);
        EXPECT_EQ(blocks[2].leader.blockId, 3u);
    }
}

INSTANTIATE_TEST_SUITE_P(PacketSizes, Split, testing::Values(512, 1024));

TEST(PacketParser, FindsLeaderAndTrailerBehindFullPackets) {
    PacketParser parser(512, kMuch, Place::Lost);
    FeedShort(parser, Joined(Bytes(1024, 9), kLeader));
    FeedShort(parser, Joined(Pixels(1, 1024), kTrailer));
    const auto blocks = Taken(parser);
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(blocks[0].payload, Pixels(1, 1024));
    EXPECT_TRUE(blocks[0].trailer);
}

TEST(PacketParser, FindsNoTrailerInTheMiddleOfAFullPacket) {
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedShort(parser, kLeader);
    Bytes packet = kTrailer;
    packet.resize(1024);
    FeedFull(parser, packet);
    EXPECT_EQ(parser.GetPlace(), Place::InBlock);
}

TEST(PacketParser, NeedsTheTransfersEndToBelieveInALastPacket) {
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedShort(parser, kLeader);
    FeedFull(parser, kTrailer); // a cancelled transfer: the packet may go on
    EXPECT_EQ(parser.GetPlace(), Place::InBlock);
}

TEST(PacketParser, GivesUpABlockWhoseTrailerIsLost) {
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedShort(parser, WithId(kLeader, 1));
    FeedShort(parser, Pixels(1, 100));
    FeedShort(parser, WithId(kLeader, 2));
    auto blocks = Taken(parser);
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_FALSE(blocks[0].trailer);
    EXPECT_EQ(blocks[0].payload.size(), 100u);
    FeedShort(parser, WithId(kTrailer, 2));
    blocks = Taken(parser);
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_TRUE(blocks[0].trailer);
}

TEST(PacketParser, FindsThePlaceBehindABlockWhoseLeaderIsLost) {
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedFull(parser, Bytes(2048, 1));
    EXPECT_EQ(parser.GetPlace(), Place::Lost);
    FeedShort(parser, Bytes(100, 1));
    EXPECT_EQ(parser.GetPlace(), Place::Lost);
    FeedShort(parser, kTrailer);
    EXPECT_EQ(parser.GetPlace(), Place::BetweenBlocks);
    EXPECT_TRUE(parser.TakeBlocks().empty());
}

TEST(PacketParser, IsNotLedAstrayBySwappedEnds) {
    PacketParser parser(1024, kMuch, Place::BetweenBlocks);
    FeedShort(parser, WithId(kTrailer, 1));
    FeedShort(parser, Bytes(1500, 1));
    FeedShort(parser, WithId(kLeader, 1));
    FeedShort(parser, WithId(kLeader, 2));
    FeedShort(parser, Pixels(2, 10));
    FeedShort(parser, WithId(kTrailer, 2));
    const auto blocks = Taken(parser);
    ASSERT_EQ(blocks.size(), 2u);
    EXPECT_FALSE(blocks[0].trailer);
    EXPECT_EQ(blocks[1].payload, Pixels(2, 10));
    EXPECT_EQ(parser.GetPlace(), Place::BetweenBlocks);
}

TEST(PacketParser, KeepsPayloadThatEndsLikeTheTrailerOfAnotherBlock) {
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedShort(parser, kLeader);
    const Bytes payload = Joined(Pixels(1, 1024), WithId(kTrailer, 9));
    FeedShort(parser, payload);
    EXPECT_EQ(parser.GetPlace(), Place::InBlock);
    FeedShort(parser, kTrailer);
    const auto blocks = Taken(parser);
    ASSERT_EQ(blocks.size(), 1u);
    EXPECT_EQ(blocks[0].payload, payload);
}

TEST(PacketParser, KeepsPayloadThatEndsLikeABrokenLeader) {
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedShort(parser, kLeader);
    const Bytes broken(kLeader.begin(), kLeader.begin() + 51);
    FeedShort(parser, broken);
    EXPECT_EQ(parser.GetPlace(), Place::InBlock);
    FeedShort(parser, kTrailer);
    EXPECT_EQ(Taken(parser).at(0).payload, broken);
}

TEST(PacketParser, IgnoresEmptyPackets) {
    for (const Place place : {Place::Lost, Place::BetweenBlocks}) {
        PacketParser parser(1024, kMuch, place);
        parser.Feed(nullptr, 0, true);
        EXPECT_EQ(parser.GetPlace(), place);
    }
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedShort(parser, kLeader);
    parser.Feed(nullptr, 0, true);
    EXPECT_EQ(parser.GetPlace(), Place::InBlock);
}

TEST(PacketParser, CannotBeginInABlockThatItHasNotSeenBegin) {
    PacketParser parser(1024, kMuch, Place::InBlock);
    EXPECT_EQ(parser.GetPlace(), Place::Lost);
    FeedShort(parser, kTrailer);
    EXPECT_TRUE(parser.TakeBlocks().empty());
}

TEST(PacketParser, LosesItsPlaceBetweenBlocksToAnythingElse) {
    PacketParser parser(1024, kMuch, Place::BetweenBlocks);
    FeedShort(parser, Bytes(10, 1));
    EXPECT_EQ(parser.GetPlace(), Place::Lost);
    PacketParser other(1024, kMuch, Place::BetweenBlocks);
    FeedFull(other, Bytes(1024, 1));
    EXPECT_EQ(other.GetPlace(), Place::Lost);
}

TEST(PacketParser, KeepsNoMorePayloadThanABlockMayBring) {
    PacketParser parser(1024, 1500, Place::Lost);
    FeedShort(parser, kLeader);
    FeedFull(parser, Bytes(1024, 1));
    FeedFull(parser, Bytes(1024, 2));
    FeedFull(parser, Bytes(1024, 3));
    FeedShort(parser, kTrailer);
    const auto blocks = Taken(parser);
    EXPECT_EQ(blocks.at(0).payload.size(), 1500u);
    EXPECT_TRUE(blocks.at(0).overran);
}

TEST(PacketParser, IgnoresWhatFollowsAShortPacketInABlock) {
    for (const std::size_t end : {0u, 100u}) {
        PacketParser parser(1024, kMuch, Place::Lost);
        FeedShort(parser, kLeader);
        FeedShort(parser, Pixels(1, 1024 + end));
        FeedFull(parser, Bytes(2048, 1));
        FeedShort(parser, Bytes(300, 1));
        FeedShort(parser, kTrailer);
        const auto blocks = Taken(parser);
        EXPECT_EQ(blocks.at(0).payload, Pixels(1, 1024 + end));
        EXPECT_FALSE(blocks.at(0).overran);
    }
}

TEST(PacketParser, DropsABlockThatItCouldNotSee) {
    PacketParser parser(1024, kMuch, Place::Lost);
    FeedShort(parser, kLeader);
    parser.Skip();
    EXPECT_EQ(parser.GetPlace(), Place::Lost);
    FeedShort(parser, kTrailer);
    EXPECT_TRUE(parser.TakeBlocks().empty());
    EXPECT_EQ(parser.GetPlace(), Place::BetweenBlocks);
}

TEST(Blocks, AreWhatTheStandardSays) {
    Bytes leader = Leader(5, 640, 480);
    leader[20] = 0x89, leader[21] = 0x67, leader[22] = 0x45, leader[23] = 0x23, leader[24] = 0x01;
    EXPECT_EQ(leader, kLeader);
    EXPECT_EQ(Trailer(5, 307200, 480), kTrailer);
}

} // namespace
