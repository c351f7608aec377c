#include "imaging/Reference.h"
#include "imaging/conversion/Converter.h"

#include <cstring>
#include <memory>
#include <random>
#include <string>

#include <gtest/gtest.h>

using namespace Tavix::imaging;

namespace {

constexpr PixelFormat kTargets[] = {PixelFormat::Mono8, PixelFormat::Mono16, PixelFormat::RGB8, PixelFormat::BGR8,
                                    PixelFormat::RGBa8, PixelFormat::BGRa8,  PixelFormat::RGB16};

// A picture of noise in memory of exactly its size, so that sanitizers see every byte read beyond.
struct Noise {
    Noise(PixelFormat format, std::uint32_t width, std::uint32_t height, std::size_t padding = 0) {
        view.format = format;
        view.width = width;
        view.height = height;
        view.stride = StrideOf(format, width, padding);
        view.size = BytesOf(format, width, height, view.stride);
        bytes = std::make_unique<std::uint8_t[]>(view.size);
        std::minstd_rand random(width * 31 + height);
        for (std::size_t i = 0; i < view.size; ++i)
            bytes[i] = static_cast<std::uint8_t>(random() >> 8);
        view.data = bytes.get();
    }
    PictureView view;
    std::unique_ptr<std::uint8_t[]> bytes;
};

std::int64_t SampleAt(const std::uint8_t* data, PixelFormat format, std::size_t index) {
    if (FindPixelFormat(format)->bits == 8) return data[index];
    return data[2 * index] | data[2 * index + 1] << 8;
}

// The first pixel that is wrong, or nothing.
std::string Difference(const PictureView& view, PixelFormat target, const ConvertOptions& options,
                       const std::vector<std::int64_t>& expected, Processor processor) {
    const unsigned depth = FindPixelFormat(target)->bits;
    const std::size_t line = std::size_t{view.width} * BitsPerPixel(target) / 8, stride = line + 6;
    std::vector<std::uint8_t> bytes(stride * (view.height - 1) + line + 2, 0xA5);
    ConvertOn(processor, view, {bytes.data(), bytes.size() - 2, target, stride}, options);
    const int tolerance = reference::Picture(view, depth, options).Tolerance();
    const std::size_t samples = line / (depth / 8);
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const std::size_t y = i / samples, place = i % samples;
        const std::int64_t got = SampleAt(&bytes[y * stride], target, place);
        if (std::abs(got - expected[i]) > tolerance)
            return "line " + std::to_string(y) + ", sample " + std::to_string(place) + ": " + std::to_string(got) +
                   " instead of " + std::to_string(expected[i]);
    }
    for (std::size_t y = 0; y < view.height; ++y) {
        for (std::size_t i = 0; i < 2; ++i) {
            if (bytes[y * stride + line + i] != 0xA5) return "written behind line " + std::to_string(y);
        }
    }
    return "";
}

void ExpectReference(const PictureView& view, PixelFormat target, const ConvertOptions& options) {
    const std::vector<std::int64_t> expected = reference::Samples(view, target, options);
    for (const Processor processor : {Processor::Any, Processor::Ssse3, Processor::Avx2}) {
        if (processor > ThisProcessor()) continue;
        EXPECT_EQ(Difference(view, target, options, expected, processor), "")
            << NameOf(view.format) << " " << view.width << " x " << view.height << " stride " << view.stride << " to "
            << NameOf(target) << " on processor " << static_cast<int>(processor);
    }
}

void ExpectReferences(const PictureView& view) {
    for (const PixelFormat target : kTargets) {
        ExpectReference(view, target, {Demosaicing::Bilinear});
        if (FindPixelFormat(view.format)->model == ColourModel::Bayer)
            ExpectReference(view, target, {Demosaicing::EdgeAware});
    }
}

std::vector<PixelFormat> Convertible() {
    std::vector<PixelFormat> formats;
    for (const PixelFormatInfo& row : PixelFormats()) {
        if (row.model != ColourModel::None) formats.push_back(row.format);
    }
    return formats;
}

std::string TestName(const testing::TestParamInfo<PixelFormat>& format) {
    return NameOf(format.param);
}

class ConvertEach : public testing::TestWithParam<PixelFormat> {};

} // namespace

