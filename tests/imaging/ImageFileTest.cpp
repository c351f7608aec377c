#include "imaging/ReadBack.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <tavix/imaging/ImageFile.h>

using namespace Tavix::imaging;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;
using Samples = std::vector<std::uint16_t>;

class ImageFile : public testing::Test {
protected:
    ImageFile() {
        std::string pattern = (fs::temp_directory_path() / "imaging-XXXXXX").string();
        m_Folder = mkdtemp(pattern.data());
    }
    ~ImageFile() override { fs::remove_all(m_Folder); }

    std::string Path(const std::string& name) const { return (m_Folder / name).string(); }
    static std::string Read(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::size_t FilesInFolder() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(m_Folder), fs::directory_iterator()));
    }

private:
    fs::path m_Folder;
};

template<std::size_t Size>
PictureView ViewOf(const std::uint8_t (&bytes)[Size], PixelFormat format, std::uint32_t width, std::uint32_t height) {
    return {bytes, Size, format, width, height};
}

constexpr std::uint8_t kGrey[] = {0, 1, 2, 253, 254, 255};
constexpr std::uint8_t kDeep[] = {0x23, 0x01, 0xFF, 0x0F}; // Mono12
constexpr std::uint8_t kColours[] = {255, 0, 0, 0, 255, 0};

Metadata Known() {
    Metadata metadata;
    metadata.camera = "Vandrel V\n20";
    metadata.time = std::chrono::system_clock::time_point(std::chrono::microseconds(1769862896123456));
    metadata.cameraTime = 77;
    metadata.exposure = 1234.5;
    metadata.blockId = 42;
    metadata.more = {{"Gain", "2\xC2\x9B\xFF"
                              "dB"}};
    return metadata;
}

constexpr const char* kKnownLines = "PixelFormat: Mono8\nCamera: Vandrel V?20\nTime: 2026-01-31T12:34:56.123456Z\n"
                                    "CameraTime: 77\nExposureTime: 1234.5\nBlockId: 42\nGain: 2???dB\n";

} // namespace

TEST_F(ImageFile, IsNamedByItsExtension) {
    EXPECT_EQ(FileFormatOf("a/b.PNG"), FileFormat::Png);
    EXPECT_EQ(FileFormatOf("b.tiff"), FileFormat::Tiff);
    EXPECT_EQ(FileFormatOf("x.y.jpeg"), FileFormat::Jpeg);
    EXPECT_EQ(FileFormatOf("x.ppm"), FileFormat::Pnm);
    EXPECT_EQ(FileFormatOf("raw"), std::nullopt);
    EXPECT_EQ(FileFormatOf("x.pn"), std::nullopt);
    EXPECT_STREQ(ExtensionOf(FileFormat::Pnm, PixelFormat::Mono12p), ".pgm");
    EXPECT_STREQ(ExtensionOf(FileFormat::Pnm, PixelFormat::BayerRG8), ".ppm");
    EXPECT_THROW(Save(Path("x.bmp"), ViewOf(kGrey, PixelFormat::Mono8, 3, 2)), Error);
}

TEST_F(ImageFile, PngHoldsGreyInBothDepthsAndColours) {
    const readback::Image grey = readback::Png(Encode(FileFormat::Png, ViewOf(kGrey, PixelFormat::Mono8, 3, 2)));
    ASSERT_TRUE(grey.isRead);
    EXPECT_EQ(grey.width, 3u);
    EXPECT_EQ(grey.height, 2u);
    EXPECT_EQ(grey.samples, (Samples{0, 1, 2, 253, 254, 255}));
    const readback::Image deep = readback::Png(Encode(FileFormat::Png, ViewOf(kDeep, PixelFormat::Mono12, 2, 1)));
    EXPECT_EQ(deep.depth, 16);
    EXPECT_EQ(deep.samples, (Samples{0x1231, 0xFFFF}));
    const readback::Image colours = readback::Png(Encode(FileFormat::Png, ViewOf(kColours, PixelFormat::BGR8, 2, 1)));
    EXPECT_EQ(colours.channels, 3);
    EXPECT_EQ(colours.samples, (Samples{0, 0, 255, 0, 255, 0}));
}

TEST_F(ImageFile, PngTellsWhatIsKnownOfThePicture) {
    const auto png = readback::Png(Encode(FileFormat::Png, ViewOf(kGrey, PixelFormat::Mono8, 3, 2), Known()));
    const std::map<std::string, std::string> expected = {
        {"PixelFormat", "Mono8"}, {"Camera", "Vandrel V?20"}, {"Time", "2026-01-31T12:34:56.123456Z"},
        {"CameraTime", "77"},     {"ExposureTime", "1234.5"}, {"BlockId", "42"},
        {"Gain", "2???dB"}};
    EXPECT_EQ(png.texts, expected);
}

