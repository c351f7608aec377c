#include "Bytes.h"

#include "u3v/StreamPacket.h"

#include <gtest/gtest.h>

namespace {

using namespace u3v;
using namespace u3vtest;

// 640 x 480 Mono8, block 5.
const Packet kImageLeader = Hex("55 33 56 4C 00 00 34 00 05 00 00 00 00 00 00 00 00 00 01 00"
                                "89 67 45 23 01 00 00 00 01 00 08 01 80 02 00 00 E0 01 00 00"
                                "00 00 00 00 00 00 00 00 00 00 00 00");
const Packet kImageTrailer = Hex("55 33 56 54 00 00 20 00 05 00 00 00 00 00 00 00 00 00 00 00"
                                 "00 B0 04 00 00 00 00 00 E0 01 00 00");
const Packet kChunkLeader = Hex("55 33 56 4C 00 00 1C 00 06 00 00 00 00 00 00 00 00 00 00 40"
                                "E8 03 00 00 00 00 00 00");
const Packet kExtendedTrailer = Hex("55 33 56 54 00 00 24 00 05 00 00 00 00 00 00 00 00 A1 00 00"
                                    "28 00 00 00 00 00 00 00 10 00 00 00 07 00 00 00");

TEST(Leader, OfAnImageIsDecoded) {
    const auto decoded = DecodeLeader(kImageLeader);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->size, 52);
    EXPECT_EQ(decoded->blockId, 5u);
    EXPECT_EQ(decoded->payloadType, 1);
    EXPECT_EQ(decoded->timestamp, 0x123456789u);
    EXPECT_EQ(decoded->pixelFormat, 0x01080001u);
    EXPECT_EQ(decoded->sizeX, 640u);
    EXPECT_EQ(decoded->sizeY, 480u);
    EXPECT_EQ(decoded->offsetX, 0u);
    EXPECT_EQ(decoded->offsetY, 0u);
    EXPECT_EQ(decoded->paddingX, 0u);
}

TEST(Leader, KeepsOffsetsAndPaddingApart) {
    Packet bytes = With(With(With(kImageLeader, 40, 0x11), 44, 0x22), 48, 0x33);
    const auto decoded = DecodeLeader(bytes);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->offsetX, 0x11u);
    EXPECT_EQ(decoded->offsetY, 0x22u);
    EXPECT_EQ(decoded->paddingX, 0x33u);
}

TEST(Leader, OfAnImageWithChunksIsDecodedLikeAnImage) {
    const auto decoded = DecodeLeader(With(kImageLeader, 19, 0x40));
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->payloadType, 0x4001);
    EXPECT_TRUE(decoded->IsImage());
    EXPECT_EQ(decoded->sizeX, 640u);
}

TEST(Leader, OfChunksHasATimestampAndNoImage) {
    const auto decoded = DecodeLeader(kChunkLeader);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->payloadType, 0x4000);
    EXPECT_EQ(decoded->timestamp, 1000u);
    EXPECT_FALSE(decoded->IsImage());
}

TEST(Leader, OfAnUnknownPayloadTypeIsOpaque) {
    const auto bytes = Hex("55 33 56 4C 00 00 14 00 09 00 00 00 00 00 00 00 00 00 34 12");
    const auto decoded = DecodeLeader(bytes);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->payloadType, 0x1234);
    EXPECT_EQ(decoded->blockId, 9u);
    EXPECT_EQ(decoded->timestamp, 0u);
}

TEST(Leader, MayBeLongerThanWeKnow) {
    EXPECT_TRUE(DecodeLeader(With(kImageLeader, 6, 56) + Hex("01020304")));
}

TEST(Leader, IsNothingWhenItStatesLessThanItsTypeNeeds) {
    EXPECT_FALSE(DecodeLeader(With(kImageLeader, 6, 51)));
    EXPECT_FALSE(DecodeLeader(With(kChunkLeader, 6, 27)));
}

TEST(Leader, IsNothingWithAnotherMagic) {
    EXPECT_FALSE(DecodeLeader(With(kImageLeader, 3, 0x54)));
}

TEST(Leader, IsNothingAtEveryTruncation) {
    for (const Packet& packet : {kImageLeader, kChunkLeader})
        for (std::size_t size = 0; size < packet.size(); ++size)
            EXPECT_FALSE(DecodeLeader(Cut(packet, size))) << size;
}

