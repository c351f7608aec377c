#include "Bytes.h"

#include "u3v/ManifestTable.h"

#include <gtest/gtest.h>

namespace {

using namespace u3v;
using namespace u3vtest;

const Packet kZipEntry = Hex("1A 00 01 01 00 04 01 01 00 00 20 00 00 00 00 00 34 12 00 00 00 00 00 00"
                             "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13") +
                         Packet(20);

ManifestEntry Description(std::uint8_t schemaMinor, std::uint8_t major, std::uint8_t minor, std::uint16_t subMinor) {
    ManifestEntry entry;
    entry.schemaMajor = 1;
    entry.schemaMinor = schemaMinor;
    entry.versionMajor = major;
    entry.versionMinor = minor;
    entry.versionSubMinor = subMinor;
    entry.size = 1;
    return entry;
}

TEST(ManifestEntry, IsDecoded) {
    const auto entry = DecodeManifestEntry(kZipEntry);
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->versionMajor, 1);
    EXPECT_EQ(entry->versionMinor, 1);
    EXPECT_EQ(entry->versionSubMinor, 26);
    EXPECT_EQ(entry->schemaMajor, 1);
    EXPECT_EQ(entry->schemaMinor, 1);
    EXPECT_EQ(entry->fileType, 0u);
    EXPECT_EQ(entry->format, 1u);
    EXPECT_EQ(entry->address, 0x200000u);
    EXPECT_EQ(entry->size, 0x1234u);
    EXPECT_TRUE(entry->HasHash());
    EXPECT_EQ(entry->sha1[19], 0x13);
}

TEST(ManifestEntry, WithZerosForAHashHasNone) {
    Packet bytes = kZipEntry;
    std::fill(bytes.begin() + 24, bytes.begin() + 44, std::uint8_t{0});
    EXPECT_FALSE(DecodeManifestEntry(bytes)->HasHash());
}

TEST(ManifestEntry, IsNothingAtEveryTruncation) {
    for (std::size_t size = 0; size < kZipEntry.size(); ++size)
        EXPECT_FALSE(DecodeManifestEntry(Cut(kZipEntry, size)));
}

TEST(BestDescription, HasTheHighestSchemaThenTheHighestVersion) {
    const std::vector<ManifestEntry> entries = {Description(1, 9, 9, 9), Description(2, 1, 1, 1),
                                                Description(2, 1, 2, 0), Description(2, 1, 1, 5)};
    EXPECT_EQ(FindBestDescription(entries), &entries[2]);
}

TEST(BestDescription, IsTheFirstOfEquals) {
    const std::vector<ManifestEntry> entries = {Description(1, 1, 1, 1), Description(1, 1, 1, 1)};
    EXPECT_EQ(FindBestDescription(entries), &entries[0]);
}

TEST(BestDescription, IsNoOtherFileAndNoOtherSchema) {
    std::vector<ManifestEntry> entries = {Description(1, 1, 1, 1), Description(1, 1, 1, 2), Description(1, 1, 1, 3)};
    entries[0].fileType = 1;
    entries[1].schemaMajor = 2;
    entries[2].size = 0;
    EXPECT_EQ(FindBestDescription(entries), nullptr);
    EXPECT_EQ(FindBestDescription({}), nullptr);
}

} // namespace
