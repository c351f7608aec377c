// Camera bytes to grey and colour samples.

#include "tools/tavix/PixelConversion.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

using tool::ImageView;
using tool::Picture;
using Bytes = std::vector<std::uint8_t>;

struct Case {
    const char* name;
    std::uint32_t pixelFormat;
    std::uint32_t width, height;
    Bytes bytes; ///< exactly as many as the image needs
    int channels, depth;
    Bytes samples;
};

void PrintTo(const Case& c, std::ostream* out) {
    *out << c.name;
}

ImageView ViewOf(const Case& c, const std::uint8_t* data, std::size_t size) {
    ImageView view;
    view.data = data;
    view.size = size;
    view.pixelFormat = c.pixelFormat;
    view.width = c.width;
    view.height = c.height;
    return view;
}

class EachFormat : public testing::TestWithParam<Case> {};

TEST_P(EachFormat, BecomesTheExpectedSamples) {
    const Case& c = GetParam();
    Picture picture;
    ASSERT_TRUE(tool::Convert(ViewOf(c, c.bytes.data(), c.bytes.size()), picture));
    EXPECT_EQ(picture.width, c.width);
    EXPECT_EQ(picture.height, c.height);
    EXPECT_EQ(picture.channels, c.channels);
    EXPECT_EQ(picture.depth, c.depth);
    EXPECT_EQ(picture.samples, c.samples);
}

/// The bytes lie at the end of their own allocation, so that the address sanitizer sees a read beyond them.
TEST_P(EachFormat, IsRefusedWhenAnyByteIsMissing) {
    const Case& c = GetParam();
    for (std::size_t size = 0; size < c.bytes.size(); ++size) {
        const std::unique_ptr<std::uint8_t[]> data(new std::uint8_t[size]);
        std::copy_n(c.bytes.begin(), size, data.get());
        Picture picture;
        EXPECT_FALSE(tool::Convert(ViewOf(c, data.get(), size), picture)) << size << " bytes";
    }
}

TEST_P(EachFormat, NeedsNotOneByteMore) {
    const Case& c = GetParam();
    const std::unique_ptr<std::uint8_t[]> data(new std::uint8_t[c.bytes.size()]);
    std::copy(c.bytes.begin(), c.bytes.end(), data.get());
    Picture picture;
    EXPECT_TRUE(tool::Convert(ViewOf(c, data.get(), c.bytes.size()), picture));
}

