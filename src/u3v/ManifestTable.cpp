// The camera's table of files.
#include "u3v/ManifestTable.h"

#include "u3v/LittleEndian.h"

#include <algorithm>
#include <tuple>

namespace u3v {
namespace {

constexpr std::uint8_t kSupportedSchemaMajor = 1;

bool IsUsable(const ManifestEntry& entry) {
    return entry.IsCameraDescription() && entry.schemaMajor == kSupportedSchemaMajor && entry.size != 0;
}

auto Rank(const ManifestEntry& entry) {
    return std::make_tuple(entry.schemaMinor, entry.versionMajor, entry.versionMinor, entry.versionSubMinor);
}

} // namespace

std::optional<ManifestEntry> DecodeManifestEntry(ByteView bytes) {
    if (bytes.size < manifest::kEntrySize) return std::nullopt;
    const std::uint32_t version = Load32(bytes.data + manifest::kFileVersionOffset);
    const std::uint32_t schema = Load32(bytes.data + manifest::kSchemaOffset);
    ManifestEntry entry;
    entry.versionSubMinor = static_cast<std::uint16_t>(version);
    entry.versionMinor = static_cast<std::uint8_t>(version >> 16);
    entry.versionMajor = static_cast<std::uint8_t>(version >> 24);
    entry.fileType = schema & manifest::kFileTypeMask;
    entry.format = (schema >> manifest::kFormatShift) & manifest::kFormatMask;
    entry.schemaMinor = static_cast<std::uint8_t>(schema >> manifest::kSchemaMinorShift);
    entry.schemaMajor = static_cast<std::uint8_t>(schema >> manifest::kSchemaMajorShift);
    entry.address = Load64(bytes.data + manifest::kAddressOffset);
    entry.size = Load64(bytes.data + manifest::kSizeOffset);
    std::copy_n(bytes.data + manifest::kSha1Offset, manifest::kSha1Size, entry.sha1.begin());
    return entry;
}

const ManifestEntry* FindBestDescription(const std::vector<ManifestEntry>& entries) {
    const ManifestEntry* best = nullptr;
    for (const ManifestEntry& entry : entries)
        if (IsUsable(entry) && (best == nullptr || Rank(entry) > Rank(*best))) best = &entry;
    return best;
}

} // namespace u3v