TEST(Magic, IsSeenInFourBytes) {
    EXPECT_TRUE(HasLeaderMagic(Cut(kImageLeader, 4)));
    EXPECT_FALSE(HasLeaderMagic(Cut(kImageLeader, 3)));
    EXPECT_TRUE(HasTrailerMagic(Cut(kImageTrailer, 4)));
    EXPECT_FALSE(HasTrailerMagic(Cut(kImageTrailer, 3)));
}

TEST(Trailer, OfAnImageIsDecoded) {
    const auto decoded = DecodeTrailer(kImageTrailer, kPayloadImage);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->blockId, 5u);
    EXPECT_EQ(decoded->status, 0);
    EXPECT_EQ(decoded->validPayloadSize, 0x4B000u);
    EXPECT_EQ(decoded->sizeY, 480u);
    EXPECT_FALSE(decoded->chunkLayoutId);
}

TEST(Trailer, OfAnImageWithChunksTellsItsLayout) {
    const auto decoded = DecodeTrailer(kExtendedTrailer, kPayloadImageExtendedChunk);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->status, 0xA100);
    EXPECT_EQ(decoded->sizeY, 16u);
    EXPECT_EQ(decoded->chunkLayoutId, 7u);
}

TEST(Trailer, OfChunksTellsItsLayout) {
    const auto decoded = DecodeTrailer(kImageTrailer, kPayloadChunk);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->chunkLayoutId, 480u);
    EXPECT_FALSE(decoded->sizeY);
}

TEST(Trailer, TellsALayoutOnlyWhereItHasOne) {
    const auto shorter = DecodeTrailer(kImageTrailer, kPayloadImageExtendedChunk);
    ASSERT_TRUE(shorter);
    EXPECT_EQ(shorter->sizeY, 480u);
    EXPECT_FALSE(shorter->chunkLayoutId);
    const auto ofImage = DecodeTrailer(kExtendedTrailer, kPayloadImage);
    ASSERT_TRUE(ofImage);
    EXPECT_EQ(ofImage->sizeY, 16u);
    EXPECT_FALSE(ofImage->chunkLayoutId);
    const auto ofChunks = DecodeTrailer(Cut(With(kImageTrailer, 6, 28), 28), kPayloadChunk);
    ASSERT_TRUE(ofChunks);
    EXPECT_FALSE(ofChunks->chunkLayoutId);
}

TEST(Trailer, OfAnImageMayLackItsLines) {
    const auto decoded = DecodeTrailer(Cut(With(kImageTrailer, 6, 28), 28), kPayloadImage);
    ASSERT_TRUE(decoded);
    EXPECT_FALSE(decoded->sizeY);
}

TEST(Trailer, IsNothingAtEveryTruncation) {
    for (const Packet& packet : {kImageTrailer, kExtendedTrailer})
        for (std::size_t size = 0; size < packet.size(); ++size)
            EXPECT_FALSE(DecodeTrailer(Cut(packet, size), kPayloadImageExtendedChunk)) << size;
}

TEST(Trailer, IsNothingWhenItStatesLessThanAllTrailersHave) {
    EXPECT_FALSE(DecodeTrailer(With(kImageTrailer, 6, 27), kPayloadImage));
}

TEST(ImageSize, CountsPackedPixelsAndLinePadding) {
    Leader leader;
    leader.payloadType = kPayloadImage;
    leader.sizeX = 3;
    leader.paddingX = 2;
    leader.pixelFormat = 0x010C0047; // 12 bits a pixel
    EXPECT_EQ(ImageSize(leader, 3), 14u + 6u);
}

TEST(ImageSize, IsUnknownForVendorFormatsAndChunks) {
    Leader leader;
    leader.payloadType = kPayloadImage;
    leader.pixelFormat = 0x81080001;
    EXPECT_FALSE(ImageSize(leader, 1));
    leader.pixelFormat = 0x01080001;
    leader.payloadType = kPayloadChunk;
    EXPECT_FALSE(ImageSize(leader, 1));
}

TEST(ImageSize, CountsAsFarAsSixtyFourBitsGo) {
    Leader leader;
    leader.payloadType = kPayloadImage;
    leader.pixelFormat = 0x01100007;
    leader.sizeX = 3492383895; // times the lines and 16 bits, 2^64 - 16
    EXPECT_EQ(ImageSize(leader, 330124505), 2305843009213693950u);
}

TEST(ImageSize, IsNothingBeyondSixtyFourBits) {
    Leader leader;
    leader.payloadType = kPayloadImage;
    leader.pixelFormat = 0x01FF0001;
    leader.sizeX = 0xFFFFFFFF;
    EXPECT_FALSE(ImageSize(leader, 0xFFFFFFFF));
}

} // namespace
