#include "virtualcam/firmware/Scene.h"

#include <gtest/gtest.h>

#include "virtualcam/Bytes.h"

namespace {

using virtualcam::Bytes;
using virtualcam::Geometry;
using virtualcam::Look;
using virtualcam::PixelFormat;
using virtualcam::Scene;
using virtualcam::TestPattern;

std::shared_ptr<const Look> PlainLook() {
    const auto look = std::make_shared<Look>();
    for (auto& colour : look->map)
        for (std::size_t i = 0; i < colour.size(); ++i)
            colour[i] = static_cast<std::uint16_t>(i);
    return look;
}

Geometry Size(std::uint32_t width, std::uint32_t height, PixelFormat format = PixelFormat::Mono8) {
    Geometry geometry;
    geometry.width = width;
    geometry.height = height;
    geometry.format = format;
    return geometry;
}

Bytes Draw(const Geometry& geometry, std::uint64_t number, unsigned view = 0) {
    Scene scene(view);
    scene.Begin(geometry, PlainLook(), number);
    Bytes image(geometry.ImageBytes());
    scene.Draw(0, image.data(), image.size());
    return image;
}

struct SceneOfFormat : testing::TestWithParam<PixelFormat> {};

TEST_P(SceneOfFormat, IsTheSameInOneDrawingAndInMany) {
    for (const TestPattern pattern :
         {TestPattern::Black, TestPattern::Gradient, TestPattern::ColorBars, TestPattern::Checker}) {
        Geometry geometry = Size(324, 210, GetParam());
        geometry.pattern = pattern;
        geometry.offsetX = 12;
        const Bytes whole = Draw(geometry, 77);
        Scene scene;
        scene.Begin(geometry, PlainLook(), 77);
        Bytes parts(whole.size());
        std::size_t at = 0;
        for (std::size_t step = 1; at < parts.size(); step = step * 7 % 1000 + 1) {
            const std::size_t count = std::min(step, parts.size() - at);
            scene.Draw(at, parts.data() + at, count);
            at += count;
        }
        EXPECT_EQ(parts, whole);
    }
}

TEST_P(SceneOfFormat, MovesFromFrameToFrame) {
    for (const TestPattern pattern :
         {TestPattern::Black, TestPattern::Gradient, TestPattern::ColorBars, TestPattern::Checker}) {
        Geometry geometry = Size(320, 1000, GetParam());
        geometry.pattern = pattern;
        EXPECT_NE(Draw(geometry, 1), Draw(geometry, 2));
    }
}

TEST_P(SceneOfFormat, LooksOtherwiseFromEachPlace) {
    for (const TestPattern pattern :
         {TestPattern::Black, TestPattern::Gradient, TestPattern::ColorBars, TestPattern::Checker}) {
        Geometry geometry = Size(320, 200, GetParam());
        geometry.pattern = pattern;
        EXPECT_NE(Draw(geometry, 1, 0), Draw(geometry, 1, 1));
        EXPECT_NE(Draw(geometry, 1, 1), Draw(geometry, 1, 2));
    }
}

TEST_P(SceneOfFormat, ShowsTheSameOfASmallerRegion) {
    Geometry geometry = Size(320, 16, GetParam()); // too low for a number
    Geometry part = geometry;
    part.offsetX = 64;
    part.width = 128;
    const Bytes whole = Draw(geometry, 5);
    const Bytes cut = Draw(part, 5);
    const std::size_t begin = 64 * virtualcam::BitsPerPixel(GetParam()) / 8;
    EXPECT_TRUE(std::equal(cut.begin(), cut.begin() + static_cast<std::ptrdiff_t>(part.LineBytes()),
                           whole.begin() + static_cast<std::ptrdiff_t>(begin)));
}

INSTANTIATE_TEST_SUITE_P(AllFormats, SceneOfFormat,
                         testing::Values(PixelFormat::Mono8, PixelFormat::Mono12, PixelFormat::Mono12p,
                                         PixelFormat::BayerRG8, PixelFormat::RGB8, PixelFormat::BGR8,
                                         PixelFormat::YCbCr422_8));

TEST(Scene, IsAGradientThatStepsByOneGreyAPixel) {
    const Bytes image = Draw(Size(512, 16), 0);
    for (std::size_t x = 0; x < 512; ++x)
        EXPECT_EQ(image[x], x % 256);
    EXPECT_EQ(image[512 * 2], 2) << "and leans";
}

TEST(Scene, PacksTwelveBitsLowestFirst) {
    const Bytes plain = Draw(Size(64, 16, PixelFormat::Mono12), 3);
    const Bytes packed = Draw(Size(64, 16, PixelFormat::Mono12p), 3);
    ASSERT_EQ(packed.size() * 4, plain.size() * 3);
    for (std::size_t pair = 0; pair < packed.size() / 3; ++pair) {
        const unsigned first = plain[4 * pair] | plain[4 * pair + 1] << 8;
        const unsigned second = plain[4 * pair + 2] | plain[4 * pair + 3] << 8;
        EXPECT_EQ(packed[3 * pair], first & 0xFF);
        EXPECT_EQ(packed[3 * pair + 1], (first >> 8) | (second & 0xF) << 4);
        EXPECT_EQ(packed[3 * pair + 2], second >> 4);
    }
}

TEST(Scene, SwapsRedAndBlueBetweenRgbAndBgr) {
    const Bytes rgb = Draw(Size(256, 100, PixelFormat::RGB8), 9);
    const Bytes bgr = Draw(Size(256, 100, PixelFormat::BGR8), 9);
    for (std::size_t i = 0; i < rgb.size(); i += 3) {
        EXPECT_EQ(rgb[i], bgr[i + 2]);
        EXPECT_EQ(rgb[i + 1], bgr[i + 1]);
    }
}

TEST(Scene, PutsRedFirstInItsBayerPattern) {
    Geometry geometry = Size(768, 32, PixelFormat::BayerRG8);
    geometry.pattern = TestPattern::ColorBars;
    const Bytes image = Draw(geometry, 0);
    const std::size_t red = 5 * 96 + 10; // bars: white, yellow, cyan, green, magenta, red, blue, black
    EXPECT_EQ(image[red], 255);
    EXPECT_EQ(image[red + 1], 0);
    EXPECT_EQ(image[768 + red + 1], 0);
    const std::size_t blue = 6 * 96 + 10;
    EXPECT_EQ(image[768 + blue + 1], 255);
    EXPECT_EQ(image[blue], 0);
}

/// White, yellow, cyan, green, magenta, red, blue and black: red, green, blue, and the same as brightness and colour.
constexpr int kBars[8][6] = {{255, 255, 255, 255, 128, 128}, {255, 255, 0, 226, 1, 149},   {0, 255, 255, 179, 171, 1},
                             {0, 255, 0, 149, 44, 22},       {255, 0, 255, 106, 212, 234}, {255, 0, 0, 76, 85, 255},
                             {0, 0, 255, 29, 255, 107},      {0, 0, 0, 0, 128, 128}};

TEST(Scene, ShowsColouredBars) {
    Geometry geometry = Size(768, 16, PixelFormat::RGB8);
    geometry.pattern = TestPattern::ColorBars;
    const Bytes rgb = Draw(geometry, 0);
    geometry.format = PixelFormat::YCbCr422_8;
    const Bytes ycbcr = Draw(geometry, 0);
    geometry.format = PixelFormat::Mono8;
    const Bytes grey = Draw(geometry, 0);
    for (std::size_t bar = 0; bar < 8; ++bar) {
        const std::size_t x = 96 * bar + 48;
        const int pixel[6] = {rgb[3 * x], rgb[3 * x + 1], rgb[3 * x + 2], grey[x], ycbcr[2 * x + 1], ycbcr[2 * x + 3]};
        for (std::size_t i = 0; i < 6; ++i)
            EXPECT_NEAR(pixel[i], kBars[bar][i], 2) << "bar " << bar << ", value " << i;
        EXPECT_EQ(ycbcr[2 * x], grey[x]);
        EXPECT_EQ(ycbcr[2 * x + 2], grey[x + 1]);
    }
}

TEST(Scene, MirrorsWhatItShows) {
    Geometry geometry = Size(320, 16);
    const Bytes image = Draw(geometry, 4);
    geometry.reverseX = true;
    const Bytes mirrored = Draw(geometry, 4);
    for (std::size_t x = 0; x < 320; ++x)
        EXPECT_EQ(mirrored[x], image[319 - x]);
}

TEST(Scene, WritesTheNumberIntoTheImage) {
    Geometry geometry = Size(640, 480);
    geometry.pattern = TestPattern::Black;
    const Bytes image = Draw(geometry, 8); // 000008
    const std::size_t scale = 8, left = 40, top = 30;
    const auto fontPixel = [&](std::size_t column, std::size_t row) {
        return image[(top + row * scale + scale / 2) * 640 + left + column * scale + scale / 2];
    };
    const char* const eight[7] = {" ### ", "#   #", "#   #", " ### ", "#   #", "#   #", " ### "};
    for (std::size_t row = 0; row < 7; ++row)
        for (std::size_t column = 0; column < 5; ++column)
            EXPECT_EQ(fontPixel(31 + column, 1 + row), eight[row][column] == '#' ? 255 : 0) << row << ' ' << column;
}

} // namespace
