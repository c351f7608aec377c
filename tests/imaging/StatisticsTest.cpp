#include <tavix/imaging/Statistics.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace Tavix::imaging;

PictureView Bytes(const std::vector<std::uint8_t>& bytes, PixelFormat format, std::uint32_t width) {
    PictureView view;
    view.data = bytes.data();
    view.size = bytes.size();
    view.format = format;
    view.width = width;
    view.height = static_cast<std::uint32_t>(bytes.size() / width);
    return view;
}

TEST(Statistics, CountEachValueOfASmallPicture) {
    const std::vector<std::uint8_t> pixels = {0, 0, 7, 255, 255, 255, 9, 9};
    const PictureStatistics told = Measure(Bytes(pixels, PixelFormat::Mono8, 4));
    ASSERT_EQ(1u, told.channels.size());
    const ChannelStatistics& grey = told.channels[0];
    EXPECT_EQ(8u, told.bits);
    EXPECT_EQ(8u, grey.count);
    EXPECT_EQ(2u, grey.histogram[0]);
    EXPECT_EQ(1u, grey.histogram[7]);
    EXPECT_EQ(3u, grey.histogram[255]);
    EXPECT_EQ(3u, grey.saturated);
    EXPECT_EQ(0u, grey.least);
    EXPECT_EQ(255u, grey.most);
    EXPECT_DOUBLE_EQ(98.75, grey.mean);
}

TEST(Statistics, KeepTheColoursOfBayerPicturesApart) {
    const std::vector<std::uint8_t> pixels = {10, 20, 10, 20, 20, 30, 20, 30};
    const PictureStatistics told = Measure(Bytes(pixels, PixelFormat::BayerRG8, 4));
    ASSERT_EQ(3u, told.channels.size());
    EXPECT_DOUBLE_EQ(10, told.channels[0].mean);
    EXPECT_DOUBLE_EQ(20, told.channels[1].mean);
    EXPECT_DOUBLE_EQ(30, told.channels[2].mean);
    EXPECT_EQ(0, told.focus) << "neighbours of one colour are alike";
}

TEST(Statistics, CallAnEdgeSharperThanASlope) {
    const std::vector<std::uint8_t> edge = {0, 0, 0, 200, 200, 200}, slope = {0, 40, 80, 120, 160, 200};
    EXPECT_GT(Measure(Bytes(edge, PixelFormat::Mono8, 6)).focus, Measure(Bytes(slope, PixelFormat::Mono8, 6)).focus);
}

TEST(Statistics, CountTheLastLineOfAnOddHeightOnce) {
    const std::vector<std::uint8_t> pixels = {1, 1, 2, 2, 3, 3, 9, 9};
    PictureView view = Bytes(pixels, PixelFormat::Mono8, 2);
    view.height = 3; // what lies behind it is none of its lines
    const ChannelStatistics grey = Measure(view).channels.at(0);
    EXPECT_EQ(6u, grey.count);
    EXPECT_EQ(2u, grey.histogram[3]);
    EXPECT_EQ(3u, grey.most);
}

TEST(Statistics, LookAtSomeLinesOfALargePictureOnly) {
    const std::vector<std::uint8_t> pixels(1000 * 100, 50);
    const PictureStatistics told = Measure(Bytes(pixels, PixelFormat::Mono8, 1000), {}, 10000);
    EXPECT_LE(told.channels[0].count, 20000u);
    EXPECT_GE(told.channels[0].count, 5000u);
}

TEST(Profile, TellsValuesFromEndToEnd) {
    const std::vector<std::uint8_t> pixels = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    EXPECT_EQ(Profile(Bytes(pixels, PixelFormat::Mono8, 3), {0, 0, 2, 2}), (std::vector<std::uint32_t>{1, 5, 9}));
    EXPECT_EQ(Profile(Bytes(pixels, PixelFormat::Mono8, 3), {2, 1, 0, 1}), (std::vector<std::uint32_t>{6, 5, 4}));
    EXPECT_EQ(Profile(Bytes(pixels, PixelFormat::Mono8, 3), {9, 9, 9, 9}), std::vector<std::uint32_t>{9});
}

} // namespace
