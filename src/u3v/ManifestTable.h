#pragma once
// The camera's table of files.

#include "u3v/ByteView.h"
#include "u3v/Constants.h"

#include <array>
#include <optional>
#include <vector>

namespace u3v {

using Sha1Digest = std::array<std::uint8_t, manifest::kSha1Size>;

struct ManifestEntry {
    std::uint8_t versionMajor = 0;
    std::uint8_t versionMinor = 0;
    std::uint16_t versionSubMinor = 0;
    std::uint8_t schemaMajor = 0;
    std::uint8_t schemaMinor = 0;
    std::uint32_t fileType = 0;
    std::uint32_t format = 0;
    std::uint64_t address = 0;
    std::uint64_t size = 0; ///< as stored
    Sha1Digest sha1{};      ///< of the file as stored; all zero when unknown

    bool IsCameraDescription() const { return fileType == manifest::kFileTypeCameraXml; }
    bool HasHash() const { return sha1 != Sha1Digest{}; }
};

/// Nothing when there are fewer than 64 bytes.
std::optional<ManifestEntry> DecodeManifestEntry(ByteView bytes);

/// The camera description to use: of those with a schema of major version 1 and a size, the one with the highest
/// schema, then with the highest file version; the first of equals. Null when there is none.
const ManifestEntry* FindBestDescription(const std::vector<ManifestEntry>& entries);

} // namespace u3v
