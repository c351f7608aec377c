#include <tavix/imaging/Convert.h>

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace Tavix::imaging;

namespace {

// Pixels whose values can be told from the bytes by hand.
struct Golden {
    PixelFormat source;
    std::vector<std::uint8_t> bytes;
    std::uint32_t width;
    PixelFormat target;
    std::vector<std::uint16_t> samples;
};

void PrintTo(const Golden& row, std::ostream* to) {
    *to << NameOf(row.source) << " to " << NameOf(row.target);
}

std::vector<std::uint16_t> SamplesOf(const Picture& picture) {
    std::vector<std::uint16_t> samples;
    const std::size_t step = FindPixelFormat(picture.Format())->bits > 8 ? 2 : 1;
    for (std::size_t i = 0; i < picture.Size(); i += step)
        samples.push_back(
            static_cast<std::uint16_t>(step == 1 ? picture.Data()[i] : picture.Data()[i] | picture.Data()[i + 1] << 8));
    return samples;
}

PictureView ViewOf(const Golden& golden) {
    return {golden.bytes.data(), golden.bytes.size(), golden.source, golden.width, 1};
}

std::string GoldenName(const testing::TestParamInfo<Golden>& golden) {
    return NameOf(golden.param.source) + "To" + NameOf(golden.param.target);
}

using F = PixelFormat;

class GoldenConversion : public testing::TestWithParam<Golden> {};
class GoldenUnpacking : public testing::TestWithParam<Golden> {};

} // namespace

TEST_P(GoldenConversion, IsWhatTheBytesSay) {
    EXPECT_EQ(SamplesOf(Convert(ViewOf(GetParam()), GetParam().target)), GetParam().samples);
}

INSTANTIATE_TEST_SUITE_P(
    Imaging, GoldenConversion,
    testing::Values(Golden{F::Mono1p, {0x05}, 4, F::Mono8, {255, 0, 255, 0}},
                    Golden{F::Mono2p, {0xE4}, 4, F::Mono8, {0, 85, 170, 255}},
                    Golden{F::Mono4p, {0xF1}, 2, F::Mono16, {0x1111, 0xFFFF}},
                    Golden{F::Mono8, {0xAB}, 1, F::Mono16, {0xABAB}},
                    Golden{F::Mono8s, {0x80, 0xFF, 0x00, 0x7F}, 4, F::Mono8, {0, 127, 128, 255}},
                    Golden{F::Mono12, {0xBC, 0x0A}, 1, F::Mono16, {0xABCA}},
                    Golden{F::Mono12, {0xBC, 0x0A}, 1, F::Mono8, {0xAB}},
                    Golden{F::RGB565p, {0x1F, 0x00}, 1, F::RGB8, {255, 0, 0}},
                    Golden{F::BGR565p, {0x1F, 0x00}, 1, F::RGB8, {0, 0, 255}},
                    Golden{F::BGR8, {1, 2, 3}, 1, F::RGBa8, {3, 2, 1, 255}},
                    Golden{F::RGBa8, {1, 2, 3, 4}, 1, F::BGRa8, {3, 2, 1, 4}},
                    Golden{F::RGB8, {255, 255, 255}, 1, F::Mono16, {65535}},
                    // Red, all of the range and with head room; both chroma of the first pixel count for the second.
                    Golden{F::YUV422_8, {76, 85, 76, 255}, 2, F::RGB8, {254, 0, 0, 254, 0, 0}},
                    Golden{F::YUV422_8_UYVY, {128, 7, 128, 9}, 2, F::RGB8, {7, 7, 7, 9, 9, 9}},
                    Golden{F::YCbCr601_422_8, {16, 128, 235, 128}, 2, F::RGB8, {0, 0, 0, 255, 255, 255}},
                    Golden{F::YCbCr709_422_8, {16, 128, 235, 128}, 2, F::Mono8, {0, 255}},
                    Golden{F::YUV411_8_UYYVYY, {128, 1, 2, 128, 3, 4}, 4, F::Mono8, {1, 2, 3, 4}},
                    Golden{F::YCbCr411_8, {1, 2, 128, 3, 4, 128}, 4, F::Mono8, {1, 2, 3, 4}},
                    Golden{F::YCbCr8_CbYCr, {128, 5, 128}, 1, F::BGR8, {5, 5, 5}},
                    Golden{F::YCbCr8, {6, 128, 128}, 1, F::BGR8, {6, 6, 6}}),
    GoldenName);

