#include <tavix/imaging/Picture.h>

#include <tavix/imaging/Error.h>

#include <gtest/gtest.h>

using namespace Tavix::imaging;

TEST(Picture, TakesWhatItsBitsTake) {
    EXPECT_EQ(BytesOf(PixelFormat::Mono8, 640, 480), 307200u);
    EXPECT_EQ(BytesOf(PixelFormat::Mono12p, 3, 3), 14u) << "lines of dense formats do not begin at bytes";
    EXPECT_EQ(BytesOf(PixelFormat::Mono12p, 3, 3, 5), 15u);
    EXPECT_EQ(BytesOf(PixelFormat::RGB8, 3, 2, 16), 25u) << "no padding behind the last line";
}

TEST(Picture, HasNoBytesWhereNobodyCouldHaveThem) {
    EXPECT_EQ(BytesOf(PixelFormat::RGBa16, 0xFFFFFFFF, 0xFFFFFFFF), 0u);
    EXPECT_EQ(BytesOf(PixelFormat::Mono8, 1, 0xFFFFFFFF, ~std::size_t{0} / 4), 0u);
    EXPECT_EQ(BytesOf(PixelFormat{0x81080001}, 4, 4), 0u);
    EXPECT_THROW(Picture(PixelFormat::Mono8, 0, 4), Error);
    EXPECT_THROW(Picture(PixelFormat::RGBa16, 0xFFFFFFFF, 0xFFFFFFFF), Error);
}

TEST(Picture, PadsLinesFromTheirLastByteOn) {
    EXPECT_EQ(StrideOf(PixelFormat::Mono12p, 3, 2), 7u);
    EXPECT_EQ(StrideOf(PixelFormat::Mono8, 640, 0), 0u);
}

TEST(Picture, IsEmptyAfterItWasMovedFrom) {
    Picture first(PixelFormat::RGB8, 4, 2);
    first.Data()[23] = 7;
    const Picture second = std::move(first);
    EXPECT_EQ(second.Size(), 24u);
    EXPECT_EQ(second.Stride(), 12u);
    EXPECT_EQ(second.View().data[23], 7);
    EXPECT_EQ(first.Size(), 0u); // NOLINT(bugprone-use-after-move): that is the claim
    EXPECT_EQ(first.Width(), 0u);
}
