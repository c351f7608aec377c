#include "camera/image/Frame.h"

#include "camera/image/ChunkReader.h"

#include <tavix/imaging/PixelType.h>

#include <gtest/gtest.h>

namespace {

using Tavix::detail::Frame;

/// A frame in which one image after the other is described.
class FrameTest : public testing::Test {
protected:
    void Describe(Tavix::EPixelType type, int width, int height, int padding = 0) {
        Tavix::GrabResult result;
        result.m_Status = Tavix::Grabbed;
        result.m_PixelType = type;
        result.m_SizeX = width;
        result.m_SizeY = height;
        result.m_PaddingX = padding;
        result.m_PayloadSize64 = frame.size;
        frame.Describe(result, frame.size);
    }

    Frame frame;
    FrameTest() { frame.size = 10000; }
};

TEST_F(FrameTest, MeasuresItsLinesAnewForAnotherFormat) {
    Describe(Tavix::PixelType_Mono8, 64, 10);
    EXPECT_EQ(frame.stride, 64U);
    EXPECT_EQ(frame.PixelBytes(), 640U);
    Describe(Tavix::PixelType_Mono16, 64, 10);
    EXPECT_EQ(frame.stride, 128U);
    EXPECT_EQ(frame.PixelBytes(), 1280U);
}

TEST_F(FrameTest, MeasuresItsLinesAnewForAnotherSize) {
    Describe(Tavix::PixelType_Mono8, 64, 10);
    Describe(Tavix::PixelType_Mono8, 32, 10);
    EXPECT_EQ(frame.stride, 32U);
    EXPECT_EQ(frame.PixelBytes(), 320U);
    Describe(Tavix::PixelType_Mono8, 32, 3);
    EXPECT_EQ(frame.PixelBytes(), 96U);
}

TEST_F(FrameTest, MeasuresItsLinesAnewForAnotherPadding) {
    Describe(Tavix::PixelType_Mono8, 30, 10);
    EXPECT_EQ(frame.givenStride, 0U);
    Describe(Tavix::PixelType_Mono8, 30, 10, 2);
    EXPECT_EQ(frame.givenStride, 32U);
    EXPECT_EQ(frame.stride, 32U);
    EXPECT_EQ(frame.PixelBytes(), 9U * 32 + 30);
}

TEST_F(FrameTest, TakesAllThatCameForPixelsWhereTheFormatDoesNotTell) {
    Describe(Tavix::PixelType_Mono8, 64, 10);
    Describe(Tavix::PixelType_Undefined, 64, 10);
    EXPECT_EQ(frame.stride, 0U);
    EXPECT_EQ(frame.PixelBytes(), 10000U);
}

} // namespace
