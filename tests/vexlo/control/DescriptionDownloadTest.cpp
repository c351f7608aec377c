#include "vexlo/device/DescriptionDownload.h"

#include "core/Unzip.h"
#include "vexlo/XmlFile.h"
#include "vexlo/support/Fixture.h"

#include <zip.h>

#include <algorithm>

namespace {

using namespace vexlotest;
using namespace scripted;

// A zip archive with one stored member "a.xml" of the four bytes "<a/>".
const Bytes kZip =
    Hex("504B0304 0A00 0000 0000 0000 2100 D41CD101 04000000 04000000 0500 0000 612E786D6C 3C612F3E"
        "504B0102 1400 0A00 0000 0000 0000 2100 D41CD101 04000000 04000000 0500 0000 0000 0000 0000 00000000"
        "00000000 612E786D6C"
        "504B0506 0000 0000 0100 0100 33000000 27000000 0000");

Bytes Text(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

Bytes Entry(const char* version, const char* schema, std::uint64_t address, std::size_t size,
            const Bytes& sha = Bytes(20)) {
    Bytes bytes = Hex(version) + Hex(schema);
    for (int i = 0; i < 8; ++i)
        bytes.push_back(static_cast<std::uint8_t>(address >> (8 * i)));
    for (int i = 0; i < 8; ++i)
        bytes.push_back(static_cast<std::uint8_t>(std::uint64_t{size} >> (8 * i)));
    return bytes + sha + Bytes(20);
}

class DescriptionDownload : public OnScriptedCamera {
protected:
    void Offer(const Bytes& stored, const char* schema = "00000101") {
        camera.Set(kFile, stored);
        camera.Set64(kManifest, 1);
        camera.Set(kManifest + 8, Entry("01000001", schema, kFile, stored.size()));
    }
    VxStatus Download() {
        const VxStatus opened = device->IsOpen() ? VX_OK : Open();
        EXPECT_EQ(opened, VX_OK);
        return device->ProvideXmlFile(file);
    }
    CXmlFile file;
};

TEST_F(DescriptionDownload, IsDownloadedAsText) {
    Offer(Text("<a/>"));
    ASSERT_EQ(Download(), VX_OK);
    EXPECT_STREQ(file.GetBuffer(), "<a/>");
    EXPECT_EQ(file.GetFilename(), nullptr);
}

TEST_F(DescriptionDownload, IsUnzippedAndNamed) {
    Offer(kZip, "00040101");
    ASSERT_EQ(Download(), VX_OK);
    EXPECT_STREQ(file.GetBuffer(), "<a/>");
    EXPECT_STREQ(file.GetFilename(), "a.xml");
}

TEST_F(DescriptionDownload, IsJudgedByContentWhateverTheManifestSays) {
    Offer(kZip, "00000101");
    ASSERT_EQ(Download(), VX_OK);
    EXPECT_STREQ(file.GetBuffer(), "<a/>");
    Offer(Text("\xEF\xBB\xBF<b/>"), "00040101");
    ASSERT_EQ(Download(), VX_OK);
    EXPECT_STREQ(file.GetBuffer(), "\xEF\xBB\xBF<b/>");
}

TEST_F(DescriptionDownload, LosesTrailingZeros) {
    Offer(Text("<a/>") + Bytes(5));
    ASSERT_EQ(Download(), VX_OK);
    EXPECT_EQ(std::string(file.GetBuffer()).size(), 4u);
}

TEST_F(DescriptionDownload, IsUsedThoughItsHashDoesNotFit) {
    camera.Set(kFile, Text("<a/>"));
    camera.Set64(kManifest, 1);
    camera.Set(kManifest + 8, Entry("01000001", "00000101", kFile, 4, Bytes(20, 0xEE)));
    EXPECT_EQ(Download(), VX_OK);
}

TEST_F(DescriptionDownload, IsTheBestOfSeveral) {
    camera.Set(kFile, Text("<old/><new/>"));
    camera.Set64(kManifest, 3);
    camera.Set(kManifest + 8, Entry("01000001", "00000101", kFile, 6));
    camera.Set(kManifest + 72, Entry("02000001", "00000101", kFile + 6, 6));
    camera.Set(kManifest + 136, Entry("03000001", "01000101", kFile, 6)); // no camera description
    ASSERT_EQ(Download(), VX_OK);
    EXPECT_STREQ(file.GetBuffer(), "<new/>");
}

TEST_F(DescriptionDownload, IsFoundInAManifestThatCountsTooMany) {
    Offer(Text("<a/>"));
    camera.Set64(kManifest, 7);
    EXPECT_EQ(Download(), VX_OK);
}

TEST_F(DescriptionDownload, IsMissingWithoutAManifest) {
    EXPECT_NE(Download(), VX_OK) << "nothing at the manifest's address";
    camera.Set64(kManifest, 0);
    EXPECT_EQ(Download(), VX_E_XML_NO_MANIFEST);
    camera.Set64(kManifest, UINT64_MAX);
    EXPECT_EQ(Download(), VX_E_XML_NO_MANIFEST);
}

TEST_F(DescriptionDownload, IsMissingWhenNoEntryIsUsable) {
    Offer(Text("<a/>"), "00000102");
    EXPECT_EQ(Download(), VX_E_XML_NO_FILE);
}

TEST_F(DescriptionDownload, IsRefusedWhenItsStatedSizeIsBeyondTheLimit) {
    Offer(Text("<a/>"));
    for (const std::size_t size : {(std::size_t{64} << 20) + 1, std::size_t{1} << 40}) {
        camera.Set(kManifest + 8, Entry("01000001", "00000101", kFile, size));
        EXPECT_EQ(Download(), VX_E_XML_TOO_LARGE);
    }
}

TEST_F(DescriptionDownload, IsRefusedWhenTheZipIsDamaged) {
    Bytes damaged = kZip;
    damaged[36] ^= 1; // a byte of the member
    Offer(damaged, "00040101");
    EXPECT_EQ(Download(), VX_E_XML_BAD_ZIP);
    EXPECT_EQ(file.GetBuffer(), nullptr);
}

TEST(ZippedDescription, IsReadSafelyFromEveryTruncation) {
    for (std::size_t size = 4; size < kZip.size(); ++size) {
        const Bytes cut(kZip.begin(), kZip.begin() + static_cast<std::ptrdiff_t>(size));
        CXmlFile file;
        EXPECT_EQ(UnpackDescription(cut, true, file), VX_E_XML_BAD_ZIP) << size;
    }
}

/// An archive with one member of that many blanks.
Bytes ZipOfBlanks(std::size_t count) {
    const std::string text(count, ' ');
    zip_source_t* store = ::zip_source_buffer_create(nullptr, 0, 0, nullptr);
    zip_source_keep(store);
    zip_t* archive = ::zip_open_from_source(store, ZIP_TRUNCATE, nullptr);
    ::zip_file_add(archive, "a.xml", ::zip_source_buffer(archive, text.data(), text.size(), 0), 0);
    EXPECT_EQ(::zip_set_file_compression(archive, 0, ZIP_CM_DEFLATE, 1), 0);
    EXPECT_EQ(::zip_close(archive), 0);
    EXPECT_EQ(::zip_source_open(store), 0);
    zip_stat_t all;
    EXPECT_EQ(::zip_source_stat(store, &all), 0);
    Bytes bytes(static_cast<std::size_t>(all.size));
    EXPECT_EQ(::zip_source_read(store, bytes.data(), bytes.size()), static_cast<zip_int64_t>(bytes.size()));
    ::zip_source_close(store);
    ::zip_source_free(store);
    return bytes;
}

/// The archive with another size of the member in its directory.
Bytes Stating(Bytes archive, std::uint32_t size) {
    const Bytes entry = Hex("504B0102");
    const auto found = std::search(archive.begin(), archive.end(), entry.begin(), entry.end());
    for (int i = 0; i < 4; ++i)
        *(found + 24 + i) = static_cast<std::uint8_t>(size >> (8 * i));
    return archive;
}

TEST(ZippedDescription, IsRefusedBeyondTheLimitOfTexts) {
    CXmlFile file;
    EXPECT_EQ(UnpackDescription(ZipOfBlanks(kLargestDescription), true, file), VX_OK);
    const Bytes bomb = ZipOfBlanks(kLargestDescription + 1);
    ASSERT_LT(bomb.size(), 1000000u);
    EXPECT_EQ(UnpackDescription(bomb, true, file), VX_E_XML_TOO_LARGE);
    EXPECT_NE(UnpackDescription(Stating(bomb, 4), true, file), VX_OK) << "its directory lies";
}

TEST(ZippedDescription, TakesNoMemoryForWhatIsOnlyStated) {
    const Bytes archive = Stating(ZipOfBlanks(4), 0xFFFFFFF0);
    const auto member = Tavix::UnzipFirst(archive.data(), archive.size(), kLargestDescription);
    EXPECT_NE(member.verdict, Tavix::Unzipped::Verdict::TooLarge);
    EXPECT_LT(member.text.capacity(), std::size_t{1} << 20);
}

TEST(ZippedDescription, NeedsAnOpenDevice) {
    CVxDevice* device = CVxDevice::CreateDevice(DeviceType_Libusb);
    CXmlFile file;
    EXPECT_EQ(device->ProvideXmlFile(file), VX_E_NOT_OPEN);
    CVxDevice::DestroyDevice(device);
}

} // namespace
