#include <tavix/imaging/Display.h>

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using namespace Tavix::imaging;

PictureView ViewOf(const std::vector<std::uint8_t>& bytes, PixelFormat format, std::uint32_t width,
                   std::uint32_t height) {
    PictureView view;
    view.data = bytes.data();
    view.size = bytes.size();
    view.format = format;
    view.width = width;
    view.height = height;
    return view;
}

std::vector<std::uint8_t> BytesOf(const Picture& picture) {
    return {picture.Data(), picture.Data() + picture.Size()};
}

const std::vector<std::uint8_t> kSixteen = {0, 10, 20, 30, 40, 50, 60, 70, 80, 90, 100, 110, 120, 130, 140, 255};

TEST(Display, ShowsAPartAsItIs) {
    DisplayOptions options;
    options.region = {1, 2, 2, 2};
    const Picture shown = Render(ViewOf(kSixteen, PixelFormat::Mono8, 4, 4), options);
    EXPECT_EQ(BytesOf(shown), (std::vector<std::uint8_t>{90, 100, 130, 140}));
}

TEST(Display, MakesPicturesSmallerByTheMean) {
    DisplayOptions options;
    options.width = options.height = 2;
    const Picture shown = Render(ViewOf(kSixteen, PixelFormat::Mono8, 4, 4), options);
    EXPECT_EQ(BytesOf(shown), (std::vector<std::uint8_t>{25, 45, 105, 151}));
}

TEST(Display, NeverEnlarges) {
    DisplayOptions options;
    options.width = options.height = 100;
    EXPECT_EQ(4u, Render(ViewOf(kSixteen, PixelFormat::Mono8, 4, 4), options).Width());
}

TEST(Display, ClipsRegionsThatLieBeyondThePicture) {
    DisplayOptions options;
    options.region = {3, 100, 50, 50};
    EXPECT_EQ(BytesOf(Render(ViewOf(kSixteen, PixelFormat::Mono8, 4, 4), options)), std::vector<std::uint8_t>{255});
}

TEST(Display, SpreadsTheWindowOfDeepValues) {
    const std::vector<std::uint8_t> deep = {0, 0, 100, 0, 200, 0, 0xFF, 0x0F}; // 0, 100, 200, 4095 of 12 bits
    DisplayOptions options;
    EXPECT_EQ(BytesOf(Render(ViewOf(deep, PixelFormat::Mono12, 4, 1), options)),
              (std::vector<std::uint8_t>{0, 6, 12, 255}));
    options.black = 100;
    options.white = 200;
    EXPECT_EQ(BytesOf(Render(ViewOf(deep, PixelFormat::Mono12, 4, 1), options)),
              (std::vector<std::uint8_t>{0, 0, 255, 255}));
}

TEST(Display, TellsTheTrueValuesOfPackedPixels) {
    const std::vector<std::uint8_t> packed = {0x34, 0x12, 0xAB, 0xCD, 0xEF, 0x01}; // 0x234, 0xAB1, 0xFCD, 0x01E
    const Picture values = TrueValues(ViewOf(packed, PixelFormat::Mono12p, 2, 2), {0, 1, 2, 1});
    EXPECT_EQ(PixelFormat::Mono12, values.Format());
    EXPECT_EQ(BytesOf(values), (std::vector<std::uint8_t>{0xCD, 0x0F, 0x1E, 0x00}));
}

TEST(Display, ShowsBayerInColourOrAsItIs) {
    const std::vector<std::uint8_t> red = {200, 0, 200, 0, 0, 0, 0, 0, 200, 0, 200, 0, 0, 0, 0, 0};
    DisplayOptions options;
    options.width = options.height = 2;
    EXPECT_EQ(BytesOf(Render(ViewOf(red, PixelFormat::BayerRG8, 4, 4), options)),
              (std::vector<std::uint8_t>{200, 0, 0, 200, 0, 0, 200, 0, 0, 200, 0, 0}));
    options.isColour = false;
    options.width = options.height = 0;
    EXPECT_EQ(BytesOf(Render(ViewOf(red, PixelFormat::BayerRG8, 4, 4), options)), red);
}

TEST(Display, KeepsTheBayerPhaseOfAnOddRegion) {
    const std::vector<std::uint8_t> red = {200, 0, 200, 0, 0, 0, 0, 0, 200, 0, 200, 0, 0, 0, 0, 0};
    DisplayOptions options;
    options.region = {1, 1, 3, 3};
    const Picture shown = Render(ViewOf(red, PixelFormat::BayerRG8, 4, 4), options);
    const std::uint8_t* const middle = shown.Data() + shown.Stride() + 3; // the red pixel at 2, 2
    EXPECT_EQ(200, middle[0]);
    EXPECT_EQ(0, middle[1]);
    EXPECT_EQ(0, middle[2]);
}

TEST(Display, MarksWhatIsSaturatedEvenIfThePixelIsMadeSmall) {
    DisplayOptions options;
    options.width = options.height = 2;
    options.marksSaturation = true;
    const Picture shown = Render(ViewOf(kSixteen, PixelFormat::Mono8, 4, 4), options);
    EXPECT_EQ(PixelFormat::RGB8, shown.Format());
    EXPECT_EQ(BytesOf(shown), (std::vector<std::uint8_t>{25, 25, 25, 45, 45, 45, 105, 105, 105, 255, 0, 0}));
}

TEST(Display, RefusesWhatIsNoPicture) {
    EXPECT_THROW((void)Render(ViewOf(kSixteen, static_cast<PixelFormat>(0x81080001), 4, 4), {}), Error);
    EXPECT_THROW((void)Render(ViewOf({}, PixelFormat::Mono8, 0, 0), {}), Error);
    EXPECT_THROW((void)Render(ViewOf(kSixteen, PixelFormat::Mono8, 4, 5), {}), Error) << "it ends before its last line";
}

TEST(Display, ShowsEveryFormatOfTheTableThatIsAPicture) {
    const std::vector<std::uint8_t> grey(32 * 32 * 16, 0x55);
    for (const PixelFormatInfo& row : PixelFormats()) {
        if (row.model == ColourModel::None) continue;
        DisplayOptions options;
        options.region = {2, 2, 8, 8};
        options.width = options.height = 4;
        const Picture shown = Render(ViewOf(grey, row.format, 32, 32), options);
        EXPECT_EQ(4u, shown.Width()) << row.name;
        EXPECT_EQ(8u, TrueValues(ViewOf(grey, row.format, 32, 32), options.region).Height()) << row.name;
    }
}

} // namespace