INSTANTIATE_TEST_SUITE_P(
    PixelConversion, EachFormat,
    testing::Values(
        Case{"Mono8", 0x01080001, 2, 2, {1, 2, 3, 255}, 1, 8, {1, 2, 3, 255}},
        Case{"Mono10", 0x01100003, 2, 1, {0xFF, 0x03, 0x00, 0x02}, 1, 16, {0xFF, 0xFF, 0x80, 0x20}},
        Case{"Mono12", 0x01100005, 2, 1, {0xFF, 0x0F, 0x23, 0x01}, 1, 16, {0xFF, 0xFF, 0x12, 0x31}},
        Case{"Mono16", 0x01100007, 2, 1, {0x34, 0x12, 0xFF, 0xFF}, 1, 16, {0x12, 0x34, 0xFF, 0xFF}},
        // Ten bits each: 0x3FF, 0, 0x200, 0x001.
        Case{"Mono10p",
             0x010A0046,
             4,
             1,
             {0xFF, 0x03, 0x00, 0x60, 0x00},
             1,
             16,
             {0xFF, 0xFF, 0, 0, 0x80, 0x20, 0, 0x40}},
        Case{"Mono12p", 0x010C0047, 2, 1, {0x23, 0xF1, 0xFF}, 1, 16, {0x12, 0x31, 0xFF, 0xFF}},
        // Three pixels of twelve bits end within a byte, and the second line begins there.
        Case{"Mono12pOdd",
             0x010C0047,
             1,
             3,
             {0x23, 0xF1, 0xFF, 0x00, 0x08},
             1,
             16,
             {0x12, 0x31, 0xFF, 0xFF, 0x80, 0x08}},
        Case{"RGB8", 0x02180014, 1, 2, {1, 2, 3, 4, 5, 6}, 3, 8, {1, 2, 3, 4, 5, 6}},
        Case{"BGR8", 0x02180015, 1, 2, {1, 2, 3, 4, 5, 6}, 3, 8, {3, 2, 1, 6, 5, 4}},
        // Green of red and blue pixels is the mean of both; red and blue keep their difference to green.
        Case{"BayerRG8", 0x01080009, 2, 2, {200, 40, 60, 9}, 3, 8, {200, 50, 9, 190, 40, 0, 210, 60, 19, 200, 50, 9}},
        Case{"BayerGR8", 0x01080008, 2, 2, {40, 200, 9, 60}, 3, 8, {190, 40, 0, 200, 50, 9, 200, 50, 9, 210, 60, 19}},
        Case{"BayerGB8", 0x0108000A, 2, 2, {40, 9, 200, 60}, 3, 8, {190, 40, 0, 200, 50, 9, 200, 50, 9, 210, 60, 19}},
        Case{"BayerBG8", 0x0108000B, 2, 2, {9, 40, 60, 200}, 3, 8, {200, 50, 9, 190, 40, 0, 210, 60, 19, 200, 50, 9}},
        Case{"BayerRG12p", 0x010C0059, 1, 1, {0x23, 0x01}, 3, 16, {0x12, 0x31, 0x12, 0x31, 0x12, 0x31}},
        Case{"Mono1pByTheSdksType", 0x8101000C, 4, 1, {0x05}, 1, 8, {255, 0, 255, 0}},
        Case{"BayerOddSize", 0x01080009, 1, 1, {7}, 3, 8, {7, 7, 7}},
        Case{"YCbCr422White", 0x0210003B, 2, 1, {255, 128, 255, 128}, 3, 8, {255, 255, 255, 255, 255, 255}},
        Case{"YCbCr422Red", 0x0210003B, 2, 1, {76, 85, 76, 255}, 3, 8, {254, 0, 0, 254, 0, 0}},
        Case{"YCbCr422Blue", 0x0210003B, 2, 1, {29, 255, 29, 107}, 3, 8, {0, 0, 254, 0, 0, 254}}),
    [](const auto& instance) { return instance.param.name; });

TEST(PixelConversion, SkipsThePaddingBehindEachLine) {
    const Bytes bytes{1, 2, 99, 3, 4, 99};
    ImageView view;
    view.data = bytes.data();
    view.size = bytes.size();
    view.pixelFormat = 0x01080001;
    view.width = view.height = 2;
    view.paddingX = 1;
    Picture picture;
    ASSERT_TRUE(tool::Convert(view, picture));
    EXPECT_EQ(picture.samples, (Bytes{1, 2, 3, 4}));
    view.size -= 2; // padding behind the last line may be missing
    EXPECT_FALSE(tool::Convert(view, picture));
}

TEST(PixelConversion, BeginsEachPaddedLineOfPackedPixelsAtItsOwnByte) {
    const Bytes bytes{0xFF, 0x0F, 99, 0xFF, 0x0F, 99}; // one pixel of twelve bits, then a byte of padding
    ImageView view;
    view.data = bytes.data();
    view.size = bytes.size();
    view.pixelFormat = 0x010C0047;
    view.width = 1;
    view.height = 2;
    view.paddingX = 1;
    Picture picture;
    ASSERT_TRUE(tool::Convert(view, picture));
    EXPECT_EQ(picture.samples, (Bytes{0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(PixelConversion, RefusesUnknownFormatsAndImpossibleSizes) {
    const Bytes bytes(64);
    ImageView view;
    view.data = bytes.data();
    view.size = bytes.size();
    view.width = view.height = 2;
    view.pixelFormat = 0x01080055;
    Picture picture;
    EXPECT_FALSE(tool::Convert(view, picture));
    view.pixelFormat = 0x01080001;
    view.width = 0;
    EXPECT_FALSE(tool::Convert(view, picture));
    view.width = view.height = 0xFFFFFFFF; // their product must not wrap round to something small
    EXPECT_FALSE(tool::Convert(view, picture));
    view.width = view.height = 2;
    view.data = nullptr;
    EXPECT_FALSE(tool::Convert(view, picture));
}

} // namespace
