#include "virtualcam/device/Manifest.h"

#include <gtest/gtest.h>
#include <openssl/sha.h>

#include "virtualcam/support/DeviceClient.h"

namespace {

using virtualcam::Bytes;
using virtualcam::Load;
using virtualcam::Manifest;
using virtualcam::ManifestFault;
using virtualcam::test::Hex;

Bytes FileOf(const Manifest& manifest, std::size_t entry = 0) {
    const std::uint8_t* at = manifest.table.data() + 8 + 64 * entry;
    const auto begin = manifest.files.begin() + static_cast<std::ptrdiff_t>(Load<std::uint64_t>(at + 8) - 0x200000);
    return Bytes(begin, begin + static_cast<std::ptrdiff_t>(Load<std::uint64_t>(at + 16)));
}

Bytes HashIn(const Manifest& manifest) {
    return Bytes(manifest.table.begin() + 8 + 24, manifest.table.begin() + 8 + 44);
}

Bytes HashOf(const Bytes& file) {
    Bytes hash(20);
    SHA1(file.data(), file.size(), hash.data());
    return hash;
}

Manifest Build(ManifestFault fault) {
    return virtualcam::BuildManifest(fault, {});
}

TEST(Manifest, HoldsOneZippedDescriptionWithItsHash) {
    const Manifest manifest = Build(ManifestFault::None);
    EXPECT_EQ(manifest.table.size(), 72u);
    EXPECT_EQ(Bytes(manifest.table.begin(), manifest.table.begin() + 24),
              Hex("0100000000000000 00000001 00040101 0000200000000000"));
    const Bytes file = FileOf(manifest);
    EXPECT_EQ(Bytes(file.begin(), file.begin() + 4), Hex("504B0304"));
    EXPECT_EQ(Load<std::uint16_t>(file.data() + 8), 8u) << "deflated";
    EXPECT_EQ(HashIn(manifest), HashOf(file));
}

TEST(Manifest, CanHoldPlainXml) {
    const Manifest manifest = Build(ManifestFault::PlainXml);
    EXPECT_EQ(Load<std::uint32_t>(manifest.table.data() + 12), 0x01010000u);
    EXPECT_EQ(FileOf(manifest)[0], '<');
}

TEST(Manifest, CanHaveAWrongHash) {
    EXPECT_NE(HashIn(Build(ManifestFault::WrongHash)), HashOf(FileOf(Build(ManifestFault::WrongHash))));
    EXPECT_EQ(HashIn(Build(ManifestFault::ZeroHash)), Bytes(20));
}

TEST(Manifest, CanFlagTheWrongFormat) {
    const Manifest manifest = Build(ManifestFault::WrongFormatFlag);
    EXPECT_EQ(Load<std::uint32_t>(manifest.table.data() + 12), 0x01010000u);
    EXPECT_EQ(FileOf(manifest)[0], 'P');
}

TEST(Manifest, CanFlagPlainXmlAsZipped) {
    const Manifest manifest = Build(ManifestFault::WrongZipFlag);
    EXPECT_EQ(Load<std::uint32_t>(manifest.table.data() + 12), 0x01010400u);
    EXPECT_EQ(FileOf(manifest)[0], '<');
}

TEST(Manifest, CanHaveAFileThatIsLongerThanItsText) {
    EXPECT_EQ(FileOf(Build(ManifestFault::TrailingZeros)).back(), 0);
    EXPECT_EQ(FileOf(Build(ManifestFault::TrailingZeros)).size(), FileOf(Build(ManifestFault::PlainXml)).size() + 100);
}

TEST(Manifest, CanHoldADamagedArchiveWithTheRightHash) {
    const Manifest manifest = Build(ManifestFault::CorruptZip);
    EXPECT_EQ(HashIn(manifest), HashOf(FileOf(manifest)));
    EXPECT_NE(FileOf(manifest), FileOf(Build(ManifestFault::None)));
}

TEST(Manifest, CanStoreTheArchivesMember) {
    EXPECT_EQ(Load<std::uint16_t>(FileOf(Build(ManifestFault::StoredZip)).data() + 8), 0u);
}

TEST(Manifest, CanHaveSeveralEntriesOfWhichTheLastIsRight) {
    const Manifest manifest = Build(ManifestFault::SeveralEntries);
    EXPECT_EQ(manifest.table[0], 3);
    EXPECT_EQ(FileOf(manifest, 2), FileOf(Build(ManifestFault::None)));
}

TEST(Manifest, CanBeEmptyOrAbsurd) {
    EXPECT_EQ(Load<std::uint64_t>(Build(ManifestFault::NoEntries).table.data()), 0u);
    EXPECT_GT(Load<std::uint64_t>(Build(ManifestFault::HugeCount).table.data()), 1u << 30);
}

TEST(Manifest, CanLackTheCategoryRoot) {
    EXPECT_NE(FileOf(Build(ManifestFault::NoRoot)), FileOf(Build(ManifestFault::None)));
}

TEST(Manifest, CanCountBytesBehindTheFile) {
    const Bytes archive = FileOf(Build(ManifestFault::None)), larger = FileOf(Build(ManifestFault::LargerSize));
    EXPECT_EQ(larger.size(), archive.size() + 64);
    EXPECT_TRUE(std::equal(archive.begin(), archive.end(), larger.begin()));
}

TEST(Manifest, RefusesADescriptionFileThatIsNotThere) {
    EXPECT_THROW(virtualcam::BuildManifest(ManifestFault::None, "/no/such/file"), std::runtime_error);
}

} // namespace