TEST_P(ConvertEach, IsAsTheReference) {
    for (const std::uint32_t width : {1u, 2u, 7u, 37u})
        ExpectReferences(Noise(GetParam(), width, 5).view);
    ExpectReferences(Noise(GetParam(), 35, 4, /*padding=*/3).view);
    ExpectReferences(Noise(GetParam(), 147, 2).view);
}

TEST_P(ConvertEach, RefusesMemoryThatIsOneByteTooSmall) {
    for (const std::size_t padding : {0, 5}) {
        Noise noise(GetParam(), 8, 4, padding);
        std::size_t enough = noise.view.size;
        const auto fits = [&](std::size_t size) {
            noise.view.size = size;
            try {
                Convert(noise.view, PixelFormat::RGB8);
                return true;
            } catch (const Error&) {
                return false;
            }
        };
        while (enough > 0 && fits(enough))
            --enough;
        const PixelFormatInfo& info = *FindPixelFormat(GetParam());
        if (info.packing == Packing::Planar) {
            const std::size_t line = 8 * (info.bits > 8 ? 2 : 1);
            EXPECT_EQ(enough + 1, (line + padding) * (4 * 3 - 1) + line);
        } else if (info.packing == Packing::SemiPlanar) {
            EXPECT_EQ(enough + 1, (8 + padding) * (info.PixelsPerGroup() == 4 ? 5 : 7) + 8);
        } else {
            EXPECT_EQ(enough + 1, BytesOf(GetParam(), 8, 4, noise.view.stride));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Imaging, ConvertEach, testing::ValuesIn(Convertible()), TestName);

TEST(Convert, TurnsTheBayerPhaseWithOddOffsets) {
    for (const PixelFormat format :
         {PixelFormat::BayerRG8, PixelFormat::BayerGR12p, PixelFormat::BayerGB10Packed, PixelFormat::BayerBG16}) {
        Noise noise(format, 12, 6);
        for (const std::uint32_t offset : {1u, 2u, 3u}) {
            noise.view.offsetX = offset & 1;
            noise.view.offsetY = offset >> 1;
            ExpectReferences(noise.view);
        }
    }
}

TEST(Convert, RefusesWhatHasNoPicture) {
    for (const PixelFormat format : {PixelFormat::Undefined, PixelFormat::Coord3D_ABC32f, PixelFormat::Mono32,
                                     PixelFormat{0x81080001}, PixelFormat{0x01080003}}) {
        const std::uint8_t bytes[64] = {};
        PictureView view{bytes, sizeof bytes, format, 2, 2};
        EXPECT_FALSE(IsConvertible(format, PixelFormat::RGB8));
        EXPECT_THROW(Convert(view, PixelFormat::RGB8), Error) << NameOf(format);
    }
    EXPECT_FALSE(IsConvertible(PixelFormat::Mono8, PixelFormat::Mono12));
}

TEST(Convert, RefusesSizesThatNobodyHas) {
    const std::uint8_t bytes[64] = {};
    const auto refuses = [&](std::uint32_t width, std::uint32_t height, std::size_t stride) {
        for (const PixelFormat format : Convertible()) {
            const PictureView view{bytes, sizeof bytes, format, width, height, stride};
            EXPECT_THROW(Convert(view, PixelFormat::Mono8), Error) << NameOf(format) << " " << width << " " << height;
        }
    };
    refuses(0, 1, 0);
    refuses(1, 0, 0);
    refuses(0xFFFFFFFF, 0xFFFFFFFF, 0);
    refuses(0xFFFFFFFF, 1, 0);
    refuses(1, 0xFFFFFFFF, 1);
    refuses(4, 0x80000001, ~std::size_t{0} / 2);
    refuses(1, 2, ~std::size_t{0});
}

TEST(Convert, RefusesTargetsThatAreTooSmall) {
    const Noise noise(PixelFormat::Mono8, 4, 4);
    std::uint8_t bytes[48];
    EXPECT_NO_THROW(Convert(noise.view, {bytes, 48, PixelFormat::RGB8, 0}));
    EXPECT_THROW(Convert(noise.view, {bytes, 47, PixelFormat::RGB8, 0}), Error);
    EXPECT_THROW(Convert(noise.view, {bytes, 48, PixelFormat::RGB8, 11}), Error);
    EXPECT_THROW(Convert(noise.view, {nullptr, 48, PixelFormat::RGB8, 0}), Error);
    EXPECT_THROW(Convert(noise.view, {bytes, 48, PixelFormat::Mono12p, 0}), Error);
}