TEST_F(ImageFile, TiffHoldsThePictureAndItsTags) {
    for (const int compression : {0, 1, 9}) {
        FileOptions options;
        options.compression = compression;
        Save(Path("deep.tif"), ViewOf(kDeep, PixelFormat::Mono12, 2, 1), {}, options);
        const readback::Image deep = readback::Tiff(Path("deep.tif"));
        ASSERT_TRUE(deep.isRead);
        EXPECT_EQ(deep.depth, 16);
        EXPECT_EQ(deep.samples, (Samples{0x1231, 0xFFFF}));
    }
    Save(Path("grey.tif"), ViewOf(kGrey, PixelFormat::Mono8, 3, 2), Known());
    const readback::Image grey = readback::Tiff(Path("grey.tif"));
    EXPECT_EQ(grey.samples, (Samples{0, 1, 2, 253, 254, 255}));
    EXPECT_EQ(grey.texts.at("Comment"), kKnownLines);
    EXPECT_EQ(grey.texts.at("Model"), "Vandrel V?20");
    EXPECT_EQ(grey.texts.at("Time"), "2026:01:31 12:34:56");
    Save(Path("rgb.tif"), ViewOf(kColours, PixelFormat::RGB8, 2, 1));
    EXPECT_EQ(readback::Tiff(Path("rgb.tif")).samples, (Samples{255, 0, 0, 0, 255, 0}));
}

TEST_F(ImageFile, JpegComesNearAndTellsInItsComment) {
    std::vector<std::uint8_t> bytes(64 * 48, 100);
    const PictureView view{bytes.data(), bytes.size(), PixelFormat::Mono8, 64, 48};
    FileOptions options;
    options.quality = 100;
    const readback::Image grey = readback::Jpeg(Encode(FileFormat::Jpeg, view, Known(), options));
    EXPECT_EQ(grey.channels, 1);
    ASSERT_EQ(grey.samples.size(), bytes.size());
    for (const std::uint16_t sample : grey.samples)
        EXPECT_NEAR(sample, 100, 1);
    EXPECT_EQ(grey.texts.at("Comment"), kKnownLines);
    EXPECT_EQ(readback::Jpeg(Encode(FileFormat::Jpeg, ViewOf(kColours, PixelFormat::RGB8, 2, 1))).channels, 3);
    EXPECT_EQ(readback::Jpeg(Encode(FileFormat::Jpeg, ViewOf(kDeep, PixelFormat::Mono12, 2, 1))).depth, 8);
}

TEST_F(ImageFile, JpegSaysSoWhenAPictureIsTooWideForIt) {
    const std::vector<std::uint8_t> bytes(70000);
    EXPECT_THROW(Encode(FileFormat::Jpeg, {bytes.data(), bytes.size(), PixelFormat::Mono8, 70000, 1}), Error);
}

TEST_F(ImageFile, PnmHasItsUpperByteFirstAndCommentsOfOneLine) {
    Save(Path("deep.pgm"), ViewOf(kDeep, PixelFormat::Mono12, 2, 1));
    EXPECT_EQ(Read(Path("deep.pgm")), "P5\n# PixelFormat: Mono12\n2 1\n65535\n\x12\x31\xFF\xFF");
    Metadata metadata;
    metadata.camera = "two\nlines";
    Save(Path("rgb.ppm"), ViewOf(kColours, PixelFormat::RGB8, 2, 1), metadata);
    EXPECT_THAT(Read(Path("rgb.ppm")),
                testing::StartsWith("P6\n# PixelFormat: RGB8\n# Camera: two?lines\n2 1\n255\n\xFF"));
}

TEST_F(ImageFile, RawKeepsTheBytesAndAFileBesideSaysWhatTheyAre) {
    const PixelFormat strange{0x81080055};
    Save(Path("x.raw"), ViewOf(kGrey, strange, 3, 2), Known());
    EXPECT_EQ(Read(Path("x.raw")), std::string(std::begin(kGrey), std::end(kGrey)));
    const std::string json = Read(Path("x.raw.json"));
    EXPECT_THAT(json, HasSubstr("\"PixelFormatCode\": \"0x81080055\",\n  \"Width\": 3,\n  \"Height\": 2,\n"));
    EXPECT_THAT(json, HasSubstr("\"BlockId\": \"42\",\n  \"Gain\": \"2???dB\"\n}\n"));
}

TEST_F(ImageFile, DescribesInWholeJsonWhateverNamesSay) {
    Metadata metadata;
    metadata.more = {{"a\"b", "c\\d"}};
    EXPECT_THAT(Describe(ViewOf(kGrey, PixelFormat::Mono8, 3, 2), metadata), HasSubstr(R"("a\"b": "c\\d")"));
}

TEST_F(ImageFile, LeavesNothingBehindThatIsNotWhole) {
    EXPECT_THROW(Save(Path("x.png"), ViewOf(kGrey, PixelFormat::Mono8, 4, 2)), Error) << "too few bytes";
    fs::create_directory(Path("folder.png"));
    EXPECT_THROW(Save(Path("folder.png"), ViewOf(kGrey, PixelFormat::Mono8, 3, 2)), Error);
    EXPECT_EQ(FilesInFolder(), 1u);
    try {
        Save("/nowhere/at/all/x.png", ViewOf(kGrey, PixelFormat::Mono8, 3, 2));
        ADD_FAILURE() << "a file in a folder that does not exist";
    } catch (const Error& error) {
        EXPECT_STREQ(error.what(), "cannot write /nowhere/at/all/x.png: No such file or directory");
    }
}

TEST_F(ImageFile, ReplacesWhatALinkLeadsToAndLeavesTheLink) {
    fs::create_symlink("target.pgm", Path("link.pgm"));
    std::ofstream(Path("target.pgm")) << "old";
    Save(Path("link.pgm"), ViewOf(kGrey, PixelFormat::Mono8, 3, 2));
    EXPECT_TRUE(fs::is_symlink(Path("link.pgm")));
    EXPECT_THAT(Read(Path("target.pgm")), testing::StartsWith("P5"));
    EXPECT_EQ(FilesInFolder(), 2u);
}
