// Image files, read back.

#include "Png.h"
#include "tests/tools/support/TestFolder.h"

#include "tools/tavix/images/ImageFile.h"

#include <gtest/gtest.h>

namespace {

using namespace tooltest;
using Tavix::imaging::PictureView;
using Bytes = std::vector<std::uint8_t>;

PictureView ViewOf(const Bytes& bytes, std::uint32_t pixelFormat, std::uint32_t width, std::uint32_t height) {
    PictureView view;
    view.data = bytes.data();
    view.size = bytes.size();
    view.format = Tavix::imaging::PixelFormat{pixelFormat};
    view.width = width;
    view.height = height;
    return view;
}

/// Writes the only image of a grab, so that it is BASE_000000; gives the path.
std::string WriteImage(const std::string& base, tool::ImageFormat format, const PictureView& view) {
    tool::ImageNames names(base);
    return tool::WriteImage(names, format, view, {"A (1)", "Mono8", 0, 5}).path;
}

constexpr std::uint32_t kMono8 = 0x01080001, kMono12 = 0x01100005, kRGB8 = 0x02180014, kMono1p = 0x01010037,
                        kUnknown = 0x01080055;

TEST(GrabbedFile, WritesGreyPngThatLibpngReadsBack) {
    const TestFolder folder;
    const Bytes bytes{0, 1, 2, 253, 254, 255};
    const std::string path = WriteImage(folder.Path("grey"), tool::ImageFormat::Png, ViewOf(bytes, kMono8, 3, 2));
    EXPECT_EQ(path, folder.Path("grey_000000.png"));
    const PngImage image = ReadPng(path);
    ASSERT_TRUE(image.isRead);
    EXPECT_EQ(image.width, 3u);
    EXPECT_EQ(image.height, 2u);
    EXPECT_EQ(image.depth, 8);
    EXPECT_EQ(image.channels, 1);
    EXPECT_EQ(image.samples, bytes);
}

TEST(GrabbedFile, WritesSixteenBitPngWithTheUpperByteFirst) {
    const TestFolder folder;
    const Bytes bytes{0x23, 0x01, 0xFF, 0x0F};
    const PngImage image =
        ReadPng(WriteImage(folder.Path("deep"), tool::ImageFormat::Png, ViewOf(bytes, kMono12, 2, 1)));
    ASSERT_TRUE(image.isRead);
    EXPECT_EQ(image.depth, 16);
    EXPECT_EQ(image.samples, (Bytes{0x12, 0x31, 0xFF, 0xFF}));
}

TEST(GrabbedFile, WritesColourPng) {
    const TestFolder folder;
    const Bytes bytes{255, 0, 0, 0, 255, 0};
    const PngImage image = ReadPng(WriteImage(folder.Path("rgb"), tool::ImageFormat::Png, ViewOf(bytes, kRGB8, 2, 1)));
    ASSERT_TRUE(image.isRead);
    EXPECT_EQ(image.channels, 3);
    EXPECT_EQ(image.samples, bytes);
}

TEST(GrabbedFile, WritesBitsAsBlackAndWhite) {
    const TestFolder folder;
    const Bytes bytes{0x05};
    const PngImage image =
        ReadPng(WriteImage(folder.Path("bits"), tool::ImageFormat::Png, ViewOf(bytes, kMono1p, 4, 1)));
    ASSERT_TRUE(image.isRead);
    EXPECT_EQ(image.samples, (Bytes{255, 0, 255, 0}));
}

TEST(GrabbedFile, WritesPgmForGreyAndPpmForColour) {
    const TestFolder folder;
    const Bytes bytes{'a', 'b', 'c', 'd', 'e', 'f'};
    EXPECT_EQ(WriteImage(folder.Path("grey"), tool::ImageFormat::Pgm, ViewOf(bytes, kMono8, 3, 2)),
              folder.Path("grey_000000.pgm"));
    EXPECT_EQ(folder.Read("grey_000000.pgm"), "P5\n3 2\n255\nabcdef");
    EXPECT_EQ(WriteImage(folder.Path("rgb"), tool::ImageFormat::Pgm, ViewOf(bytes, kRGB8, 1, 2)),
              folder.Path("rgb_000000.ppm"));
    EXPECT_EQ(folder.Read("rgb_000000.ppm"), "P6\n1 2\n255\nabcdef");
}

TEST(GrabbedFile, KeepsTheCamerasBytesWhenAskedToOrUnableToConvert) {
    const TestFolder folder;
    const Bytes bytes{9, 8, 7};
    const std::string content(bytes.begin(), bytes.end());
    EXPECT_EQ(WriteImage(folder.Path("a"), tool::ImageFormat::Raw, ViewOf(bytes, kMono8, 3, 1)),
              folder.Path("a_000000.raw"));
    EXPECT_EQ(folder.Read("a_000000.raw"), content);
    EXPECT_EQ(WriteImage(folder.Path("b"), tool::ImageFormat::Png, ViewOf(bytes, kUnknown, 3, 1)),
              folder.Path("b_000000.raw"));
    EXPECT_EQ(folder.Read("b_000000.raw"), content);
    EXPECT_EQ(WriteImage(folder.Path("c"), tool::ImageFormat::Png, ViewOf(bytes, kMono8, 4, 1)),
              folder.Path("c_000000.raw"));
}

TEST(GrabbedFile, HoldsAllBytesHoweverFewTheyAre) {
    for (const std::size_t size : {0, 1, 2, 3}) {
        const TestFolder folder;
        const Bytes bytes(size, 0xA5);
        WriteImage(folder.Path("few"), tool::ImageFormat::Raw, ViewOf(bytes, kMono8, 1, 1));
        EXPECT_EQ(folder.Read("few_000000.raw"), std::string(bytes.begin(), bytes.end())) << size;
    }
}

TEST(GrabbedFile, NamesTheFileThatCannotBeWritten) {
    const Bytes bytes{1};
    for (const auto format : {tool::ImageFormat::Png, tool::ImageFormat::Pgm, tool::ImageFormat::Raw}) {
        try {
            WriteImage("/nowhere/at/all/x", format, ViewOf(bytes, kMono8, 1, 1));
            ADD_FAILURE() << "a file in a folder that does not exist";
        } catch (const std::runtime_error& e) {
            EXPECT_NE(std::string(e.what()).find("cannot write /nowhere/at/all/x_000000."), std::string::npos)
                << e.what();
        }
    }
}

} // namespace