TEST_P(GoldenUnpacking, IsWhatTheBytesSay) {
    EXPECT_EQ(UnpackedFormat(GetParam().source), GetParam().target);
    EXPECT_EQ(SamplesOf(Unpack(ViewOf(GetParam()))), GetParam().samples);
}

INSTANTIATE_TEST_SUITE_P(
    Imaging, GoldenUnpacking,
    testing::Values(Golden{F::Mono10p, {0x55, 0xA9, 0x56, 0xFC, 0x03}, 4, F::Mono10, {0x155, 0x1AA, 0x3C5, 0x00F}},
                    Golden{F::Mono12p, {0x23, 0x61, 0x45}, 2, F::Mono12, {0x123, 0x456}},
                    Golden{F::Mono12Packed, {0x12, 0x63, 0x45}, 2, F::Mono12, {0x123, 0x456}},
                    Golden{F::Mono10Packed, {0x12, 0x13, 0x45}, 2, F::Mono10, {0x04B, 0x115}},
                    Golden{F::Mono14p, {0x34, 0x12, 0x00, 0x00}, 2, F::Mono14, {0x1234, 0x0000}},
                    Golden{F::BayerRG12p, {0x23, 0x61, 0x45}, 2, F::BayerRG12, {0x123, 0x456}},
                    Golden{F::RGB10p32, {0x01, 0x08, 0x30, 0x00}, 1, F::RGB10, {1, 2, 3}},
                    Golden{F::RGB10V1Packed, {0x39, 0x01, 0x02, 0x03}, 1, F::RGB10, {5, 10, 15}},
                    Golden{F::RGB12V1Packed, {0x11, 0x21, 0x22, 0x33, 0x00}, 1, F::RGB12, {0x111, 0x222, 0x330}},
                    Golden{F::Mono1p, {0x02}, 2, F::Mono8, {0, 255}}),
    GoldenName);

TEST(Unpack, IsForPackedFormatsAlone) {
    const std::uint8_t bytes[8] = {};
    EXPECT_EQ(UnpackedFormat(PixelFormat::Mono8), PixelFormat::Mono8);
    EXPECT_EQ(UnpackedFormat(PixelFormat::Coord3D_ABC10p), PixelFormat::Undefined);
    EXPECT_EQ(UnpackedFormat(PixelFormat{0x81234567}), PixelFormat::Undefined);
    EXPECT_THROW(Unpack({bytes, 8, PixelFormat::Mono8, 2, 2}), Error);
    EXPECT_THROW(Unpack({bytes, 8, PixelFormat::Mono12p, 4, 4}), Error);
}

TEST(Unpack, RefusesTargetsThatDoNotFit) {
    const std::uint8_t bytes[6] = {};
    const PictureView view{bytes, 6, PixelFormat::Mono12p, 2, 2};
    std::uint16_t words[4];
    std::uint8_t* target = reinterpret_cast<std::uint8_t*>(words);
    EXPECT_NO_THROW(Unpack(view, {target, 8, PixelFormat::Mono12, 0}));
    EXPECT_THROW(Unpack(view, {target, 7, PixelFormat::Mono12, 0}), Error);
    EXPECT_THROW(Unpack(view, {target, 8, PixelFormat::Mono12, 3}), Error);
    EXPECT_THROW(Unpack(view, {target, 8, PixelFormat::Mono16, 0}), Error);
    EXPECT_THROW(Unpack(view, {nullptr, 8, PixelFormat::Mono12, 0}), Error);
}
